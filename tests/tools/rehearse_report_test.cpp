#include "rehearse/report.h"

#include <gtest/gtest.h>

namespace {

// One of each thing that a report can show.
rehearse::Rehearsal Everything() {
    rehearse::Rehearsal rehearsal;
    rehearsal.steps = {{.name = "setup",
                        .command = "setup.exe \"</code><script>\"",
                        .outcome = {.started = true,
                                    .exitCode = 3,
                                    .programs = {"a.exe -x"},
                                    .messages = {{"<b>", "a &\nb", "OK"}, {"", "c", "No"}}},
                        .changes = {{'+', "C:\\Apps\\", "", "folder"},
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
                                    {'*', "HKLM\\SOFTWARE\\Q\\ : n", "REG_DWORD 1", "REG_DWORD 2"}},
                        .logLines = {"Made Dir: x"},
                        .marks = {"delete y"}},
                       {.name = "uninstall",
                        .command = "u.exe",
                        .outcome = {.exitCode = 2},
                        .remains = {{'+', "C:\\Apps\\", "", "folder"}}},
                       {.name = "restart"}};
    rehearsal.faults = {{"setup", "ended with 3"}, {"setup", "<i>  isn't there"}};
    rehearsal.left = {{{'+', "C:\\stays", "", "5 bytes"}, "why"}, {{'+', "HKCU\\<k>\\", "", "key"}, ""}};
    return rehearsal;
}

void ExpectInOrder(const std::string& text, auto... parts) {
    std::size_t at = 0;
    for (const char* part : {parts...}) {
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
                  "\x1B[1mand may stay\x1B[0m\n    C:\\\n\x1B[32m    + stays  ", " \x1B[0mwhy\n\x1B[1mand",
                  "\x1B[31m1 thing is left");
    rehearsal.left.pop_back();
    rehearsal.faults.pop_back();
    ExpectInOrder(rehearse::LeftToText(rehearsal, true),
                  "\x1B[31mnothing that should have gone, but 1 thing went wrong");
    rehearsal.faults.clear();
    ExpectInOrder(rehearse::LeftToText(rehearsal, true), "\x1B[32mnothing that should have gone");
    rehearsal.left.assign(2, {{'-', "C:\\x", "", ""}, ""});
    ExpectInOrder(rehearse::LeftToText(rehearsal, true), "\x1B[31m    - x", "2 things are left");
}

TEST(RehearsalReport, ShowsAllToAProgram) {
    ExpectInOrder(
        rehearse::ToJson(Everything(), "p\\", "Wine"), R"({"package": "p\\", "machine": "Wine",)",
        R"("exitCode": 1,)", "\"steps\": [\n{\"step\": \"setup\", \"command\": \"setup.exe \\\"</code>",
        R"("started": true, "exitCode": 3,)", "\"programs\": [\n\"a.exe -x\"],\n\"messages\": [",
        R"({"caption": "<b>", "text": "a &\u000ab", "answer": "OK"},)",
        "\"No\"}],\n\"changes\": [\n{\"change\": \"+\", \"name\": \"C:\\\\Apps\\\\\", \"before\": \"\", "
        "\"after\": \"folder\"},\n",
        "\"log\": [\n\"Made Dir: x\"],\n\"atNextStart\": [\n\"delete y\"],\n\"remains\": []},\n",
        R"("started": false, "exitCode": 2,)", "\"remains\": [\n{\"change\": \"+\"",
        "{\"step\": \"restart\",\n\"programs\": [],\n\"messages\"",
        "\"faults\": [\n{\"step\": \"setup\", \"what\": \"ended with 3\"},\n", "\"left\": [\n",
        R"("after": "5 bytes", "mayStay": "why"},)", "\"mayStay\": \"\"}]}\n");
}

TEST(RehearsalReport, EscapesControlAndInvalidCharacters) {
    const std::string odd = "a\x1B[\x7F\302\233\302\240b\xE2\x80\xAE\xFF\xED\xA0\x80\xC3\xA4  c";
    EXPECT_EQ(tools::Shown(odd), "a\\x1b[\\x7f\\x9b\302\240b\\u202e\\xff\\xed\\xa0\\x80\xC3\xA4  c");
    const std::string json = rehearse::ToJson(Everything(), odd, "");
    EXPECT_TRUE(tools::IsUtf8(json));
    ExpectInOrder(json, "\"a\\u001b[\x7F\302\233\302\240b\xE2\x80\xAE\\u00ff\\ud800\xC3\xA4  c\"");
}

TEST(RehearsalReport, HtmlLoadsNothingElse) {
    rehearse::Rehearsal rehearsal = Everything();
    const std::string page = rehearse::ToHtml(rehearsal, "<p>", "Wine");
    EXPECT_NE(page.find("code, h1, li { white-space: pre-wrap; }"), page.npos);
    ExpectInOrder(
        page, "<title>&lt;p&gt;, rehearsed</title>", "<body>\n<h1>&lt;p&gt;</h1>\n<p>Rehearsed on Wine.</p>",
        "<details open class=\"wrong\"><summary>What is left</summary>",
        "<div class=\"verdict went\">1 thing is left", "<div class=\"bad\"><h3>what went wrong</h3>",
        "setup: &lt;i&gt;  isn't there</li>", "<div class=\"bad\"><h3>and should have gone: registry</h3>",
        "<ul>\n<li data-depth=\"0\" style=\"--depth:0\"><span class=\"came\">+ "
        "HKCU\\&lt;k&gt;\\</span></li>\n</ul>",
        "<div><h3>and may stay", "+ stays</span> <span class=\"note\">why",
        "</details>\n<input id=\"filter\"",
        "<details open><summary>setup</summary>\n<code>setup.exe "
        "&quot;&lt;/code&gt;&lt;script&gt;&quot;</code>",
        "ended with 3", "<li data-depth=\"1\" style=\"--depth:1\"><span class=\"came\">+ Apps\\",
        "+ &lt;img src=x&gt;</span> <span class=\"note\">\\x01&lt;i&gt;", "style=\"--depth:2\">Q\\</li>",
        "class=\"changed\">* b.dat", "class=\"went\">- Old\\</span>", "\">a.exe -x</li>",
        "[&lt;b&gt;] a &amp; b  -&gt;  OK", "<summary>uninstall</summary>",
        "<summary>restart</summary>\n<div><ul>", "<script", "</html>");
    for (const char* part : {"<img", "http:", "https:"})
        EXPECT_EQ(page.find(part), page.npos) << part;
    rehearsal.left.pop_back();
    rehearsal.faults.clear();
    ExpectInOrder(rehearse::ToHtml(rehearsal, "p", ""), "class=\"right\"><summary>",
                  "verdict came\">nothing");
}

}  // namespace
