// How a listed process is found by its window, told, and asked to close.
#include "instances/frame.h"

namespace {

class InstanceWindows : public ScratchTest {};

TEST_F(InstanceWindows, MainWindowIsFoundByItsTitleAndKind) {
    static const struct {
        Text title;
        DWORD style, exStyle;
        bool owned;
        bool found;
    } kRows[] = {
        {TEXT("Qantivo"), WS_OVERLAPPED, 0, false, true},
        {TEXT("Qantivo - meadow.bmp"), WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, false, true},
        {TEXT("QantivoX"), WS_POPUP, 0, false, true},
        {TEXT("Qantivo Setup"), WS_OVERLAPPED | WS_DISABLED, 0, false, true},
        {TEXT("Qantivo ") + Text(900, TEXT('x')), WS_OVERLAPPED, 0, false, true},
        {TEXT("qantivo"), WS_OVERLAPPED, 0, false, false},
        {TEXT(" Qantivo"), WS_OVERLAPPED, 0, false, false},
        {TEXT("Qantiv"), WS_OVERLAPPED, 0, false, false},
        {TEXT(""), WS_OVERLAPPED, 0, false, false},
        {TEXT("DDE Server Window"), WS_POPUP, 0, false, false},
        {TEXT("OleMainThreadWndName"), WS_POPUP, 0, false, false},
        {TEXT("Qantivo"), WS_OVERLAPPED, WS_EX_TOOLWINDOW, false, false},
        {TEXT("Qantivo"), WS_POPUP, 0, true, false},
    };
    const DWORD own = GetCurrentProcessId();
    const Frame older(TEXT("An owner"));
    for (const auto& row : kRows) {
        SCOPED_TRACE(::testing::PrintToString(row.title));
        const Frame frame(row.title.c_str(), row.style, row.exStyle, row.owned ? older.window() : nullptr);
        EXPECT_EQ(COXInstanceManager::FindInstanceWindow(own), row.found ? frame.window() : nullptr);
        EXPECT_EQ(COXInstanceManager::FindInstanceWindow(own + 1), nullptr);
    }
    const Frame below(TEXT("Qantivo - below"));
    const Frame above(TEXT("Qantivo - above"));
    const Frame other(TEXT("Something else"));
    EXPECT_EQ(COXInstanceManager::FindInstanceWindow(own), above.window());
}

TEST_F(InstanceWindows, ListedProcessesAreToldWhoComesAndGoes) {
    const DWORD own = GetCurrentProcessId();
    Frame frame(TEXT("Qantivo - test"));
    COXInstanceManager manager(kListName, 1024, true);
    EXPECT_TRUE(frame.Take().empty()) << "nobody hears of himself";
    // A process that has died, and one without a window, don't keep the others from being told.
    EXPECT_EQ(manager.AddInstance(0xFFFFFFF0), 1);
    EXPECT_EQ(manager.AddInstance(own), 1);
    EXPECT_EQ(manager.RemoveInstance(0xFFFFFFF0), 1);
    EXPECT_EQ(manager.RemoveInstance(0xFFFFFFF0), 0);
    const auto added = [](DWORD id) { return Received{1946, 0, static_cast<LPARAM>(id)}; };
    const auto removed = [](DWORD id) { return Received{1947, 0, static_cast<LPARAM>(id)}; };
    EXPECT_EQ(frame.Take(),
              (std::vector{added(0xFFFFFFF0), added(own), removed(0xFFFFFFF0), removed(0xFFFFFFF0)}));

    RawList raw;
    raw[1] = kFull;
    EXPECT_EQ(manager.AddInstance(7), 0);
    EXPECT_TRUE(frame.Take().empty()) << "nobody hears of one that finds no room";
    raw[1] = 1;
    EXPECT_EQ(manager.RemoveInstance(own), 1);
    EXPECT_TRUE(frame.Take().empty());
}

TEST_F(InstanceWindows, OnlyAnEnabledMainWindowIsAskedToClose) {
    const Neighbour plain, disabled(Neighbour::Disabled);
    EXPECT_EQ(COXInstanceManager::CloseInstance(plain.Id()), 1);
    EXPECT_EQ(COXInstanceManager::CloseInstance(disabled.Id()), 0);
    EXPECT_TRUE(plain.WasAskedToClose());
    EXPECT_FALSE(disabled.WasAskedToClose());
    EXPECT_EQ(COXInstanceManager::CloseInstance(plain.Id()), 0) << "it has gone";
    const Frame untitled(TEXT("Picture"));
    EXPECT_EQ(COXInstanceManager::CloseInstance(GetCurrentProcessId()), 0);
}

// The list: a neighbour, this process, a disabled neighbour, two more.
TEST_F(InstanceWindows, ExcessIsAskedToCloseYoungestFirst) {
    static const struct {
        DWORD limit;
        bool closeExcess;
        bool first, own, third, fourth;  // is asked
    } kRows[] = {
        {0, false, false, false, false, false}, {0xFFFFFFFF, true, false, false, false, false},
        {5, true, false, false, false, false},  {4, true, false, false, false, true},
        {2, true, true, false, true, true},     {1, true, true, true, true, true},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.limit);
        Frame own(TEXT("Qantivo - test"));
        const Neighbour first, second(Neighbour::Disabled), third, fourth;
        COXInstanceManager manager(kListName, 1024, false);
        for (const DWORD id : {first.Id(), GetCurrentProcessId(), second.Id(), third.Id(), fourth.Id()})
            EXPECT_EQ(manager.AddInstance(id), 1);
        (void)own.Take();
        EXPECT_EQ(manager.SetMaxInstances(row.limit, row.closeExcess), 1);
        EXPECT_EQ(own.Take(), std::vector<Received>(row.own ? 1 : 0, Received{WM_CLOSE, 0, 0}));
        EXPECT_EQ(first.WasAskedToClose(), row.first);
        EXPECT_FALSE(second.WasAskedToClose());
        EXPECT_EQ(third.WasAskedToClose(), row.third);
        EXPECT_EQ(fourth.WasAskedToClose(), row.fourth);
    }
}

