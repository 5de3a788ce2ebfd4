#include "package_check/recipe_lines.h"

#include <deque>
#include <map>

#include "engine/manifest.h"
#include "run/product.h"
#include "support/handles.h"

namespace package_check {

bool ReadLines(const CString& path, std::vector<CString>& lines) {
    const FileStream file(_wfopen(path, TEXT("r")));
    if (!file) return false;
    WCHAR line[kLineChars];
    while (ReadLogLine(line, file.get()))
        lines.emplace_back(line);
    return true;
}

void NameRecipe(std::vector<Finding>& findings, const std::vector<CString>& manifest,
                const std::vector<CString>& recipe, const std::string& shown) {
    std::map<Wide, std::deque<unsigned>> places;  // where a text is in the recipe
    for (std::size_t i = 0; i < recipe.size(); ++i)
        places[recipe[i].Text()].push_back(static_cast<unsigned>(i) + 1);
    std::map<unsigned, unsigned> origins;  // lines of the recipe by those of the manifest
    for (std::size_t i = 0; i < manifest.size(); ++i) {
        const auto place = places.find(manifest[i].Text());
        if (place == places.end() || place->second.empty()) continue;
        origins[static_cast<unsigned>(i) + 1] = place->second.front();
        place->second.pop_front();
    }
    for (Finding& finding : findings) {
        const auto origin = origins.find(finding.line);
        if (finding.file != Utf8(kLogFile) || origin == origins.end()) continue;
        finding.file = shown;
        finding.line = origin->second;
        finding.isInRecipe = true;
    }
}

}  // namespace package_check
