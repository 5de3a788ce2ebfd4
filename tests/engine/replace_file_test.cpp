#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "engine/machine_view.h"

namespace {

using ReplaceFileTest = ScratchTest;

int Replace(const std::string& from, const std::string& to, LPCWSTR newName = nullptr,
            LPCWSTR name = TEXT("a.dll")) {
    return ReplaceFile(name, At(from).c_str(), At(to).c_str(), newName);
}

TEST_F(ReplaceFileTest, PutsTheFileInPlaceWhateverStandsThere) {
    // States and marks are those of the folder "to"; "from" holds a new a.dll and keeps it. What runs or is
    // held has no bytes worth a look, and stands there as "in use".
    const LPCWSTR b = TEXT("b.dll");
    const struct {
        const char *name, *from, *to;
        LPCWSTR newName;
        const char *before, *running, *held, *after, *marks;
        int result;
    } rows[] = {
        {"onto itself", "to", "TO\\", nullptr, "a.dll:old", "", "", "a.dll:old", "", 1},
        {"onto itself, without a source", "to", "to", nullptr, "", "", "", "", "", 1},
        {"one folder in two spellings", "to", "to/../to", nullptr, "a.dll:old", "", "", "", "", 0},
        {"no source", "none", "to", nullptr, "a.dll:old", "", "", "a.dll:old", "", 0},
        {"no target folder", "from", "none", nullptr, "a.dll:old", "", "", "a.dll:old", "", 0},
        {"no target, either separator", "from/", "to\\", nullptr, "", "", "", "a.dll:new", "", 1},
        {"a target", "from", "to", nullptr, "a.dll:old", "", "", "a.dll:new", "", 1},
        {"another name", "from", "to", b, "a.dll:old b.dll:old", "", "", "a.dll:old b.dll:new", "", 1},
        {"another name over one beside", "to", "to", b, "a.dll:1 b.dll:2", "", "", "a.dll:1 b.dll:1", "", 1},
        {"another name over a held one", "to", "to", b, "a.dll:1 b.dll:2", "", "b.dll", "a.dll:1 b.dll:2", "",
         1},
        {"moved aside", "from", "to", nullptr, "", "a.dll", "", "a.dll:new a.dll.old:runs", "a.dll.old", 1},
        {"moved aside again", "from", "to", nullptr, "a.dll.old:1", "a.dll", "", "a.dll:new a.dll.old:runs",
         "a.dll.old", 1},
        {"moved aside beside a held one", "from", "to", nullptr, "a.dll.old:1 a.dll.old2:2", "a.dll",
         "a.dll.old", "a.dll:new a.dll.old:1 a.dll.old2:runs", "a.dll.old a.dll.old2", 1},
        {"parked", "from", "to", nullptr, "a.dll:old a.dll.new:1", "", "a.dll", "a.dll:old a.dll.new:new",
         "a.dll a.dll.new>a.dll", 0},
        {"parking fails", "from", "to", nullptr, "a.dll:old a.dll.new\\", "", "a.dll",
         "a.dll:old a.dll.new\\", "a.dll", 0},
        {"a folder in the way", "from", "to", nullptr, "a.dll\\x:1", "", "", "a.dll:new a.dll.old\\x:1",
         "a.dll.old", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DeleteTree(At("to"));
        Make("a.dll:new", At("from"));
        Make(row.before, At("to"));
        const std::size_t earlier = BootMarks().size();
        g_rebootNeeded = 0;
        std::optional<HeldFile> running, held;
        if (*row.running) running.emplace(At("to\\") + Wide(row.running), Hold::Running);
        if (*row.held) held.emplace(At("to\\") + Wide(row.held), Hold::NoDelete);

        EXPECT_EQ(Replace(row.from, row.to, row.newName), row.result);
        Files after = Look(At("to"));
        for (auto& [name, bytes] : after)
            if (bytes.size() > 100) bytes = "runs";
        EXPECT_EQ(after, State(row.after));
        EXPECT_EQ(Look(At("from")), State("a.dll:new"));
        EXPECT_EQ(MarksFrom(earlier), Marks(row.marks, At("to")));
        EXPECT_EQ(g_rebootNeeded, std::string(row.marks).find('>') != std::string::npos);
    }
}

TEST_F(ReplaceFileTest, ReadOnlyAndHiddenGoAndOtherAttributesStay) {
    const auto protect = [](const Text& path) {
        ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                                         FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE));
    };
    const Text target = At("to\\a.dll");
    Make("from\\a.dll:new from\\b.dll:old to\\a.dll:old");
    protect(target);
    EXPECT_EQ(Replace("from", "to"), 1);
    EXPECT_EQ(FileBytes(target), "new");

    const HeldFile held(target, Hold::NoDelete);
    protect(target);
    EXPECT_EQ(Replace("from", "to"), 0);
    EXPECT_EQ(GetFileAttributesW(target.c_str()), FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE);

    // Under another name in the folder no attribute is taken away, so the old file stays.
    protect(At("from\\b.dll"));
    EXPECT_EQ(Replace("from", "from", TEXT("b.dll")), 1);
    EXPECT_EQ(FileBytes(At("from\\b.dll")), "old");
}

}  // namespace
