#include <list>

#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "engine/machine_view.h"

namespace {

using ReplaceFileTest = ScratchTest;

struct Held {
    Text path;
    Hold how;
};
struct Row {
    const char* name;
    Text from, to;  // below C:\Scratch
    LPCWSTR newName;
    Files before;
    std::vector<Held> held;
    Files after;              // the held program's bytes are left out
    std::vector<Mark> marks;  // below C:\Scratch too
    int result;
    int rebootNeeded;
};

const Text kTarget = TEXT("to\\a.dll");

// A program that runs from a file has bytes of its own.
Files WithoutPrograms(Files files) {
    for (auto& [name, bytes] : files)
        if (bytes.starts_with("MZ") || bytes.starts_with("\x7f"
                                                         "ELF"))
            bytes = "running";
    return files;
}

TEST_F(ReplaceFileTest, PutsTheFileInPlaceWhateverStandsThere) {
    const Files pair = {
        {TEXT("from\\"), ""}, {TEXT("from\\a.dll"), "new"}, {TEXT("to\\"), ""}, {kTarget, "old"}};
    const auto with = [&](Files more) {
        more.insert(pair.begin(), pair.end());
        return more;
    };
    const auto replaced = [&](Files more = {}) {
        more[kTarget] = "new";
        return with(more);
    };
    const auto noTarget = [&](Files files) {
        files.erase(kTarget);
        return files;
    };
    const Text from = TEXT("from"), to = TEXT("to");
    const Text old = TEXT("to\\a.dll.old"), old2 = TEXT("to\\a.dll.old2"), parked = TEXT("to\\a.dll.new");
    const Text beside = TEXT("from\\b.dll");
    const std::vector<Row> rows = {
        {"onto itself, in other case and with a separator",
         from,
         TEXT("FROM\\"),
         nullptr,
         pair,
         {},
         pair,
         {},
         1,
         0},
        {"onto itself, without a source", to, TEXT("TO\\"), nullptr, {}, {}, {}, {}, 1, 0},
        {"the same folder with another separator", to, TEXT("to/"), nullptr, {}, {}, {}, {}, 0, 0},
        {"source missing", TEXT("none"), to, nullptr, pair, {}, pair, {}, 0, 0},
        {"target absent, either separator",
         TEXT("from/"),
         TEXT("to\\"),
         nullptr,
         noTarget(pair),
         {},
         replaced(),
         {},
         1,
         0},
        {"target folder absent", from, TEXT("none"), nullptr, pair, {}, pair, {}, 0, 0},
        {"target deletable", from, to, nullptr, pair, {}, replaced(), {}, 1, 0},
        {"new name in another folder",
         from,
         to,
         TEXT("b.dll"),
         pair,
         {},
         with({{TEXT("to\\b.dll"), "new"}}),
         {},
         1,
         0},
        {"new name in the folder", from, from, TEXT("b.dll"), pair, {}, with({{beside, "new"}}), {}, 1, 0},
        {"new name in the folder, old one deletable",
         from,
         from,
         TEXT("b.dll"),
         with({{beside, "old"}}),
         {},
         with({{beside, "new"}}),
         {},
         1,
         0},
        {"new name in the folder, old one held",
         from,
         from,
         TEXT("b.dll"),
         with({{beside, "old"}}),
         {{beside, Hold::NoDelete}},
         with({{beside, "old"}}),
         {},
         1,
         0},
        {"moved aside",
         from,
         to,
         nullptr,
         pair,
         {{kTarget, Hold::Running}},
         replaced({{old, "running"}}),
         {{old, TEXT("")}},
         1,
         0},
        {"moved aside over an earlier one",
         from,
         to,
         nullptr,
         with({{old, "1"}}),
         {{kTarget, Hold::Running}},
         replaced({{old, "running"}}),
         {{old, TEXT("")}},
         1,
         0},
        {"moved aside beside a held one",
         from,
         to,
         nullptr,
         with({{old, "1"}, {old2, "2"}}),
         {{kTarget, Hold::Running}, {old, Hold::NoDelete}},
         replaced({{old, "1"}, {old2, "running"}}),
         {{old, TEXT("")}, {old2, TEXT("")}},
         1,
         0},
        {"parked",
         from,
         to,
         nullptr,
         with({{parked, "earlier"}}),
         {{kTarget, Hold::NoDelete}},
         with({{parked, "new"}}),
         {{kTarget, TEXT("")}, {parked, kTarget}},
         0,
         1},
        {"parking fails",
         from,
         to,
         nullptr,
         with({{parked + TEXT("\\"), ""}}),
         {{kTarget, Hold::NoDelete}},
         with({{parked + TEXT("\\"), ""}}),
         {{kTarget, TEXT("")}},
         0,
         0},
        {"a folder in the way",
         from,
         to,
         nullptr,
         noTarget(with({{kTarget + TEXT("\\"), ""}, {kTarget + TEXT("\\x"), "x"}})),
         {},
         replaced({{old + TEXT("\\"), ""}, {old + TEXT("\\x"), "x"}}),
         {{old, TEXT("")}},
         1,
         0},
        {"one folder in two spellings",
         from,
         TEXT("to/../from"),
         nullptr,
         pair,
         {},
         {{TEXT("from\\"), ""}, {TEXT("to\\"), ""}, {kTarget, "old"}},
         {},
         0,
         0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        for (const Text& name : Tree())
            DeleteTree(At(name));
        const std::size_t earlier = BootMarks().size();
        g_rebootNeeded = 0;
        Make(row.before);
        std::list<HeldFile> held;
        for (const Held& file : row.held)
            held.emplace_back(At(file.path), file.how);

        EXPECT_EQ(ReplaceFile(TEXT("a.dll"), At(row.from).c_str(), At(row.to).c_str(), row.newName),
                  row.result);
        EXPECT_EQ(WithoutPrograms(Look()), row.after);
        EXPECT_EQ(g_rebootNeeded, row.rebootNeeded);
        std::vector<Mark> marks = BootMarks();
        marks.erase(marks.begin(), marks.begin() + static_cast<std::ptrdiff_t>(earlier));
        std::vector<Mark> expected;
        for (const Mark& mark : row.marks)
            expected.emplace_back(At(mark.first), mark.second.empty() ? Text() : At(mark.second));
        EXPECT_EQ(marks, expected);
    }
}

TEST_F(ReplaceFileTest, ReadOnlyAndHiddenGoAndOtherAttributesStay) {
    const auto replace = [](LPCWSTR to, LPCWSTR newName) {
        return ReplaceFile(TEXT("a.dll"), At(TEXT("from")).c_str(), At(to).c_str(), newName);
    };
    const auto protect = [](const Text& path) {
        ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                                         FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE));
    };
    Make({{TEXT("from\\a.dll"), "new"}, {TEXT("from\\b.dll"), "old"}, {kTarget, "old"}});
    protect(At(kTarget));
    EXPECT_EQ(replace(TEXT("to"), nullptr), 1);
    EXPECT_EQ(FileBytes(At(kTarget)), "new");

