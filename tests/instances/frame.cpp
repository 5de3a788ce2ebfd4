#include "instances/frame.h"

#include <algorithm>

#include "harness/driver.h"

namespace {

HWND MakeWindow(LPCWSTR title, DWORD style, DWORD exStyle, HWND owner) {
    return CreateWindowExW(exStyle, WindowClass(TEXT("TestFrame")), title, style, 0, 0, 200, 100, owner,
                           nullptr, nullptr, nullptr);
}

}  // namespace

Ids Listed(COXInstanceManager& manager) {
    CDWordArray ids;
    EXPECT_EQ(manager.ListInstances(ids), 1);
    return {ids.GetData(), ids.GetData() + ids.GetSize()};
}

RawList::RawList()
    : m_mapping(OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, kListMapping)),
      m_words(static_cast<DWORD*>(
          MapViewOfFile(m_mapping.get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, kWords * sizeof(DWORD)))) {}

RawList::~RawList() {
    if (m_words) UnmapViewOfFile(m_words);
}

void RawList::Fill(DWORD word) {
    std::fill(m_words + kFirstId, m_words + kAdditional, word);
}

Frame::Frame(LPCWSTR title, DWORD style, DWORD exStyle, HWND owner)
    : m_window(MakeWindow(title, style, exStyle, owner)) {
    EXPECT_TRUE(m_window) << GetLastError();
}

Frame::~Frame() {
    (void)DestroyWindow(m_window);
}

std::vector<Received> Frame::Take() {
    EXPECT_TRUE(PostMessageW(m_window, WM_APP, 0, 0));
    std::vector<Received> received;
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.hwnd != m_window) continue;
        if (message.message == WM_APP) break;
        if (message.message == WM_CLOSE || message.message == WM_INSTANCE_ADDED ||
            message.message == WM_INSTANCE_REMOVED)
            received.emplace_back(message.message, message.wParam, message.lParam);
    }
    return received;
}

CHILD_PROGRAM(NeighbourProgram) {
    // Others find the window by its title, so the title is set last.
    const HWND own = MakeWindow(TEXT(""), WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_MINIMIZE, 0, nullptr);
    if (!own || !SetWindowTextW(own, TEXT("Qantivo - neighbour"))) return 3;
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == WM_CLOSE) return message.wParam == 0 && message.lParam == 0 ? 1 : 3;
        DispatchMessageW(&message);
    }
    return 3;
}

HWND AwaitWindow(const RunningProgram& neighbour) {
    HWND window = nullptr;
    Await("the neighbour's window",
          [&] { return (window = COXInstanceManager::FindInstanceWindow(neighbour.Id())) != nullptr; });
    return window;
}
