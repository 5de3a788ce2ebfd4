// How the list finds the window of a process, tells it about others, and asks it to close.
#include "instances/frame.h"

namespace {

class InstanceWindows : public ScratchTest {};

// Shows a minimized window that others take for the product's. Ends with 1 when a WM_CLOSE without parameters asks it to close.
CHILD_PROGRAM(NeighbourProgram) {
    // Others find the window by its title, so the title is set last.
    const Frame own(TEXT(""), WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_MINIMIZE);
    if (!SetWindowTextW(own.window(), TEXT("Qantivo - neighbour"))) return 3;
    for (MSG message = {}; GetMessageW(&message, nullptr, 0, 0) > 0; DispatchMessageW(&message))
        if (message.message == WM_CLOSE) return message.wParam == 0 && message.lParam == 0 ? 1 : 3;
    return 3;
}

TEST_F(InstanceWindows, MainWindowIsFoundByItsTitleAndKind) {
    static const struct {
        Text title;
        DWORD style = WS_OVERLAPPED, exStyle = 0;
        bool owned = false, found = false;
    } kRows[] = {
        {.title = TEXT("QantivoX"), .style = WS_POPUP, .found = true},
        {.title = TEXT("Qantivo Setup"), .style = WS_DISABLED, .found = true},
        {.title = TEXT("Qantivo ") + Text(900, TEXT('x')), .found = true},
        {.title = TEXT("qantivo")},
        {.title = TEXT("Qantiv")},
        {.title = TEXT("DDE Server Window")},
        {.title = TEXT("OleMainThreadWndName")},
        {.title = TEXT("Qantivo"), .exStyle = WS_EX_TOOLWINDOW},
        {.title = TEXT("Qantivo"), .style = WS_POPUP, .owned = true},
    };
    const DWORD own = GetCurrentProcessId();
    const Frame owner(TEXT("An owner"));
    EXPECT_EQ(COXInstanceManager::FindInstanceWindow(own), nullptr);
    EXPECT_EQ(COXInstanceManager::CloseInstance(own), 0);
    // A window that doesn't count doesn't hide the one below it.
    const Frame below(TEXT("Qantivo - below"));
    for (const auto& row : kRows) {
        SCOPED_TRACE(::testing::PrintToString(row.title));
        const Frame frame(row.title.c_str(), row.style, row.exStyle, row.owned ? owner.window() : nullptr);
        EXPECT_EQ(COXInstanceManager::FindInstanceWindow(own), row.found ? frame.window() : below.window());
        EXPECT_EQ(COXInstanceManager::FindInstanceWindow(own + 1), nullptr);
        EXPECT_EQ(COXInstanceManager::CloseInstance(own), !(row.style & WS_DISABLED));
    }
}

TEST_F(InstanceWindows, ListedProcessesLearnOfStartsAndEnds) {
    const DWORD own = GetCurrentProcessId();
    Frame frame(TEXT("Qantivo - test"));
    COXInstanceManager manager(kListName, 1024, true);
    // Whoever closes the list leaves it, whether or not it entered this process.
    { const COXInstanceManager leaver(kListName, 1024, false); }
    EXPECT_EQ(manager.CountInstances(), 0);
    EXPECT_TRUE(frame.Take().empty()) << "no process is told that it comes or leaves itself";
    EXPECT_EQ(manager.AddInstance(own), 1);
    // The others are told even if a listed process has died or has no window.
    EXPECT_EQ(manager.AddInstance(0xFFFFFFF0), 1);
    EXPECT_EQ(manager.AddInstance(own), 1);
    EXPECT_EQ(manager.RemoveInstance(0xFFFFFFF0), 1);
    const auto added = [](DWORD id) { return Received{1946, 0, static_cast<LPARAM>(id)}; };
    const auto removed = [](DWORD id) { return Received{1947, 0, static_cast<LPARAM>(id)}; };
    EXPECT_EQ(frame.Take(),
              (std::vector{added(0xFFFFFFF0), added(own), removed(0xFFFFFFF0), removed(0xFFFFFFF0)}));
}

// The list: this process and two others, whose windows are minimized.
TEST_F(InstanceWindows, LimitBringsTheEarlierForwardAndClosesTheYoungestFirst) {
    Frame own(TEXT("Qantivo - test"), WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    const RunningProgram first = StartChild("NeighbourProgram"), second = StartChild("NeighbourProgram");
    const auto windowOf = [](const RunningProgram& of) {
        return COXInstanceManager::FindInstanceWindow(of.Id());
    };
    Await("the neighbours' windows", [&] { return windowOf(first) && windowOf(second); });
    const HWND earlier = windowOf(first);
    COXInstanceManager manager(kListName, 1024, false);
    for (const DWORD id : {GetCurrentProcessId(), first.Id(), second.Id()})
        EXPECT_EQ(manager.AddInstance(id), 1);
    // No window is in front until the neighbour has taken the message that makes its own the active one.
    const auto comesForward = [&] { return GetForegroundWindow() == earlier; };
    for (const bool over : {false, true}) {
        EXPECT_TRUE(SetForegroundWindow(own.window()));
        EXPECT_EQ(manager.SetMaxInstances(over ? 2 : 3, false), 1);
        EXPECT_EQ(manager.GetMaxInstances(), over ? 2u : 3u);
        EXPECT_EQ(manager.IsOverLimit(false), over);
        EXPECT_EQ(GetForegroundWindow(), own.window());
        EXPECT_EQ(manager.IsOverLimit(true), over);
        if (over) Await("the neighbour's turn", comesForward);
        EXPECT_EQ(GetForegroundWindow(), over ? earlier : own.window());
        EXPECT_EQ((GetWindowLongW(earlier, GWL_STYLE) & WS_MINIMIZE) == 0, over);
    }
    // If this process is alone in the list, no other comes forward, whatever follows the last entry.
    RawList raw;
    raw[0] = 0;
    raw[1] = 1;
    EXPECT_TRUE(SetForegroundWindow(own.window()));
    EXPECT_TRUE(manager.IsOverLimit(true));
    EXPECT_EQ(GetForegroundWindow(), own.window());
    raw[0] = 2;
    raw[1] = 3;
    // This process is no longer the oldest, and a process without a window is the youngest.
    EXPECT_EQ(manager.RemoveInstance(GetCurrentProcessId()), 1);
    for (const DWORD id : {GetCurrentProcessId(), kNobody})
        EXPECT_EQ(manager.AddInstance(id), 1);
    EXPECT_TRUE(SetForegroundWindow(own.window()));
    EXPECT_TRUE(manager.IsOverLimit(true));
    Await("the neighbour's second turn", comesForward);
    // No process is closed unless that is asked for.
    EXPECT_EQ(manager.SetMaxInstances(0, false), 1);
    EXPECT_EQ(std::ranges::count(own.Take(), Received(WM_CLOSE, 0, 0)), 0);
    EXPECT_EQ(manager.SetMaxInstances(0xFFFFFFFF, true), 1);
    EXPECT_FALSE(manager.IsOverLimit(false));
    EXPECT_EQ(manager.SetMaxInstances(3, true), 1);
    EXPECT_EQ(second.ExitCode(), 1u);
    EXPECT_TRUE(first.Runs());
    EXPECT_EQ(manager.RemoveInstance(second.Id()), 1);
    EXPECT_EQ(manager.SetMaxInstances(2, true), 1);
    EXPECT_EQ(first.ExitCode(), 1u);
    EXPECT_EQ(own.Take(),
              (std::vector<Received>{{WM_INSTANCE_REMOVED, 0, static_cast<LPARAM>(second.Id())}}));
    EXPECT_EQ(manager.SetMaxInstances(0, true), 1);
    EXPECT_EQ(own.Take(), (std::vector<Received>{{WM_CLOSE, 0, 0}}));
}

}  // namespace