    const HeldFile held(At(kTarget), Hold::NoDelete);
    protect(At(kTarget));
    EXPECT_EQ(replace(TEXT("to"), nullptr), 0);
    EXPECT_EQ(GetFileAttributesW(At(kTarget).c_str()), FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE);

    // Under another name in the folder no attribute is taken away, so the old file stays.
    protect(At(TEXT("from\\b.dll")));
    EXPECT_EQ(replace(TEXT("from"), TEXT("b.dll")), 1);
    EXPECT_EQ(FileBytes(At(TEXT("from\\b.dll"))), "old");
}

TEST_F(ReplaceFileTest, ARestartFinishesTheJob) {
    Make({{TEXT("from\\a.dll"), "new"},
          {TEXT("from\\b.dll"), "new"},
          {kTarget, "old"},
          {TEXT("to\\b.dll"), "old"}});
    {
        const HeldFile parked(At(kTarget), Hold::NoDelete);
        const HeldFile moved(At(TEXT("to\\b.dll")), Hold::Running);
        EXPECT_EQ(ReplaceFile(TEXT("a.dll"), At(TEXT("from")).c_str(), At(TEXT("to")).c_str(), nullptr), 0);
        EXPECT_EQ(ReplaceFile(TEXT("b.dll"), At(TEXT("from")).c_str(), At(TEXT("to")).c_str(), nullptr), 1);
    }
    RestartMachine();
    EXPECT_EQ(Look(At(TEXT("to"))), (Files{{TEXT("a.dll"), "new"}, {TEXT("b.dll"), "new"}}));
}

}  // namespace
