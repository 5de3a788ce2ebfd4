#include <algorithm>

#include "common/json.h"
#include "common/text.h"
#include "package_check/package_check.h"

namespace package_check {

using tools::JsonString;
using tools::Shown;

std::string ToText(const std::vector<Finding>& findings, const std::string& folder) {
    std::string text;
    for (const Finding& finding : findings) {
        text += Shown(finding.file.empty() ? folder : finding.file);
        if (finding.line) text += ":" + std::to_string(finding.line);
        text += ": [" + finding.id + "] " + (finding.isNote ? "note: " : "") + Shown(finding.what) + "\n";
        text += "    what happens: " + Shown(finding.happens) + "\n";
        text += "    instead:      " + Shown(finding.instead) + "\n";
    }
    const auto notes = std::count_if(findings.begin(), findings.end(),
                                     [](const Finding& finding) { return finding.isNote; });
    const auto wrong = findings.size() - static_cast<std::size_t>(notes);
    std::string count = wrong == 0   ? "no findings, the package is clean"
                        : wrong == 1 ? "1 finding"
                                     : std::to_string(wrong) + " findings";
    if (notes > 0) count += notes == 1 ? ", 1 note" : ", " + std::to_string(notes) + " notes";
    return text + Shown(folder) + ": " + count + "\n";
}

std::string ToJson(const std::vector<Finding>& findings, const std::string& folder) {
    std::string text = "{\"package\": " + JsonString(folder) +
                       ", \"exitCode\": " + std::to_string(ExitCode(findings)) + ", \"findings\": [";
    const char* separator = "\n";
    for (const Finding& finding : findings) {
        text += separator;
        text += "  {\"id\": " + JsonString(finding.id) +
                ", \"level\": " + (finding.isNote ? "\"note\"" : "\"error\"") +
                ", \"file\": " + JsonString(finding.file) + ", \"line\": " + std::to_string(finding.line) +
                ", \"what\": " + JsonString(finding.what) + ", \"happens\": " + JsonString(finding.happens) +
                ", \"instead\": " + JsonString(finding.instead) + "}";
        separator = ",\n";
    }
    return text + "\n]}\n";
}

}  // namespace package_check
