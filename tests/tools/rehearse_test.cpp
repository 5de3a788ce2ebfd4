#include "rehearse/rehearsal.h"

#include "common/copied_files.h"
#include "rehearse/expected.h"
#include "tools/rehearsed.h"

namespace {

std::string AllSteps(const rehearse::Rehearsal& rehearsal) {
    std::string text;
    for (const auto& step : rehearsal.steps) {
        text += step.name + "\n";
        for (const std::string& program : step.outcome.programs)
            text += "> " + program + "\n";
        for (const std::string& mark : step.marks)
            text += "! " + mark + "\n";
        for (const auto& change : step.changes)
            if (!change.name.starts_with("HK") && !change.name.starts_with("<"))
                text += std::string(1, change.kind) + " " + change.name + " " + change.before + ", " +
                        change.after + "\n";
    }
    return text;
}

TEST_F(Rehearsed, TellsEachStep) {
    RequireRestarts();
    MakePackage(kEarlier,
                "File Copy: QtvUnInst.exe\r\nFile Copy: presets.dat > p.dat\r\nFile Copy: StartQV8.exe\r\n");
    MakePackage(kRehearsed, "File Copy: QtvUnInst.exe\r\nFile Copy: presets.dat\r\nFile Del: p.dat\r\n");
    const auto rehearsal =
        rehearse::Rehearse({"-s", "-instdir", "C:\\Scratch\\Q", "", "a b\\", "c\\\"d"}, [](const auto&) {});
    EXPECT_EQ(rehearsal.ExitCode(), 0);
    EXPECT_EQ(rehearsal.steps[1].command,
              R"(C:\Package\setup.exe -s -instdir C:\Scratch\Q "" "a b\\" "c\\\"d")");
    EXPECT_EQ(AllSteps(rehearsal),
              "setup of the earlier package\n"
              "> regsvr32.exe /s \"C:\\Scratch\\Q\\ThumbQvi32.dll\"\n"
              "> \"C:\\Scratch\\Q\\QtvApp8.exe\" -regonly\n"
              "+ C:\\Scratch\\Q\\ , folder\n"
              "+ C:\\Scratch\\Q\\QtvApp8.exe , as in the package\n"
              "+ C:\\Scratch\\Q\\QtvUnInst.exe , as in the package\n"
              "+ C:\\Scratch\\Q\\QtvUnInst.log , the earlier manifest and 4 lines more\n"
              "+ C:\\Scratch\\Q\\StartQV8.exe , as in the earlier package\n"
              "+ C:\\Scratch\\Q\\p.dat , presets.dat of the earlier package\n"
              "setup\n"
              "> regsvr32.exe /s \"C:\\Scratch\\Q\\ThumbQvi32.dll\"\n"
              "> \"C:\\Scratch\\Q\\QtvApp8.exe\" -regonly\n"
              "* C:\\Scratch\\Q\\QtvUnInst.log the earlier manifest and 4 lines more, the manifest and 4 "
              "lines more\n"
              "- C:\\Scratch\\Q\\p.dat presets.dat of the earlier package, \n"
              "+ C:\\Scratch\\Q\\presets.dat , as in the package\n"
              "uninstall\n"
              "> <Temp>\\uni*.tmp -delself C:\\Scratch\\Q\\QtvUnInst.exe -s\n"
              "> regsvr32.exe /s /u \"C:\\Scratch\\Q\\ThumbQvi32.dll\"\n"
              "> \"C:\\Scratch\\Q\\QtvApp8.exe\" -unregonly\n"
              "! delete <Temp>\\uni*.tmp\n"
              "! delete C:\\Scratch\\Q\\x64\n"
              "- C:\\Scratch\\Q\\QtvApp8.exe as in the package, \n"
              "- C:\\Scratch\\Q\\QtvUnInst.exe as in the package, \n"
              "- C:\\Scratch\\Q\\QtvUnInst.log the manifest and 4 lines more, \n"
              "- C:\\Scratch\\Q\\presets.dat as in the package, \n"
              "restart\n");
    EXPECT_TRUE(rehearsal.steps.back().remains.empty());
    EXPECT_EQ(LeftFiles(rehearsal),
              "Q\\ (it holds what stays)\n"
              "Q\\StartQV8.exe (the log doesn't name it, so nothing takes it)\n");
}

TEST_F(Rehearsed, KnowsWhatTheManifestInstalls) {
    MakeFile(kRehearsed + TEXT("\\\u00E4"));  // the system finds it, whatever the case
    MakeFile(kRehearsed + TEXT("\\QtvUnInst.log"),
             "File Copy: a.dat > P\r\nFile Copy: b*.DAT\r\nFile Copy: s\\*\r\nFile Copy: none\r\nFile Copy: "
             "b*.dat > w\r\nFile Copy: n\\none > a.dat\r\nFile Copy: none*\r\nFile Copy: \xC4\r\n"
             "File Copy: A.DAT\r\nFile Copy: b1.dat > p\r\nFile Copy x64: a.dat > x\r\nFile Copy ind: a.dat "
             "> i\r\n"
             "File Copy x64: none64\r\nFile Copy prt: a.dat\r\nMake Dir: d\r\nFile Del: a.dat\r\n");
    lab::State machine = {
        {"C:\\Package\\a.dat", "file RHS 1 bytes a"}, {"C:\\Package\\b1.dat", "file 1 bytes b"},
        {"C:\\Package\\b2.dat", "file 1 bytes b"},    {"C:\\Package\\s\\", "folder"},
        {"C:\\Package\\s\\b3.dat", "file 1 bytes b"}, {"C:\\Packages\\b4.dat", "file 1 bytes b"}};
    const auto told = [&](bool isPortable) {
        std::string text;
        for (const std::string& what :
             rehearse::WronglyInstalled(machine, "C:\\Package\\", "C:\\A\\Q\\", isPortable))
            text += what.substr(what[1] != ':' ? 0 : what.find('Q') == 5 ? 7 : 3) + "\n";
        return text;
    };
    const std::string none = "n\\none isn't in the package\nnone isn't in the package\n";
    EXPECT_EQ(told(false), none +
                               "a.dat isn't there\nb1.dat isn't there\nb2.dat isn't there\np isn't there\n"
                               "s\\b3.dat isn't there\n");
    for (const char* file : {"A.dat", "b1.dat", "b2.dat", "p", "s\\b3.dat", "i"})
        machine[std::string("C:\\A\\Q\\") + file] = "file 1 bytes b";
    EXPECT_EQ(told(false), none + "a.dat has other bytes than in the package\n");
    machine["C:\\A\\Q\\A.dat"] = "file R 1 bytes a";
    EXPECT_EQ(told(false), none);
    EXPECT_EQ(told(true), none +
                              "none64 isn't in the package\nA\\a.dat isn't there\ni has other bytes than in "
                              "the package\nx isn't there\n");
}

TEST(CopiedFiles, PatternsMatchTheLastPartOfAPath) {
    for (const auto& [path, matches] :
         {std::pair("s\\B1.dat", true), {"b1.dat", false}, {"s\\t\\b1.dat", false}, {"s\\a1.dat", false}})
        EXPECT_EQ(tools::MatchesPattern("S\\b*.DAT", path), matches) << path;
}

// The time must not grow with the product of files and records: it would be minutes.
TEST_F(Rehearsed, JudgesTwelveThousandFilesAtOnce) {
    const std::string folder = "C:\\Scratch\\Q\\";
    std::string log;
    rehearse::Changes left = {{'+', folder, "", "folder"}};
    for (int i = 0; i < 12'000; ++i) {
        const std::string below = "d" + std::to_string(i % 100) + "\\";
        if (i < 100) left.push_back({'+', folder + below, "", "folder"});
        left.push_back({'+', folder + below + "F" + std::to_string(i), "", "1 bytes"});
        if (i % 2) log += "File Copy: " + below + "f" + std::to_string(i) + "\r\n";
    }
    MakeFile(kScratch + TEXT("\\Q\\d0\\F0 long name"), "");
    left.push_back({'+', folder + "d0\\F0 long name", "", "0 bytes"});
    MakeFile(kScratch + TEXT("\\Q\\QtvUnInst.log"), log + "File Del: d0\\*long*\r\n");
    left.push_back({'+', "HKCU\\Software\\Maker\\", "", "key"});
    const lab::State machine = {{"HKCU\\Software\\Maker\\QTV\\", "key"}};
    const auto judged = rehearse::Judge(left, {rehearse::Installation(folder + "QtvUnInst.exe", machine)});
    ASSERT_EQ(judged.size(), left.size());
    const auto count = [&](const std::string& reason) {
        return std::ranges::count(judged, reason, &rehearse::Leftover::reason);
    };
    EXPECT_EQ(count("on the way to a key of the product"), 1);
    EXPECT_EQ(count("it holds what stays"), 51);
    EXPECT_EQ(count(""), 6000 + 50 + 1);
    EXPECT_EQ(count("the log doesn't name it, so nothing takes it"), 6000);
}

}  // namespace
