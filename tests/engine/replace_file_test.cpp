#include <list>

#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "harness/machine_view.h"
#include "support/handles.h"

namespace {

using ReplaceFileTest = ScratchTest;

int Replace(const std::string& from, const std::string& to, LPCWSTR newName = nullptr,
            LPCWSTR name = TEXT("a.dll")) {
    return ReplaceFile(name, At(from).c_str(), At(to).c_str(), newName);
}

// The folder "to" with the items of a list. "@" after an item begins its state, such as held or running.
class Target {
  public:
    explicit Target(const std::string& list) {
        DeleteTree(At("to"));
        MakeFolder(At("to"));
        for (const std::string& item : Items(list)) {
            const std::size_t end = std::min(item.find('@'), item.size());
            Make(item.substr(0, end), At("to"));
            const Text path = At("to\\" + item.substr(0, item.find_first_of(":@")));
            const std::string how = item.substr(end);
            if (how == "@held") m_held.emplace_back(path, Hold::NoDelete);
            if (how == "@runs") m_held.emplace_back(path, Hold::Running);
            if (how == "@read") m_read.reset(_wfopen(path.c_str(), TEXT("r")));
            if (how == "@hidden") (void)SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN);
            if (how == "@fixed") (void)SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
        }
    }

  private:
    std::list<HeldFile> m_held;
    FileStream m_read;
};

// "from" has a new a.dll, which stays there.
TEST_F(ReplaceFileTest, ComparesFoldersAsTextAndTakesAnotherName) {
    const LPCWSTR b = TEXT("b.dll");
    const struct {
        const char *from, *to = "to";
        LPCWSTR newName = nullptr;
        const char *before = "a.dll:old", *after = "a.dll:old";
        int result = 1;
    } rows[] = {
        {.from = "to", .to = "TO\\"},
        {.from = "to", .before = "", .after = ""},
        {.from = "to", .to = "to/../to", .after = "", .result = 0},
        {.from = "to/", .to = "to/\\", .after = "", .result = 0},
        {.from = "none", .result = 0},
        {.from = "from", .to = "none", .result = 0},
        {.from = "from/", .to = "to\\", .before = "", .after = "a.dll:new"},
        {.from = "from", .newName = b, .before = "a.dll:1 b.dll:2", .after = "a.dll:1 b.dll:new"},
        {.from = "to", .newName = b, .before = "a.dll:1", .after = "a.dll:1 b.dll:1"},
        {.from = "to", .newName = b, .before = "a.dll:1 b.dll:2", .after = "a.dll:1 b.dll:1"},
        {.from = "to", .newName = b, .before = "a.dll:1 b.dll:2@held", .after = "a.dll:1 b.dll:2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.from + std::string(" to ") + row.to + ", " + row.before);
        Make("a.dll:new", At("from"));
        const Target target(row.before);
        EXPECT_EQ(Replace(row.from, row.to, row.newName), row.result);
        EXPECT_EQ(Look(At("to")), State(row.after));
        EXPECT_TRUE(BootMarks().empty());
    }
}

// The contents of a running program are not compared.
TEST_F(ReplaceFileTest, ReplacesMovesAsideOrParks) {
    const struct {
        const char *name, *before, *after, *marks;
    } rows[] = {
        {"a target", "a.dll:old", "a.dll:new", ""},
        {"moved aside", "a.dll@runs", "a.dll:new a.dll.old:runs", "a.dll.old"},
        {"moved aside again", "a.dll@runs a.dll.old:1", "a.dll:new a.dll.old:runs", "a.dll.old"},
        {"beside a held one", "a.dll@runs a.dll.old:1@held a.dll.old2:2",
         "a.dll:new a.dll.old:1 a.dll.old2:runs", "a.dll.old a.dll.old2"},
        {"beside a read-only one", "a.dll@runs a.dll.old:1@fixed", "a.dll:new a.dll.old:1 a.dll.old2:runs",
         "a.dll.old a.dll.old2"},
        {"parked", "a.dll:old@held a.dll.new:1@hidden", "a.dll:old a.dll.new:new", "a.dll a.dll.new>a.dll"},
        // The copy is tried after parking, too.
        {"copied over one that is read", "a.dll:old@read", "a.dll:new a.dll.new:new",
         "a.dll a.dll.new>a.dll"},
        {"parked over one that is read", "a.dll:old@held a.dll.new:1@read", "a.dll:old a.dll.new:new",
         "a.dll a.dll.new>a.dll"},
        {"parking beside a read-only one fails", "a.dll:old@held a.dll.new:1@fixed", "a.dll:old a.dll.new:1",
         "a.dll"},
        {"parking fails", "a.dll:old@held a.dll.new\\", "a.dll:old a.dll.new\\", "a.dll"},
        {"a folder in the way", "a.dll\\x:1", "a.dll:new a.dll.old\\x:1", "a.dll.old"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (Text(Wide(row.before)).ends_with(TEXT("new:1@fixed")) && UnderWine()) continue;
        Make("a.dll:new", At("from"));
        const Target target(row.before);
        const std::size_t earlier = BootMarks().size();
        g_rebootNeeded = 0;
        const int result = Replace("from", "to");
        Files after = Look(At("to"));
        for (auto& [name, bytes] : after)
            if (bytes.size() > 100) bytes = "runs";
        EXPECT_EQ(after, State(row.after));
        EXPECT_EQ(result, after[TEXT("a.dll")] == "new");
        EXPECT_EQ(Look(At("from")), State("a.dll:new"));
        EXPECT_EQ(MarksFrom(earlier), Marks(row.marks, At("to")));
        EXPECT_EQ(g_rebootNeeded, std::string(row.marks).find('>') != std::string::npos);
    }
}

TEST_F(ReplaceFileTest, OnlyReadOnlyAndHiddenAreCleared) {
    const auto protect = [](const Text& path) {
        ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                                         FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE));
    };
    const Text target = At("to\\a.dll");
    Make("from\\a.dll:new from\\b.dll:old to\\a.dll:old");
    protect(target);
    protect(At("from\\a.dll"));
    EXPECT_EQ(Replace("from", "to"), 1);
    EXPECT_EQ(FileBytes(target), "new");
    EXPECT_EQ(GetFileAttributesW(At("from\\a.dll").c_str()) & 0xF, 7u) << "the source keeps its own";

    const HeldFile held(target, Hold::NoDelete);
    protect(target);
    EXPECT_EQ(Replace("from", "to"), 0);
    EXPECT_EQ(GetFileAttributesW(target.c_str()), FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE);

    // Under another name in the same folder, the old file keeps its attributes, so it stays.
    protect(At("from\\b.dll"));
    EXPECT_EQ(Replace("from", "from", TEXT("b.dll")), 1);
    EXPECT_EQ(FileBytes(At("from\\b.dll")), "old");
}

}  // namespace
