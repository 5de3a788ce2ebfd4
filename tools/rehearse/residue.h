// What may stay after an uninstall.
#pragma once

#include <framework.h>

#include <string>
#include <vector>

#include "rehearse/rehearsal.h"

namespace rehearse {

// An installation, as it is known before its uninstall.
class Installation {
  public:
    // `uninstaller` is the full path of its program; the folder of that is the installation's.
    Installation(const std::string& uninstaller, const snapshot::Snapshot& machine);

    const std::string& Folder() const { return m_folder; }
    // Says after the uninstall why something (with the machine's own name) may be left. Empty when it may
    // not.
    std::string WhyLeft(const snapshot::Change& change) const;

  private:
    void ReadLog(const char* name);
    std::string WhyFileLeft(const std::string& name) const;
    std::string WhyKeyLeft(const std::string& name) const;

    std::string m_folder;  // with a closing backslash, as the parent
    std::string m_parent;
    const snapshot::Snapshot m_machine;
    std::vector<CString> m_patterns;          // of files that the log names
    std::vector<CString> m_portablePatterns;  // of those that a portable installation puts into the parent
};

// Judges all that is left of the installations.
std::vector<Leftover> Judge(const Changes& left, const std::vector<Installation>& installations);

}  // namespace rehearse
