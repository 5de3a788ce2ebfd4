// A window of the test, and the memory of the list as a process sees it that knows only its layout.
#pragma once

#include <algorithm>
#include <tuple>

#include "instances/instance_manager.h"
#include "harness/driver.h"

inline constexpr WCHAR kListName[] = TEXT("Qantivo.Tests.List");
inline constexpr WCHAR kListMapping[] = TEXT("Local\\COXInstanceManager_FileMap_Qantivo.Tests.List");
inline constexpr WCHAR kListMutex[] = TEXT("Local\\COXInstanceManager_InstanceList_Mutex_Qantivo.Tests.List");
inline constexpr WCHAR kAdditionalMutex[] =
    TEXT("Local\\COXInstanceManager_Additional_Mutex_Qantivo.Tests.List");
inline constexpr DWORD kFull = 1000;
inline constexpr DWORD kNobody = 0x70000000;  // no process has this id or a higher one

using Ids = std::vector<DWORD>;
inline Ids Listed(COXInstanceManager& manager) {
    CDWordArray ids;
    EXPECT_EQ(manager.ListInstances(ids), 1);
    return {ids.GetData(), ids.GetData() + ids.GetSize()};
}

// The words of the list's memory: the limit, the count, a thousand ids.
class RawList {
  public:
    static constexpr std::size_t kWords = 131072 / sizeof(DWORD);
    static constexpr std::size_t kFirstId = 2;
    static constexpr std::size_t kReserved = kFirstId + kFull;
    static constexpr std::size_t kAdditional = 65536 / sizeof(DWORD);

    explicit operator bool() const { return m_words != nullptr; }
    DWORD& operator[](std::size_t index) { return m_words.get()[index]; }
    // Fills all slots and the words after them, up to the additional data.
    void Fill(DWORD word) { std::fill(&(*this)[kFirstId], &(*this)[kAdditional], word); }

  private:
    static constexpr DWORD kAccess = FILE_MAP_READ | FILE_MAP_WRITE;
    const KernelHandle m_mapping{OpenFileMappingW(kAccess, FALSE, kListMapping)};
    const std::unique_ptr<DWORD, BOOL(WINAPI*)(LPCVOID)> m_words{
        static_cast<DWORD*>(MapViewOfFile(m_mapping.get(), kAccess, 0, 0, kWords * sizeof(DWORD))),
        UnmapViewOfFile};
};

// A message, its wParam and its lParam.
using Received = std::tuple<UINT, WPARAM, LPARAM>;

// A top-level window of this process. It doesn't close when it is asked to.
class Frame {
  public:
    explicit Frame(LPCWSTR title, DWORD style = WS_OVERLAPPEDWINDOW, DWORD exStyle = 0, HWND owner = nullptr)
        : m_window(CreateWindowExW(exStyle, WindowClass(TEXT("TestFrame")), title, style, 0, 0, 200, 100,
                                   owner, nullptr, nullptr, nullptr),
                   DestroyWindow) {
        EXPECT_TRUE(m_window) << GetLastError();
    }
    HWND window() const { return m_window.get(); }
    // Returns what the list's operations have posted to the window since the last call.
    std::vector<Received> Take() {
        EXPECT_TRUE(PostMessageW(window(), WM_APP, 0, 0));
        std::vector<Received> received;
        for (MSG message = {}; GetMessageW(&message, nullptr, 0, 0) > 0;) {
            if (message.hwnd != window()) continue;
            if (message.message == WM_APP) break;
            if (message.message == WM_CLOSE || message.message == WM_INSTANCE_ADDED ||
                message.message == WM_INSTANCE_REMOVED)
                received.emplace_back(message.message, message.wParam, message.lParam);
        }
        return received;
    }

  private:
    const std::unique_ptr<std::remove_pointer_t<HWND>, BOOL(WINAPI*)(HWND)> m_window;
};
