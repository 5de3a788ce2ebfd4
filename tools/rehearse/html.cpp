#include <algorithm>

#include "common/text.h"
#include "rehearse/blocks.h"
#include "rehearse/outcomes.h"
#include "rehearse/report.h"

namespace rehearse {

namespace {

// The browser loads nothing else: the page contains everything that it shows.
constexpr char kHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<style>
:root { color-scheme: light dark; --back: #fff; --text: #1c2127; --weak: #5c6670; --line: #d4dae0; --box: #f4f6f8;
  --came: #116329; --went: #a40e26; --changed: #7a4e00; }
@media (prefers-color-scheme: dark) { :root { --back: #14181d; --text: #dfe5eb; --weak: #98a3ae; --line: #343c45;
  --box: #1d232a; --came: #6fd08c; --went: #ff9492; --changed: #e3b341; } }
body { margin: 0 auto; padding: 1rem 1.5rem 3rem; max-width: 75rem; background: var(--back); color: var(--text);
  font: 15px/1.5 system-ui, sans-serif; }
h1 { font-size: 1.4rem; overflow-wrap: anywhere; }
h3 { font-size: 1rem; margin: .8rem 0 .2rem; }
p, .note { color: var(--weak); }
code, ul { font: 13px/1.6 ui-monospace, monospace; }
code, h1, li { white-space: pre-wrap; }
code { overflow-wrap: anywhere; }
details { border: 1px solid var(--line); border-radius: 6px; margin: .8rem 0; padding: 0 1rem .6rem; }
details:not([open]) { padding-bottom: 0; }
summary { cursor: pointer; font-weight: 600; padding: .6rem 0; }
ul { list-style: none; margin: 0; padding: 0; }
li { padding-left: calc(var(--depth, 0) * 1.5em); overflow-wrap: anywhere; }
li:hover { background: var(--box); }
.note { margin-left: 2em; font-size: 13px; }
.came { color: var(--came); } .went { color: var(--went); } .changed { color: var(--changed); }
.verdict { font-weight: 600; }
.wrong { border-color: var(--went); } .bad span:not(.note) { color: var(--went); }
input { font: inherit; width: 100%; box-sizing: border-box; padding: .4rem .6rem; border: 1px solid var(--line);
  border-radius: 6px; background: var(--back); color: inherit; }
[hidden] { display: none; }
</style>
)";

// A matching line is shown with the folders above it and everything below it.
constexpr char kTail[] = R"(<script>
const filter = document.getElementById("filter");
filter.hidden = false;
filter.addEventListener("input", () => {
  const wanted = filter.value.toLowerCase();
  for (const list of document.querySelectorAll("ul")) {
    const above = [];
    for (const item of list.children) {
      const depth = Number(item.dataset.depth);
      above.length = depth;
      const inherited = depth > 0 && above[depth - 1].matches;
      const matches = inherited || item.textContent.toLowerCase().includes(wanted);
      item.hidden = !matches;
      if (matches) for (const upper of above) upper.item.hidden = false;
      above.push({ item, matches });
    }
    list.parentElement.hidden = [...list.children].every(item => item.hidden);
  }
});
</script>
</body>
</html>
)";

std::string Escaped(const std::string& text) {
    std::string out;
    for (const char byte : tools::Shown(text)) {
        switch (byte) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += byte;
        }
    }
    return out;
}

std::string LineToHtml(const TreeLine& line) {
    const std::string depth = std::to_string(line.depth);
    std::string text = "<li data-depth=\"" + depth + "\" style=\"--depth:" + depth + "\">";
    const char* const colour = line.kind == '+'   ? "came"
                               : line.kind == '-' ? "went"
                               : line.kind == '*' ? "changed"
                                                  : nullptr;
    const std::string sign = line.kind == kPlain ? "" : std::string(1, line.kind) + ' ';
    text += colour ? "<span class=\"" + std::string(colour) + "\">" + sign + Escaped(line.name) + "</span>"
                   : Escaped(line.name);
    if (!line.note.empty()) text += " <span class=\"note\">" + Escaped(line.note) + "</span>";
    return text + "</li>\n";
}

std::string BlocksToHtml(const std::vector<Block>& blocks) {
    std::string text;
    for (const Block& block : blocks) {
        text += block.isWrong ? "<div class=\"bad\">" : "<div>";
        if (!block.title.empty()) text += "<h3>" + Escaped(block.title) + "</h3>";
        text += "<ul>\n";
        for (const TreeLine& line : block.lines)
            text += LineToHtml(line);
        text += "</ul></div>\n";
    }
    return text;
}

std::string StepToHtml(const Step& step) {
    std::string text = "<details open><summary>" + Escaped(step.name) + "</summary>\n";
    if (!step.command.empty())
        text += "<code>" + Escaped(step.command) + "</code> <span class=\"note\">" +
                Escaped(EndOf(step.outcome)) + "</span>\n";
    return text + BlocksToHtml(BlocksOf(step)) + "</details>\n";
}

}  // namespace

std::string ToHtml(const Rehearsal& rehearsal, const std::string& package, const std::string& machine) {
    const bool isRight = rehearsal.ExitCode() == 0;
    std::string text = kHead;
    text += "<title>" + Escaped(package) + ", rehearsed</title>\n</head>\n<body>\n<h1>" + Escaped(package) +
            "</h1>\n<p>Rehearsed on " + Escaped(machine) + ".</p>\n<details open class=\"" +
            (isRight ? "right" : "wrong") + "\"><summary>What is left</summary>\n<div class=\"verdict " +
            (isRight ? "came" : "went") + "\">" + Escaped(VerdictOf(rehearsal)) + "</div>\n";
    std::vector<Block> left = BlocksOfLeft(rehearsal);
    // What should not be there comes first.
    std::stable_partition(left.begin(), left.end(), [](const Block& block) { return block.isWrong; });
    text += BlocksToHtml(left) + "</details>\n";
    text +=
        "<input id=\"filter\" type=\"search\" placeholder=\"Show lines with ...\" aria-label=\"Show lines "
        "with this text\" hidden>\n";
    for (const Step& step : rehearsal.steps)
        text += StepToHtml(step);
    return text + kTail;
}

}  // namespace rehearse
