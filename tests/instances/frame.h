// A window of the test, and the memory of the list as a process sees it that knows only its layout.
#pragma once

#include <tuple>

#include "instances/instance_manager.h"
#include "harness/scratch.h"

inline constexpr WCHAR kListName[] = TEXT("Qantivo.Tests.List");
inline constexpr WCHAR kListMapping[] = TEXT("Local\\COXInstanceManager_FileMap_Qantivo.Tests.List");
inline constexpr WCHAR kListMutex[] = TEXT("Local\\COXInstanceManager_InstanceList_Mutex_Qantivo.Tests.List");
inline constexpr WCHAR kAdditionalMutex[] =
    TEXT("Local\\COXInstanceManager_Additional_Mutex_Qantivo.Tests.List");
inline constexpr DWORD kFull = 1000;
inline constexpr DWORD kNobody = 0x70000000;  // no process has this id or a higher one

using Ids = std::vector<DWORD>;
Ids Listed(COXInstanceManager& manager);

// The words of the list's memory: the limit, the count, a thousand ids.
class RawList {
  public:
    static constexpr std::size_t kWords = 131072 / sizeof(DWORD);
    static constexpr std::size_t kFirstId = 2;
    static constexpr std::size_t kReserved = kFirstId + kFull;
    static constexpr std::size_t kAdditional = 65536 / sizeof(DWORD);

    RawList();
    ~RawList();
    explicit operator bool() const { return m_words; }
    DWORD& operator[](std::size_t index) { return m_words[index]; }
    // Fills all slots and the words after them, up to the additional data.
    void Fill(DWORD word);

  private:
    KernelHandle m_mapping;
    DWORD* m_words;
};

// A message, its wParam and its lParam.
using Received = std::tuple<UINT, WPARAM, LPARAM>;

// A top-level window of this process. It doesn't close when it is asked to.
class Frame {
  public:
    explicit Frame(LPCWSTR title, DWORD style = WS_OVERLAPPEDWINDOW, DWORD exStyle = 0, HWND owner = nullptr);
    ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    HWND window() const { return m_window; }
    // Returns what the list's operations have posted to the window since the last call.
    std::vector<Received> Take();

  private:
    HWND m_window;
};

// NeighbourProgram, as a child, shows a minimized window that others take for the product's. It ends with 1
// when a WM_CLOSE without parameters asks it to close. AwaitWindow waits for the window.
HWND AwaitWindow(const RunningProgram& neighbour);
