#include "common/copied_files.h"

#include "common/text.h"
#include "engine/manifest.h"
#include "name_patterns.h"

namespace tools {

namespace {

std::string NameOf(const std::string& path) {
    return path.substr(FolderOf(path).size());
}

names::Text ExpressionOf(const std::string& path) {
    return names::Expression(Wide(Folded(NameOf(path))));
}

}  // namespace

bool MatchesPattern(const std::string& pattern, const std::string& path) {
    return Folded(FolderOf(pattern)) == Folded(FolderOf(path)) &&
           names::Matches(ExpressionOf(pattern), Wide(Folded(NameOf(path))));
}

void CopiedFiles::AddFile(const std::string& name) {
    m_files[Folded(FolderOf(name))][Folded(name)] = name;
}

bool CopiedFiles::Take(const CString& value, const std::string& folder) {
    CString name, newName;
    const bool isTwoNames = SplitNames(value, name, newName);
    const std::string source = Utf8((isTwoNames ? name : value).Text());
    const names::Text expression = ExpressionOf(source);
    const bool isPattern = names::IsPattern(expression);
    const auto files = m_files.find(Folded(FolderOf(source)));
    if (files == m_files.end()) return isPattern;
    const auto add = [&](const std::string& target, const std::string& file) {
        m_copies.insert_or_assign(Folded(folder + target), Copy{folder + target, file});
    };
    if (isPattern) {
        for (const auto& [key, file] : files->second)
            if (!isTwoNames && names::Matches(expression, Wide(NameOf(key)))) add(file, file);
    } else if (const auto file = files->second.find(Folded(source)); file != files->second.end()) {
        add(isTwoNames ? Utf8(newName.Text()) : file->second, file->second);
    } else {
        return false;
    }
    return true;
}

}  // namespace tools
