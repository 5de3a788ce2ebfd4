#include "engine/manifest.h"

#include "harness/machine_view.h"
#include "install/log_lines.h"
#include "support/handles.h"

namespace {

using ManifestTest = ScratchTest;

std::vector<Text> ReadLines(const Text& path) {
    std::vector<Text> lines;
    const FileStream file(_wfopen(path.c_str(), TEXT("r")));
    WCHAR line[kLineChars];
    std::fill(std::begin(line), std::end(line), TEXT('#'));
    while (file && ReadLogLine(line, file.get())) {
        EXPECT_EQ(line[kLineChars - 1], 0);
        lines.push_back(line);
    }
    return lines;
}

TEST_F(ManifestTest, LinesAreBytesTrimmedAtTheirRightEnd) {
    const std::string long511(511, 'x');
    const Text wide511(511, TEXT('x'));
    const struct {
        const char* name;
        std::string bytes;
        std::vector<Text> lines;
    } rows[] = {
        {"either line end, and none at last", "a b\r\nc\nd", {TEXT("a b"), TEXT("c"), TEXT("d")}},
        {"only the right end", " \tname \t\x01\x1f \r\n", {TEXT(" \tname")}},
        {"the first character is never cut",
         "\n \n\t \n \r\n",
         {TEXT("\n"), TEXT(" "), TEXT("\t"), TEXT(" ")}},
        {"a null ends its line's text", std::string("ab \0cd\nef\n", 10), {TEXT("ab"), TEXT("ef")}},
        {"0x1A ends the file", "ab\ncd\x1a\nef\n", {TEXT("ab"), TEXT("cd")}},
        {"every byte is its own character", "\x80\xe4\xa0\xff\n", {Text{0x80, 0xE4, 0xA0, 0xFF}}},
        {"511 characters and the line end", long511 + "\r\nz\n", {wide511, TEXT("\n"), TEXT("z")}},
        {"pieces", long511 + long511 + "File Del: z\n", {wide511, wide511, TEXT("File Del: z")}},
        {"blanks where a piece ends", long511.substr(9) + "         y\n", {wide511.substr(9), TEXT("y")}},
    };
    for (const auto& row : rows) {
        MakeFile(At("list"), row.bytes);
        EXPECT_EQ(ReadLines(At("list")), row.lines) << row.name;
    }
}

TEST_F(ManifestTest, TheAppenderWritesWhatTheReaderTakes) {
    const Text log = At("log");
    MakeFile(log, "File Copy: last");
    const Text path = TEXT("Made Dir: C:\\M\xFF\x80sli\\") + Text(600, TEXT('p'));
    for (const Text& line : {Text(), path, Text{'a', 0x100, 0x4E2D, 'b'}})
        AppendLogLine(log.c_str(), line.c_str());
    EXPECT_EQ(FileBytes(log),
              "File Copy: last\r\nMade Dir: C:\\M\xFF\x80sli\\" + std::string(600, 'p') + "\r\na??b\r\n");
    EXPECT_EQ(ReadLines(log), (std::vector<Text>{TEXT("File Copy: last"), path.substr(0, 511),
                                                 path.substr(511), TEXT("a??b")}));

    AppendLogLine(At("new").c_str(), TEXT("x"));
    AppendLogLine(At("no folder\\log").c_str(), TEXT("lost"));
    EXPECT_EQ(Tree(), Names("log new"));
}

}  // namespace
