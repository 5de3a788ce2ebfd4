#include "package_check/sarif.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "common/json.h"

namespace fs = std::filesystem;

namespace package_check {

namespace {

using tools::JsonString;

struct Rule {
    const char* id;
    const char* text;
};
constexpr Rule kRules[] = {
// Made from the tables of docs/manifest.md.
#include "package_check_rules.inc"
};

fs::path Absolute(const std::string& path) {
    return fs::absolute(fs::path(std::u8string(path.begin(), path.end()))).lexically_normal();
}

std::string Encoded(const fs::path& path) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (const char8_t code : path.generic_u8string()) {
        const bool isPlain =
            (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z') || (code >= '0' && code <= '9') ||
            std::string_view("-._~/").find(static_cast<char>(code)) != std::string_view::npos;
        if (isPlain)
            out += static_cast<char>(code);
        else
            out += {'%', kDigits[code >> 4], kDigits[code & 15]};
    }
    return out;
}

std::string Address(const fs::path& path, const fs::path& base) {
    const fs::path relative = path.lexically_relative(base);
    if (!relative.empty() && *relative.begin() != "..") return Encoded(relative);
    const std::string encoded = Encoded(path);
    return (encoded.starts_with('/') ? "file://" : "file:///") + encoded;
}

std::string AddressOf(const Finding& finding, const Places& places) {
    if (finding.isInRecipe) return Address(Absolute(places.recipe), Absolute(places.base));
    std::string name = finding.file;
    std::replace(name.begin(), name.end(), '\\', '/');
    const fs::path path = Absolute(places.package + "/" + name);
    return Address(path.has_filename() ? path : path.parent_path(), Absolute(places.base));
}

std::string RulesToSarif() {
    std::string text;
    for (const Rule& rule : kRules)
        text += (text.empty() ? "\n" : ",\n") +
                ("{\"id\": " + JsonString(rule.id) +
                 ", \"fullDescription\": {\"text\": " + JsonString(rule.text) + "}}");
    return text;
}

std::string ToSarif(const Finding& finding, const Places& places) {
    const auto* const rule = std::find_if(std::begin(kRules), std::end(kRules),
                                          [&](const Rule& candidate) { return candidate.id == finding.id; });
    const std::string message =
        finding.what + "\nWhat happens: " + finding.happens + "\nInstead: " + finding.instead;
    std::string text = "{\"ruleId\": " + JsonString(finding.id);
    if (rule != std::end(kRules)) text += ", \"ruleIndex\": " + std::to_string(rule - std::begin(kRules));
    text += std::string(", \"level\": ") + (finding.isNote ? "\"note\"" : "\"error\"") +
            ", \"message\": {\"text\": " + JsonString(message) +
            "}, \"locations\": [{\"physicalLocation\": {\"artifactLocation\": {\"uri\": " +
            JsonString(AddressOf(finding, places)) + "}";
    if (finding.line) text += ", \"region\": {\"startLine\": " + std::to_string(finding.line) + "}";
    return text + "}}]}";
}

}  // namespace

std::string ToSarif(const std::vector<Finding>& findings, const Places& places) {
    std::string results;
    for (const Finding& finding : findings)
        results += (results.empty() ? "\n" : ",\n") + ToSarif(finding, places);
    return "{\"$schema\": \"https://json.schemastore.org/sarif-2.1.0.json\", \"version\": \"2.1.0\", "
           "\"runs\": [{\n"
           "\"tool\": {\"driver\": {\"name\": \"package_check\", \"rules\": [" +
           RulesToSarif() +
           "]}},\n"
           "\"invocations\": [{\"executionSuccessful\": " +
           (ExitCode(findings) == 2 ? "false" : "true") +
           "}],\n"
           "\"results\": [" +
           results + "]\n}]}\n";
}

}  // namespace package_check
