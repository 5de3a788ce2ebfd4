// The folder into which the package is unpacked: only administrators can open it, and nobody can guess its name.
#pragma once

#include <framework.h>

#include <vector>

#include "archive.h"

namespace download {

class PrivateFolder {
  public:
    PrivateFolder() = default;
    // Removes the folder and its marks. If something in it is in use, the marks stay.
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    // Makes a new folder below that of the programs. Before that, marks it and what will be in it for the next start of
    // the machine.
    Outcome Make(const Table& table);
    const CString& Path() const { return m_path; }

    // Removes the folders that killed runs have left next to this one.
    void RemoveOthers() const;

  private:
    CString m_path;
    KernelHandle m_hold;  // keeps other runs from taking the folder for one that was left
};

// Deletes a folder with everything in it. A link is deleted, and what it leads to stays. Returns false when something is
// left.
bool RemoveTree(const CString& folder);

// ---- what differs between the targets ----

// Makes a folder that must be new. Only administrators and the system can open it, and administrators own it.
bool MakeProtectedFolder(LPCWSTR path);
// Whether both opened folders have the same owner.
bool HaveSameOwner(HANDLE folder, HANDLE other);

}  // namespace download
