// A package that a test rehearses, and what the rehearsal says.
#pragma once

#include "harness/scratch.h"
#include "rehearse/rehearsal.h"

inline const Text kRehearsed = TEXT("C:\\Package"), kEarlier = TEXT("C:\\Earlier package"),
                  kPlanted = TEXT("C:\\Windows\\System32\\planted.dll");

class Rehearsed : public ScratchTest {
  protected:
    // A package of a few files, one for each name.
    static void MakePackage(const Text& folder, const std::string& records) {
        for (const std::string name : {"setup.exe", "QtvUnInst.exe", "QtvApp8.exe"})
            ImportFile("package/" + name, folder + TEXT("\\") + Wide(name));
        for (const std::string name : {"presets.dat", "StartQV8.exe"})
            MakeFile(folder + TEXT("\\") + Wide(name), std::string(folder.size(), 'x') + name);
        MakeFile(folder + TEXT("\\QtvUnInst.log"), "File Copy: QtvApp8.exe\r\n" + records);
    }
};

// Which files are left in the installation's own folders and in that of the system, and why.
inline std::string LeftFiles(const rehearse::Rehearsal& rehearsal) {
    std::string text;
    for (const auto& left : rehearsal.left)
        if (left.change.name.starts_with("C:\\Scratch"))
            text += left.change.name.substr(11) + " (" + left.reason + ")\n";
        else if (left.change.name.ends_with("planted.dll"))
            text += "planted.dll (" + left.reason + ")\n";
    return text;
}
