#include "rehearse/rehearsal.h"

#include "common/copied_files.h"
#include "harness/scratch.h"
#include "rehearse/expected.h"
#include "rehearse/report.h"

namespace {

const Text kRehearsed = TEXT("C:\\Package"), kEarlier = TEXT("C:\\Earlier package"),
           kPlanted = TEXT("C:\\Windows\\System32\\planted.dll");

class Rehearsed : public ScratchTest {
  protected:
    ~Rehearsed() override { Clear(); }
    static void Clear() {
        for (const Text& item :
             {kRehearsed, kEarlier, kScratch + TEXT("\\Apps"), kScratch + TEXT("\\Q"), kPlanted})
            DeleteTree(item);
    }
    // A package of a few files, one for each name.
    static void MakePackage(const Text& folder, const std::string& records) {
        for (const std::string name : {"setup.exe", "QtvUnInst.exe", "QtvApp8.exe"})
            ImportFile("package/" + name, folder + TEXT("\\") + Wide(name));
        for (const std::string name : {"presets.dat", "StartQV8.exe"})
            MakeFile(folder + TEXT("\\") + Wide(name), std::string(folder.size(), 'x') + name);
        MakeFile(folder + TEXT("\\QtvUnInst.log"), "File Copy: QtvApp8.exe\r\n" + records);
    }
};

// Which files are left in the installation's own folders and in that of the system, and why.
std::string LeftFiles(const rehearse::Rehearsal& rehearsal) {
    std::string text;
    for (const auto& left : rehearsal.left)
        if (left.change.name.starts_with("C:\\Scratch"))
            text += left.change.name.substr(11) + " (" + left.reason + ")\n";
        else if (left.change.name.ends_with("planted.dll"))
            text += "planted.dll (" + left.reason + ")\n";
    return text;
}

std::string FaultsOf(const rehearse::Rehearsal& rehearsal) {
    std::string text;
    for (const auto& [step, what] : rehearsal.faults)
        text += step + ": " + what + "\n";
    return text;
}

std::string AllSteps(const rehearse::Rehearsal& rehearsal) {
    std::string text;
    for (const auto& step : rehearsal.steps) {
        text += step.name + "\n";
        for (const std::string& program : step.outcome.programs)
            text += "> " + program + "\n";
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
              "- C:\\Scratch\\Q\\QtvApp8.exe as in the package, \n"
              "- C:\\Scratch\\Q\\QtvUnInst.exe as in the package, \n"
              "- C:\\Scratch\\Q\\QtvUnInst.log the manifest and 4 lines more, \n"
              "- C:\\Scratch\\Q\\presets.dat as in the package, \n"
              "restart\n");
    EXPECT_EQ(LeftFiles(rehearsal),
              "Q\\ (it holds what stays)\n"
              "Q\\StartQV8.exe (the log doesn't name it, so nothing takes it)\n");
}

TEST_F(Rehearsed, SortsLeftoversByWhetherTheyMayStay) {
    RequireRestarts();
    const std::string uninstaller = "File Copy: QtvUnInst.exe\r\n";
    const struct {
        const char* name;
        std::string records = {};
        const char* option = "-instdir";
        std::string left;
        const char* before = "";  // a file that is there already
        const char* faults = "";
    } rows[] = {
        // The next start removes the outer folder. Then nothing removes that of the installation.
        {.name = "portable, with folders named from the outside",
         .records = uninstaller + "File Copy prt: StartQV8.exe\r\nFile Copy prt: presets.dat > n\\x\r\n"
                                  "Make Dir: a\r\nMake Dir: a\\b\r\n",
         .option = "-instport",
         .left = "Apps\\ (on the way to the installation folder)\nApps\\Qantivo\\ ()\n"
                 "Apps\\StartQV8.exe (a portable installation's, in the parent folder)\n",
         .faults = "setup: C:\\Scratch\\Apps\\n\\x isn't there\n"},
        {.name = "a file in the system's folder",
         .records = uninstaller + "File Copy prt: presets.dat > ..\\..\\Windows\\System32\\planted.dll\r\n",
         .option = "-instport",
         .left = "Apps\\ (on the way to the installation folder)\nplanted.dll ()\n",
         .faults = "setup: C:\\Scratch\\Apps\\..\\..\\Windows\\System32\\planted.dll isn't there\n"},
        {.name = "no uninstaller",
         .left = "Apps\\ ()\nApps\\Qantivo\\ ()\nApps\\Qantivo\\QtvApp8.exe ()\n"
                 "Apps\\Qantivo\\QtvUnInst.log ()\n",
         .faults = "uninstall: showed: the machine has no uninstaller of the product  ->  nothing to run\n"},
        {.name = "a file of the user's goes",
         .records = uninstaller + "File Del: ..\\u.dat\r\n",
         .left = "Apps\\u.dat ()\n",
         .before = "\\u.dat"},
        {.name = "a file in the installation's folder goes",
         .records = uninstaller + "File Del: u.dat\r\nFile Copy: presets.dat > n\\x\r\n",
         .left = "Apps\\Qantivo\\ (the installation folder is the package's own)\n"
                 "Apps\\Qantivo\\u.dat (the installation folder is the package's own)\n",
         .before = "\\Qantivo\\u.dat",
         .faults = "setup: C:\\Scratch\\Apps\\Qantivo\\n\\x isn't there\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MakePackage(kRehearsed, row.records);
        if (*row.before) MakeFile(kScratch + TEXT("\\Apps") + Wide(row.before), "");
        const auto rehearsal =
            rehearse::Rehearse({"-s", row.option, "C:\\Scratch\\Apps\\Qantivo"}, [](const auto&) {});
        EXPECT_EQ(rehearsal.ExitCode(), row.left.find("()") != std::string::npos || *row.faults);
        EXPECT_EQ(FaultsOf(rehearsal), row.faults);
        EXPECT_EQ(LeftFiles(rehearsal), row.left);
        Clear();
    }
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
    const auto judged = rehearse::Judge(left, {rehearse::Installation(folder + "QtvUnInst.exe", {})});
    ASSERT_EQ(judged.size(), left.size());
    const auto count = [&](const std::string& reason) {
        return std::count_if(judged.begin(), judged.end(),
                             [&](const rehearse::Leftover& item) { return item.reason == reason; });
    };
    EXPECT_EQ(count("it holds what stays"), 51);
    EXPECT_EQ(count(""), 6000 + 50 + 1);
    EXPECT_EQ(count("the log doesn't name it, so nothing takes it"), 6000);
}

// One of each thing that a report can show.
rehearse::Rehearsal Everything() {
    rehearse::Step setup, uninstall, restart;
    setup.name = "setup";
    setup.command = "setup.exe \"</code><script>\"";
    setup.outcome.started = true;
    setup.outcome.exitCode = 3;
    setup.outcome.programs = {"a.exe -x"};
    setup.outcome.messages = {{"<b>", "a &\nb", "OK"}, {"", "c", "No"}};
    setup.changes = {
        {'+', "C:\\Apps\\", "", "folder"},
        {'+', "C:\\Apps\\<img src=x>", "", "\x01<i>"},
        {'+', "C:\\Apps\\Q\\a.dat", "", "as in the package"},
        {'*', "C:\\Apps\\b.dat", "1 bytes", "as in the package"},
        {'-', "C:\\Old\\", "folder", ""},
        {'-', "C:\\Old\\c.dat", "2 bytes", ""},
        {'-', "C:\\Old\\d\\e.dat", "2 bytes", ""},
        {'+', "<Desktop>\\Q.lnk", "", "shortcut to C:\\Apps"},
        {'+', "<Temp>\\t", "", "4 bytes"},
        {'+', "HKLM\\SOFTWARE\\Q\\", "", "key"},
        {'+', "HKLM\\SOFTWARE\\Q\\ : a\\b", "", "REG_SZ text"},
        {'*', "HKLM\\SOFTWARE\\Q\\ : n", "REG_DWORD 1", "REG_DWORD 2"},
    };
    setup.logLines = {"Made Dir: x"};
    setup.marks = {"delete y"};
    uninstall.name = "uninstall";
    uninstall.command = "u.exe";
    uninstall.outcome.exitCode = 2;
    uninstall.remains = {{'+', "C:\\Apps\\", "", "folder"}};
    rehearse::Rehearsal rehearsal;
    restart.name = "restart";
    rehearsal.steps = {setup, uninstall, restart};
    rehearsal.faults = {{"setup", "ended with 3"}, {"setup", "<i>  isn't there"}};
    rehearsal.left = {{{'+', "C:\\stays", "", "5 bytes"}, "why"}, {{'+', "HKCU\\<k>\\", "", "key"}, ""}};
    return rehearsal;
}

void ExpectInOrder(const std::string& text, const std::vector<const char*>& parts) {
    std::size_t at = 0;
    for (const char* part : parts) {
        const std::size_t found = text.find(part, at);
        ASSERT_NE(found, text.npos) << part << " doesn't come next in\n" << text.substr(at);
        at = found + 1;
    }
}

TEST(RehearsalReport, ShowsAllToAPerson) {
    rehearse::Rehearsal rehearsal = Everything();
    std::string text;
    for (const auto& step : rehearsal.steps)
        text += rehearse::ToText(step, false);
    EXPECT_EQ(text + rehearse::LeftToText(rehearsal, false), R"(
==== setup ====
setup.exe "</code><script>"   ended with 3
files
    <Temp>\
    + t                                         4 bytes
    C:\
    + Apps\
      + <img src=x>                             \x01<i>
        Q\
        + a.dat
      * b.dat                                   1 bytes  ->  as in the package
    - Old\                                      with 2 below
desktop and Start menu
    <Desktop>\
    + Q.lnk                                     to C:\Apps
registry
  + HKLM\SOFTWARE\Q\
    + a\b                                       text
    * n                                         1  ->  2
in the log, after the manifest
    Made Dir: x
at the next start
    delete y
programs started
    a.exe -x
messages
    [<b>] a & b  ->  OK
    c  ->  No

==== uninstall ====
u.exe   can't be started: error 2
    nothing changed
until the next start, of files
  + C:\Apps\

==== restart ====
    nothing changed

==== what is left ====
what went wrong
    setup: ended with 3
    setup: <i>  isn't there
and may stay
    C:\
    + stays                                     why
and should have gone: registry
  + HKCU\<k>\
1 thing is left that should have gone, but 2 things went wrong
)");
    EXPECT_EQ(rehearse::ToText(rehearsal.steps[2], true),
              "\n\x1B[1m==== restart ====\x1B[0m\n    nothing changed\n");
    ExpectInOrder(rehearse::LeftToText(rehearsal, true),
                  {"\x1B[1mand may stay\x1B[0m\n    C:\\\n\x1B[32m    + stays  ", " \x1B[0mwhy\n\x1B[1mand",
                   "\x1B[31m1 thing is left"});
    rehearsal.left.pop_back();
    rehearsal.faults.pop_back();
    ExpectInOrder(rehearse::LeftToText(rehearsal, true),
                  {"\x1B[31mnothing that should have gone, but 1 thing went wrong"});
    rehearsal.faults.clear();
    ExpectInOrder(rehearse::LeftToText(rehearsal, true), {"\x1B[32mnothing that should have gone"});
    rehearsal.left.assign(2, {{'-', "C:\\x", "", ""}, ""});
    ExpectInOrder(rehearse::LeftToText(rehearsal, true), {"\x1B[31m    - x", "2 things are left"});
}

TEST(RehearsalReport, ShowsAllToAProgram) {
    ExpectInOrder(
        rehearse::ToJson(Everything(), "p\\", "Wine"),
        {R"({"package": "p\\", "machine": "Wine",)", R"("exitCode": 1,)",
         "\"steps\": [\n{\"step\": \"setup\", \"command\": \"setup.exe \\\"</code>",
         R"("started": true, "exitCode": 3,)", "\"programs\": [\n\"a.exe -x\"],\n\"messages\": [",
         R"({"caption": "<b>", "text": "a &\u000ab", "answer": "OK"},)",
         "\"No\"}],\n\"changes\": [\n{\"change\": \"+\", \"name\": \"C:\\\\Apps\\\\\", \"before\": \"\", "
         "\"after\": \"folder\"},\n",
         "\"log\": [\n\"Made Dir: x\"],\n\"atNextStart\": [\n\"delete y\"],\n\"remains\": []},\n",
         R"("started": false, "exitCode": 2,)", "\"remains\": [\n{\"change\": \"+\"",
         "{\"step\": \"restart\",\n\"programs\": [],\n\"messages\"",
         "\"faults\": [\n{\"step\": \"setup\", \"what\": \"ended with 3\"},\n", "\"left\": [\n",
         R"("after": "5 bytes", "mayStay": "why"},)", "\"mayStay\": \"\"}]}\n"});
}

TEST(RehearsalReport, EscapesControlAndInvalidCharacters) {
    const std::string odd =
        "a\x1B[\x7F\xC2\x9B"
        "b\xE2\x80\xAE\xFF\xED\xA0\x80\xC3\xA4  c";
    EXPECT_EQ(tools::Shown(odd), "a\\x1b[\\x7f\\x9bb\\u202e\\xff\\xed\\xa0\\x80\xC3\xA4  c");
    const std::string json = rehearse::ToJson(Everything(), odd, "");
    EXPECT_TRUE(tools::IsUtf8(json));
    ExpectInOrder(json, {"\"a\\u001b[\x7F\xC2\x9B"
                         "b\xE2\x80\xAE\\u00ff\\ud800\xC3\xA4  c\""});
}

TEST(RehearsalReport, HtmlLoadsNothingElse) {
    rehearse::Rehearsal rehearsal = Everything();
    const std::string page = rehearse::ToHtml(rehearsal, "<p>", "Wine");
    EXPECT_NE(page.find("code, h1, li { white-space: pre-wrap; }"), page.npos);
    ExpectInOrder(page, {"<title>&lt;p&gt;, rehearsed</title>",
                         "<body>\n<h1>&lt;p&gt;</h1>\n<p>Rehearsed on Wine.</p>",
                         "<details open class=\"wrong\"><summary>What is left</summary>",
                         "<div class=\"verdict went\">1 thing is left",
                         "<div class=\"bad\"><h3>what went wrong</h3>",
                         "setup: &lt;i&gt;  isn't there</li>",
                         "<div class=\"bad\"><h3>and should have gone: registry</h3>",
                         "<ul>\n<li data-depth=\"0\" style=\"--depth:0\"><span class=\"came\">+ "
                         "HKCU\\&lt;k&gt;\\</span></li>\n</ul>",
                         "<div><h3>and may stay",
                         "+ stays</span> <span class=\"note\">why",
                         "</details>\n<input id=\"filter\"",
                         "<details open><summary>setup</summary>\n<code>setup.exe "
                         "&quot;&lt;/code&gt;&lt;script&gt;&quot;</code>",
                         "ended with 3",
                         "<li data-depth=\"1\" style=\"--depth:1\"><span class=\"came\">+ Apps\\",
                         "+ &lt;img src=x&gt;</span> <span class=\"note\">\\x01&lt;i&gt;",
                         "style=\"--depth:2\">Q\\</li>",
                         "class=\"changed\">* b.dat",
                         "class=\"went\">- Old\\</span>",
                         "\">a.exe -x</li>",
                         "[&lt;b&gt;] a &amp; b  -&gt;  OK",
                         "<summary>uninstall</summary>",
                         "<summary>restart</summary>\n<div><ul>",
                         "<script",
                         "</html>"});
    for (const char* part : {"<img", "http:", "https:"})
        EXPECT_EQ(page.find(part), page.npos) << part;
    rehearsal.left.pop_back();
    rehearsal.faults.clear();
    ExpectInOrder(rehearse::ToHtml(rehearsal, "p", ""),
                  {"class=\"right\"><summary>", "verdict came\">nothing"});
}

}  // namespace
