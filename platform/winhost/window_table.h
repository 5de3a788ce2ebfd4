// The machine's windows: one table that all its processes share, the file .state/windows, mapped by each. A
// window is here as others see it: whose it is, its styles and its title. What only its own process knows,
// its procedure, stays there (windows.cpp).
//
// A process holds a lock on the table's file, at a place of its own, as long as it lives. The kernel drops it
// with the process, and with it go the process's windows, whatever else runs under its number since.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "internal.h"

namespace winhost {

inline constexpr std::size_t kMostWindows = 4096;
inline constexpr std::size_t kTitleUnits = 1024;

struct WindowRecord {
    HWND handle;  // null: the slot is free
    std::uint64_t holder;
    std::uint64_t rank;  // the higher one is above
    DWORD process;
    DWORD thread;
    HWND owner;
    DWORD style;
    DWORD exStyle;
    char16_t title[kTitleUnits];  // ends with 0
};

// Whatever a process does when it is killed, the table stays whole: a window comes and goes by its handle
// alone.
struct WindowTableContents {
    std::uint64_t holders;  // how many there have been
    std::uint64_t ranks;    // the highest one
    DWORD made;             // windows so far; part of their handles, so that a handle is not used again soon
    DWORD slots;            // that have ever been used
    HWND foreground;
    WindowRecord windows[kMostWindows];
};

// Access to the table, kept from the other threads and processes of the machine for the object's lifetime.
class WindowTable {
  public:
    WindowTable();
    ~WindowTable();
    WindowTable(const WindowTable&) = delete;
    WindowTable& operator=(const WindowTable&) = delete;

    // Adds a window of the calling thread on top of the others: takes owner, styles and title from `window`,
    // and gives the record in the table. Null when the table is full.
    WindowRecord* Add(const WindowRecord& window);
    void Remove(WindowRecord& window);
    // The window of a living process; null, with the last error set, when there is none.
    WindowRecord* Find(HWND window);
    // Puts the window on top of the others.
    void Raise(WindowRecord& window);
    // All windows of living processes, the top one first. Those of dead ones go.
    std::vector<WindowRecord*> All();
    HWND& foreground();

  private:
    bool Lives(const WindowRecord& window) const;
};

}  // namespace winhost
