#include "package_check/package_check.h"
#include "package_check/recipe_lines.h"
#include "package_check/sarif.h"

#include <gtest/gtest.h>

using package_check::Finding;

namespace {

TEST(PackageCheckReport, ShowsAllToAPersonAndToAProgram) {
    const std::vector<Finding> findings = {{"some-id", "f", 3, "a\"\\\x01", "b", "c"},
                                           {"other", "", 0, "d", "e", "g"},
                                           {"hint", "f", 1, "h", "i", "j", true}};
    EXPECT_EQ(package_check::ToText(findings, "pkg"),
              "f:3: [some-id] a\"\\\\x01\n    what happens: b\n    instead:      c\n"
              "pkg: [other] d\n    what happens: e\n    instead:      g\n"
              "f:1: [hint] note: h\n    what happens: i\n    instead:      j\npkg: 2 findings, 1 note\n");
    EXPECT_TRUE(package_check::ToText({findings[2], findings[2]}, "p").ends_with(" clean, 2 notes\n"));
    EXPECT_EQ(package_check::ToJson(findings, "p"), R"({"package": "p", "exitCode": 1, "findings": [
  {"id": "some-id", "level": "error", "file": "f", "line": 3, "what": "a\"\\\u0001", "happens": "b", "instead": "c"},
  {"id": "other", "level": "error", "file": "", "line": 0, "what": "d", "happens": "e", "instead": "g"},
  {"id": "hint", "level": "note", "file": "f", "line": 1, "what": "h", "happens": "i", "instead": "j"}
]}
)");
}

TEST(PackageCheckReport, RecordsOfTheRecipeAreNamedThere) {
    std::vector<Finding> findings;
    for (const unsigned line : {1u, 2u, 4u})
        findings.push_back({"id", "QtvUnInst.log", line, "", "", ""});
    findings.push_back({"id", "HomePage.url", 2, "", "", ""});
    const std::vector<CString> manifest = {TEXT("a"), TEXT("X"), TEXT("b"), TEXT("X")};
    package_check::NameRecipe(findings, manifest, {TEXT("#"), TEXT("X"), TEXT(""), TEXT(""), TEXT("X")}, "r");
    std::string named;
    for (const Finding& finding : findings)
        named += finding.file + ":" + std::to_string(finding.line) + (finding.isInRecipe ? "! " : " ");
    EXPECT_EQ(named, "QtvUnInst.log:1 r:2! r:5! HomePage.url:2 ");
}

TEST(PackageCheckReport, SarifNamesRuleLevelAndPlace) {
    const std::vector<Finding> findings = {{"long-line", "s\\#1.log", 3, "a\"", "b", "c"},
                                           {"many-records", "r", 2, "d", "e", "f", true, true},
                                           {"no-package", "", 0, "g", "h", "i"}};
    const std::string text = package_check::ToSarif(findings, {"p\xC3\xA4 k/", "r", "."});
    std::size_t index = 0;
    for (std::size_t at = text.find("{\"id\""); !text.substr(at).starts_with("{\"id\": \"long-line\"");
         at = text.find("{\"id\"", at + 1))
        ++index;
    const auto place = [](const char* uri, const char* region) {
        return std::string("\"locations\": [{\"physicalLocation\": {\"artifactLocation\": {\"uri\": \"") +
               uri + "\"}" + region + "}}]}";
    };
    const std::string parts[] = {
        R"("version": "2.1.0")",
        R"({"id": "long-line", "fullDescription": {"text": "The line has more than 511 characters.)",
        R"("executionSuccessful": false)",
        R"({"ruleId": "long-line", "ruleIndex": )" + std::to_string(index) + ",",
        R"("level": "error", "message": {"text": "a\"\u000aWhat happens: b\u000aInstead: c"}, )" +
            place("p%C3%A4%20k/s/%231.log", R"(, "region": {"startLine": 3})"),
        R"("level": "note", "message": {"text": "d\u000aWhat happens: e\u000aInstead: f"}, )" +
            place("r", R"(, "region": {"startLine": 2})"),
        place("p%C3%A4%20k", "")};
    for (const std::string& part : parts)
        EXPECT_NE(text.find(part), text.npos) << part << "\nisn't in\n" << text;
    EXPECT_NE(package_check::ToSarif(findings, {"p", "r", "p"}).find(R"("uri": "s/%231.log")"), text.npos);
    EXPECT_NE(package_check::ToSarif(findings, {"p", "r", "q"}).find(R"("uri": "file:///)"), text.npos);
    EXPECT_EQ(package_check::ToSarif(findings, {"p", "r", "q"}).find("file:////"), text.npos);
    EXPECT_NE(package_check::ToSarif({}, {}).find(R"("executionSuccessful": true)"), text.npos);
}

}  // namespace
