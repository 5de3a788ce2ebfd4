// The machine's windows. All its processes share one table, the file .state/windows, which each of them maps. The table
// has what others see of a window: its process, its place, its styles and its title. What only its own process knows,
// the procedure and its data, is in own_windows.h.
//
// A process holds a lock on its own byte of the table's file as long as it lives. The kernel drops the lock when the
// process ends. Then its windows are gone too, even if another process has the same number by then.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace winhost {

inline constexpr std::size_t kMostWindows = 4096;
inline constexpr std::size_t kTitleUnits = 1024;
inline constexpr std::size_t kClassUnits = 256;

struct WindowRecord {
    HWND handle;  // null: the slot is free
    std::uint64_t holder;
    std::int64_t rank;  // a higher rank lies above a lower one
    DWORD process;
    DWORD thread;
    HWND owner;   // of a top-level window
    HWND parent;  // of a child window
    int id;       // of a child window
    RECT rect;    // a child's in its parent's client area, another's on the screen
    DWORD style;
    DWORD exStyle;
    HWND lastPopup;               // of the windows that it owns, the last active one
    bool active;                  // its thread's active window
    bool focused;                 // has its thread's focus
    char16_t kind[kClassUnits];   // name of its class; ends with 0
    char16_t title[kTitleUnits];  // ends with 0
    bool isChild() const { return style & WS_CHILD; }
};

// The table stays whole when a process is killed: a slot holds a window only if its handle is set.
struct WindowTableContents {
    std::uint64_t holders;  // how many processes have held windows so far
    std::int64_t highest;   // rank
    std::int64_t lowest;
    DWORD made;   // windows so far; part of a handle, so that it is not soon used again
    DWORD slots;  // slots used so far
    HWND foreground;
    WindowRecord windows[kMostWindows];
};

// Access to the table. Other threads and processes of the machine wait while the object lives.
class WindowTable {
  public:
    WindowTable();
    ~WindowTable();
    WindowTable(const WindowTable&) = delete;
    WindowTable& operator=(const WindowTable&) = delete;

    // Adds a window of the calling thread with the values of `window`. A child is put below its siblings, any other
    // window on top. Returns the record in the table, or null when the table is full.
    WindowRecord* Add(const WindowRecord& window);
    void Remove(WindowRecord& window);
    // Returns a window of a living process. Null, with the last error set, when there is none.
    WindowRecord* Find(HWND window);
    // Puts the window on top of the others.
    void Raise(WindowRecord& window);
    // Puts the window below one of its siblings; Lower puts it below all of them. Returns false, with the last error
    // set, when `sibling` is no sibling.
    bool PutBelow(WindowRecord& window, HWND sibling);
    void Lower(WindowRecord& window);
    // Returns the wanted windows of living processes, the top one first. Removes those of dead processes.
    std::vector<WindowRecord*> Where(const std::function<bool(const WindowRecord&)>& wanted);
    // Returns the thread's window that has the mark: the active
    // one, or the one with the focus. Null when there is none.
    WindowRecord* Marked(DWORD thread, bool WindowRecord::*mark);
    // The foreground window of the machine, or null.
    HWND& foreground();

  private:
    // Whether the process of the window still lives.
    bool Lives(const WindowRecord& window) const;
};

// Returns a copy of the window's record. None, with the last error set, when there is no such window.
std::optional<WindowRecord> Look(HWND window);
// Returns the children of a window, or the top-level windows for null. The top one is first.
std::vector<HWND> ChildWindows(HWND parent);
// Returns the top-level window that contains the window, or is the window itself.
HWND RootOf(HWND window);
// Whether the window exists and has one of the styles.
bool HasStyle(HWND window, DWORD style);
// Removes the bits `taken` from a window's style and adds the bits `given`.
void ChangeStyle(HWND window, DWORD taken, DWORD given);

}  // namespace winhost
