#include "rehearse/rehearsal.h"

#include "harness/scratch.h"
#include "rehearse/report.h"

namespace {

const Text kRehearsed = TEXT("C:\\Package"), kEarlier = TEXT("C:\\Earlier package");

class Rehearsed : public ScratchTest {
  protected:
    ~Rehearsed() override { Clear(); }
    static void Clear() {
        for (const Text& folder : {kRehearsed, kEarlier, kScratch + TEXT("\\Apps"), kScratch + TEXT("\\Q")})
            DeleteTree(folder);
    }
    // A package of a few files, one for each name.
    static void MakePackage(const Text& folder, const std::string& records) {
        for (const std::string name : {"setup.exe", "QtvUnInst.exe", "QtvApp8.exe"})
            ImportFile(QTV_BUILD_FOLDER "/package/" + name, folder + TEXT("\\") + Wide(name));
        for (const std::string name : {"presets.dat", "StartQV8.exe"})
            MakeFile(folder + TEXT("\\") + Wide(name), std::string(folder.size(), 'x') + name);
        MakeFile(folder + TEXT("\\QtvUnInst.log"), "File Copy: QtvApp8.exe\r\n" + records);
    }
};

// Which files are left in the installation's own folders, and why.
std::string LeftFiles(const rehearse::Rehearsal& rehearsal) {
    std::string text;
    for (const auto& left : rehearsal.left)
        if (left.change.name.starts_with("C:\\Scratch"))
            text += left.change.name.substr(11) + " (" + left.reason + ")\n";
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
    MakePackage(kEarlier,
                "File Copy: QtvUnInst.exe\r\nFile Copy: presets.dat > p.dat\r\nFile Copy: StartQV8.exe\r\n");
    MakePackage(kRehearsed, "File Copy: QtvUnInst.exe\r\nFile Copy: presets.dat\r\nFile Del: p.dat\r\n");
    const auto rehearsal = rehearse::Rehearse({"-s", "-instdir", "C:\\Scratch\\Q"}, [](const auto&) {});
    EXPECT_EQ(rehearsal.ExitCode(), 0);
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

TEST_F(Rehearsed, TellsWhatMayStayFromWhatShouldHaveGone) {
    const std::string uninstaller = "File Copy: QtvUnInst.exe\r\n";
    const struct {
        const char* name;
        std::string records;
        const char* option;
        std::string left;
    } rows[] = {
        // The next start removes the outer folder. Then nothing removes that of the installation.
        {"portable, with folders named from the outside",
         uninstaller + "File Copy prt: StartQV8.exe\r\nMake Dir: a\r\nMake Dir: a\\b\r\n", "-instport",
         "Apps\\ (on the way to the installation folder)\nApps\\Qantivo\\ ()\n"
         "Apps\\StartQV8.exe (a portable installation's, in the parent folder)\n"},
        {"no uninstaller", "", "-instdir",
         "Apps\\ ()\nApps\\Qantivo\\ ()\nApps\\Qantivo\\QtvApp8.exe ()\nApps\\Qantivo\\QtvUnInst.log ()\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MakePackage(kRehearsed, row.records);
        const auto rehearsal =
            rehearse::Rehearse({"-s", row.option, "C:\\Scratch\\Apps\\Qantivo"}, [](const auto&) {});
        EXPECT_EQ(rehearsal.ExitCode(), 1);
        EXPECT_EQ(LeftFiles(rehearsal), row.left);
        Clear();
    }
}

TEST(RehearsalPage, ShowsWhatIsLeftFirstAndEveryNameAsText) {
    const std::string name = "C:\\<img src=x onerror=alert(1)>";
    rehearse::Rehearsal rehearsal;
    rehearse::Step step;
    step.name = "setup";
    step.command = "setup.exe \"</code><script>\"";
    step.outcome.started = true;
    step.outcome.messages = {{"<b>", "a & b", "OK"}};
    step.changes = {{'+', name, "", "\x01<i>"}};
    rehearsal.steps = {step};
    rehearsal.left = {{{'+', "C:\\stays", "", ""}, "why"}, {{'+', name, "", ""}, ""}};
    const std::string page = rehearse::ToHtml(rehearsal, "<p>", "Wine");
    std::size_t at = 0;
    for (const char* part :
         {"<h1>&lt;p&gt;</h1>", "What is left", "class=\"verdict went\">1 thing is left",
          "<div class=\"bad\"><h3>and should have gone: files", "+ &lt;img src=x onerror=alert(1)&gt;</span>",
          "+ stays</span> <span class=\"note\">why", "<details open><summary>setup</summary>",
          "setup.exe &quot;&lt;/code&gt;&lt;script&gt;&quot;", "ended with 0",
          "+ &lt;img src=x onerror=alert(1)&gt;</span> <span class=\"note\">\\x01&lt;i&gt;",
          "[&lt;b&gt;] a &amp; b"}) {
        const std::size_t found = page.find(part, at);
        ASSERT_NE(found, page.npos) << part << " doesn't come next in\n" << page.substr(at);
        at = found;
    }
    for (const char* part : {"<img", "http:", "https:"})
        EXPECT_EQ(page.find(part), page.npos) << part;
    rehearsal.left.clear();
    EXPECT_NE(rehearse::ToHtml(rehearsal, "p", "Wine").find("verdict came\">nothing that should have gone"),
              page.npos);
}

}  // namespace
