// What may stay after an uninstall.
#pragma once

#include <framework.h>

#include <string>
#include <unordered_set>
#include <vector>

#include "lab/lab.h"

namespace rehearse {

// All names are those of lab::Neutral. For a file, `before` and `after` say which file of a package it is ("as in
// the package", "readme-en.txt of the package", "as in the earlier package"), or its size.
using Changes = std::vector<lab::Change>;

struct Leftover {
    lab::Change change;
    std::string reason;  // why it may stay; empty if it should not be there
};

// What is known about an installation before its uninstall.
class Installation {
  public:
    // `uninstaller` is the full path of its program, which is in the folder of the installation.
    Installation(const std::string& uninstaller, const lab::State& machine);

    const std::string& Folder() const { return m_folder; }
    // Finds what the log names now. Before that it names nothing.
    void FindNamed();
    // Returns why something may be left after the uninstall; empty if it may not. The name is that of the machine.
    std::string WhyLeft(const lab::Change& change) const;

  private:
    void ReadLog(const char* name);
    std::string WhyFileLeft(const std::string& name) const;
    std::string WhyKeyLeft(const std::string& name) const;

    std::string m_folder;  // ends with a backslash, as the parent
    std::string m_parent;
    const lab::State m_machine;
    std::vector<CString> m_patterns;          // of files that the log names
    std::vector<CString> m_portablePatterns;  // of files that a portable installation puts into the parent
    std::unordered_set<std::string> m_named;  // what the patterns find, by their paths without case
    std::unordered_set<std::string> m_namedInParent;
};

// Says for everything that is left of the installations whether it may be there. The time grows with the number of
// things that are left, and with that of the records.
std::vector<Leftover> Judge(const Changes& left, std::vector<Installation> installations);

}  // namespace rehearse
