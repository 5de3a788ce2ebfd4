// Programs, their arguments and message boxes, as the program relies on them.
#include "support/scratch.h"

#include <gtest/gtest-spi.h>
#include <process.h>

namespace {

class Programs : public ScratchTest {};

// Writes its arguments, a line each.
CHILD_PROGRAM(ShowArguments) {
    std::string lines;
    for (int i = 1; i < __argc; ++i) {
        for (const WCHAR unit : Text(__wargv[i]))
            lines += static_cast<char>(unit);
        lines += '\n';
    }
    MakeFile(TEXT("C:\\Scratch\\arguments"), lines);
    return 7;
}

TEST_F(Programs, GetTheirArgumentsByTheRuntimeLibrarysRules) {
    const struct {
        LPCWSTR arguments;
        const char* lines;
    } rows[] = {
        {TEXT(""), ""},
        {TEXT("-s  /v\t-x"), "-s\n/v\n-x\n"},
        {TEXT("\"a b\" c\"d e\"f \"\""), "a b\ncd ef\n\n"},
        {TEXT("-sfxname=\"C:\\my files\\pkg.exe\" C:\\x\\"), "-sfxname=C:\\my files\\pkg.exe\nC:\\x\\\n"},
        {TEXT("\"C:\\x\\\\\" a\\\"b"), "C:\\x\\\na\"b\n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(RunChild("ShowArguments", kScratch + TEXT("\\a child.exe"), row.arguments).exitCode, 7u);
        EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\arguments")), row.lines);
    }
}

// The first process starts the second in its place; the second waits a moment.
CHILD_PROGRAM(Relaunch) {
    if (__argc > 1) {
        Sleep(300);
        MakeFile(TEXT("C:\\Scratch\\after"));
        return ShowArguments();
    }
    WCHAR own[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    (void)CopyFileW(own, TEXT("C:\\Scratch\\copy.tmp"), FALSE);
    _wexecl(TEXT("C:\\Scratch\\copy.tmp"), TEXT("first"), TEXT("-delself"), TEXT("\"C:\\a b\""), TEXT("c d"),
            static_cast<LPCWSTR>(nullptr));
    return 1;
}

// The runtime library joins the arguments with spaces and quotes nothing.
TEST_F(Programs, ReplaceThemselvesByOneWithJoinedArguments) {
    const Outcome outcome = RunChild("Relaunch");
    EXPECT_TRUE(outcome.started);
    EXPECT_EQ(outcome.exitCode, 0u);
    EXPECT_TRUE(Exists(TEXT("C:\\Scratch\\after"))) << "the whole tree is waited for";
    EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\arguments")), "-delself\nC:\\a b\nc\nd\n");
}

CHILD_PROGRAM(Ask) {
    return MessageBoxW(nullptr, TEXT("Do you want\nit?"), TEXT("Asker"), MB_YESNO | MB_ICONQUESTION);
}

TEST_F(Programs, MessageBoxesAreAnsweredInOrder) {
    const BoxAnswers boxes({IDNO, IDOK, IDYES});
    EXPECT_EQ(MessageBoxW(nullptr, TEXT("First"), TEXT("Test"), MB_YESNO), IDNO);
    EXPECT_EQ(MessageBoxW(nullptr, TEXT("Second"), nullptr, MB_OK | MB_ICONSTOP), IDOK);
    EXPECT_EQ(RunChild("Ask").exitCode, DWORD{IDYES});
    const std::vector<ShownBox> shown = boxes.Shown();
    ASSERT_EQ(shown.size(), 3u);
    EXPECT_EQ(shown[0].caption, TEXT("Test"));
    EXPECT_EQ(shown[0].text, TEXT("First"));
    EXPECT_EQ(shown[1].caption, TEXT("Error"));
    EXPECT_EQ(shown[2].caption, TEXT("Asker"));
    EXPECT_EQ(shown[2].text, TEXT("Do you want\nit?"));
}

}  // namespace
