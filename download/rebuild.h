// Makes the files that an update doesn't carry, of those of the earlier installation.
#pragma once

#include "unpack.h"

namespace download {

class Installation {
  public:
    // An empty folder stands for no installation.
    explicit Installation(CString folder) : m_folder(std::move(folder)) {}

    // Whether its application has this version, as people read it. Without a version, any application will do.
    bool HasVersion(const WideText& version) const;
    CString PathOf(const WideText& name) const { return m_folder + TEXT("\\") + CString(name); }

    // A file that isn't as the update needs it. Empty for none.
    void NoteDiffering(const WideText& name) { m_differing = name; }
    const WideText& Differing() const { return m_differing; }

  private:
    CString m_folder;
    WideText m_differing;
};

// The folder that setup would take for that of the earlier installation: that of the command line, or the one that the
// registry knows. Empty when neither has the application.
CString FindInstallation();

// Makes the files in the folder, in which the folders for them are, of an installation that is there. Looks for space
// first. Whoever can write to the installation may do so meanwhile: the sums are those of the bytes that were read once and
// written. One difference at a time is in work, with an earlier file in memory. If the outcome isn't Right, some files may
// be there. It is OtherInstallation if a file of the installation is missing or another one.
Outcome Rebuild(const Archive& archive, Installation& installation, const CString& folder,
                Progress& progress);

}  // namespace download
