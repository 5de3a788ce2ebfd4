// The machine's windows: one table that all its processes share, the file .state/windows, mapped by each. A
// window is here as others see it: whose it is, where it lies, its styles and its title. What only its own
// process knows, its procedure and what that keeps, stays there (own_windows.h).
//
// A process holds a lock on the table's file, at a place of its own, as long as it lives. The kernel drops it
// with the process, and with it go the process's windows, even when another process has its number since.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/host_io.h"

namespace winhost {

inline constexpr std::size_t kMostWindows = 4096;
inline constexpr std::size_t kTitleUnits = 1024;
inline constexpr std::size_t kClassUnits = 256;

struct WindowRecord {
    HWND handle;  // null: the slot is free
    std::uint64_t holder;
    std::int64_t rank;  // the higher one is above
    DWORD process;
    DWORD thread;
    HWND owner;   // of a top-level window
    HWND parent;  // of a child window
    int id;       // of a child window
    RECT rect;    // a child's in the client area of its parent, another's on the screen
    DWORD style;
    DWORD exStyle;
    HWND lastPopup;               // of the windows that it owns, the one active last
    bool active;                  // its thread's active window
    bool focused;                 // has its thread's focus
    char16_t kind[kClassUnits];   // name of its class; ends with 0
    char16_t title[kTitleUnits];  // ends with 0
    bool isChild() const { return style & WS_CHILD; }
};

// The table stays whole when a process is killed: only its handle decides whether a window is there.
struct WindowTableContents {
    std::uint64_t holders;  // how many there have been
    std::int64_t highest;   // rank
    std::int64_t lowest;
    DWORD made;   // windows so far; part of their handles, so that a handle is not used again soon
    DWORD slots;  // that have ever been used
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

    // Adds a window of the calling thread, made as `window` tells, and returns the record in the table: a
    // child below its siblings, another on top. Null when the table is full.
    WindowRecord* Add(const WindowRecord& window);
    void Remove(WindowRecord& window);
    // The window of a living process; null, with the last error set, when there is none.
    WindowRecord* Find(HWND window);
    // Puts the window on top of the others.
    void Raise(WindowRecord& window);
    // Puts the window below one of its siblings, or below all of them. False, with the last error set, when
    // the other is no sibling.
    bool PutBelow(WindowRecord& window, HWND sibling);
    void Lower(WindowRecord& window);
    // The wanted windows of living processes, the top one first. Those of dead ones go.
    std::vector<WindowRecord*> Where(const std::function<bool(const WindowRecord&)>& wanted);
    // The thread's window that is active, or has the focus; null when there is none.
    WindowRecord* Marked(DWORD thread, bool WindowRecord::*mark);
    HWND& foreground();

  private:
    bool Lives(const WindowRecord& window) const;
};

// The window as it is at the moment of the call; none, with the last error set, when it is no window.
std::optional<WindowRecord> Look(HWND window);
// The children of a window, or the top-level windows for null; the top one first.
std::vector<HWND> ChildWindows(HWND parent);
// The top-level window that a window lies in, or is.
HWND RootOf(HWND window);

}  // namespace winhost
