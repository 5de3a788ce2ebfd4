#include "json/json_text.h"
#include "package_check/package_check.h"

namespace package_check {

namespace {

constexpr char kDigits[] = "0123456789abcdef";

// For a terminal: control characters don't act.
std::string Shown(const std::string& text) {
    std::string out;
    for (const char byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        if (code >= 0x20 && code != 0x7F) {
            out += byte;
        } else {
            out += {'\\', 'x', kDigits[code >> 4], kDigits[code & 15]};
        }
    }
    return out;
}

}  // namespace

std::string ToText(const std::vector<Finding>& findings, const std::string& folder) {
    std::string text;
    for (const Finding& finding : findings) {
        text += Shown(finding.file.empty() ? folder : finding.file);
        if (finding.line) text += ":" + std::to_string(finding.line);
        text += ": [" + finding.id + "] " + Shown(finding.what) + "\n";
        text += "    what happens: " + Shown(finding.happens) + "\n";
        text += "    instead:      " + Shown(finding.instead) + "\n";
    }
    const std::string count = findings.empty()       ? "no findings, the package is clean"
                              : findings.size() == 1 ? "1 finding"
                                                     : std::to_string(findings.size()) + " findings";
    return text + Shown(folder) + ": " + count + "\n";
}

std::string ToJson(const std::vector<Finding>& findings, const std::string& folder) {
    std::string text = "{\"package\": " + Quoted(folder) +
                       ", \"exitCode\": " + std::to_string(ExitCode(findings)) + ", \"findings\": [";
    const char* separator = "\n";
    for (const Finding& finding : findings) {
        text += separator;
        text += "  {\"id\": " + Quoted(finding.id) + ", \"file\": " + Quoted(finding.file) +
                ", \"line\": " + std::to_string(finding.line) + ", \"what\": " + Quoted(finding.what) +
                ", \"happens\": " + Quoted(finding.happens) + ", \"instead\": " + Quoted(finding.instead) +
                "}";
        separator = ",\n";
    }
    return text + "\n]}\n";
}

}  // namespace package_check