TEST_F(InstanceWindows, EarlierInstanceComesForward) {
    const DWORD own = GetCurrentProcessId();
    const Frame frame(TEXT("Qantivo - test"), WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    static const struct {
        const char* name;
        Neighbour::Kind kind;
        std::vector<int> list;  // 0: this process, 1: the neighbour, 2: no id
        bool forward;
    } kRows[] = {
        {"it is the first", Neighbour::Plain, {1, 0}, true},
        {"it comes behind this one", Neighbour::Minimized, {0, 1}, true},
        {"this one is alone", Neighbour::Minimized, {0}, false},
        {"this one is there twice", Neighbour::Minimized, {0, 0, 1}, false},
        {"the first has no id", Neighbour::Minimized, {2, 1}, false},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        const Neighbour neighbour(row.kind);
        COXInstanceManager manager(kListName, 1024, false);
        for (const int entry : row.list)
            EXPECT_EQ(manager.AddInstance(entry == 0 ? own : entry == 1 ? neighbour.Id() : 0), 1);
        EXPECT_EQ(manager.SetMaxInstances(0, false), 1);
        EXPECT_TRUE(SetForegroundWindow(frame.window()));
        EXPECT_TRUE(manager.IsOverLimit(false));
        EXPECT_NE(GetForegroundWindow(), neighbour.window());
        EXPECT_TRUE(manager.IsOverLimit(true));
        EXPECT_EQ(GetForegroundWindow() == neighbour.window(), row.forward);
        EXPECT_EQ((GetWindowLongW(neighbour.window(), GWL_STYLE) & WS_MINIMIZE) == 0, row.forward);
    }
}

}  // namespace
