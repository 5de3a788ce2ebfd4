// The arguments of programs, as the program relies on them.
#include "harness/scratch.h"

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
        EXPECT_EQ(RunChild("ShowArguments", kScratch + TEXT("\\a child.exe"), row.arguments), 7u);
        EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\arguments")), row.lines);
    }
}

}  // namespace
