#include "package_make/source_folder.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "package_check/name_rules.h"
#include "run/product.h"

namespace fs = std::filesystem;

namespace package_make {

namespace {

using package_check::FolderOf;

bool IsTopName(const CString& name, LPCWSTR file) {
    return name.CompareNoCase(file) == 0;
}

// Returns why a file can't have this name. Empty if it can.
std::string Objection(const CString& name) {
    if (name.Find('\\') >= 0) return "a backslash separates folders";
    if (package_check::HasForbidden(name) || package_check::HasWildcard(name))
        return "Windows' names can't hold one of its characters";
    if (package_check::HasBlankOrDotEnd(name)) return "Windows cuts a blank or a dot at the end";
    if (package_check::HasDevice(name)) return "Windows keeps that name for a device";
    return {};
}

// Checks names at the top of the folder that the package or the uninstaller uses for something else.
std::string TopObjection(const CString& name) {
    if (name[0] == ' ' || name[0] == 0xA0) return "in the manifest a blank can't begin a name";
    for (const LPCWSTR own : {TEXT("setup.exe"), kUninstallerFile, kLogFile})
        if (IsTopName(name, own)) return "package_make adds this file itself";
    if (IsTopName(name, kOlderLogFile))
        return "the uninstaller takes a file of that name for the log of an earlier version";
    return {};
}

class Reader {
  public:
    explicit Reader(const fs::path& folder) : m_folder(folder) {}

    std::vector<Entry> Read() {
        std::error_code error;
        fs::recursive_directory_iterator at(m_folder, error);
        for (; !error && at != fs::recursive_directory_iterator(); at.increment(error))
            if (!Take(*at)) at.disable_recursion_pending();
        if (error) Complain(m_folder, "a folder in it can't be read: " + error.message());
        if (!m_complaints.empty()) throw BadInput(m_complaints);
        std::sort(m_entries.begin(), m_entries.end(), [](const Entry& left, const Entry& right) {
            const auto rank = [](const CString& name) {
                const Wide folded = Folded(name);
                return std::tuple(FolderOf(folded.c_str()).Text(), folded);
            };
            return rank(left.name) < rank(right.name);
        });
        return std::move(m_entries);
    }

  private:
    void Complain(const fs::path& path, const std::string& what) {
        m_complaints += (m_complaints.empty() ? "" : "\n") + Shown(path) + ": " + what;
    }

    // Whether to read what is below the entry.
    bool Take(const fs::directory_entry& entry) {
        const fs::path& path = entry.path();
        if (IsLink(path)) {
            Complain(path, "a link; a package holds files and folders only");
            return false;
        }
        std::error_code error;
        const bool isFolder = entry.is_directory(error);
        if (error || (!isFolder && !entry.is_regular_file(error))) {
            Complain(path, "neither a file nor a folder that can be read");
            return false;
        }
        const auto level = OneByteText(path.filename());
        if (!level) {
            Complain(
                path,
                "the manifest stores a letter in one byte and can't hold this name; keep to ASCII names");
            return false;
        }
        const auto parent = m_names.find(path.parent_path());
        const CString name = parent == m_names.end() ? *level : parent->second + TEXT("\\") + *level;
        std::string objection = Objection(*level);
        if (objection.empty() && parent == m_names.end()) objection = TopObjection(*level);
        if (!objection.empty()) Complain(path, objection);
        const auto [other, isNew] = m_folded.try_emplace(Folded(name), path);
        if (!isNew) Complain(path, "Windows takes it for the same name as " + Shown(other->second));
        if (isFolder) m_names[path] = name;
        m_entries.push_back({name, path, isFolder});
        return true;
    }

    const fs::path& m_folder;
    std::vector<Entry> m_entries;
    std::map<fs::path, CString> m_names;  // names of folders
    std::map<Wide, fs::path> m_folded;
    std::string m_complaints;
};

}  // namespace

std::optional<CString> OneByteText(const fs::path& path) {
    Wide name;
    std::u8string bytes;
    try {
        bytes = path.u8string();
    } catch (const std::exception&) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        unsigned code = bytes[i];
        if (code >= 0x80) {
            const unsigned next = bytes[i + 1];  // a null after the last byte
            if ((code != 0xC2 && code != 0xC3) || (next & 0xC0) != 0x80) return std::nullopt;
            code = (code & 3) << 6 | (next & 0x3F);
            ++i;
        }
        name += static_cast<WCHAR>(code);
    }
    return CString(name);
}

Wide Folded(const CString& name) {
    Wide text = name.Text();
    for (WCHAR& character : text)
        if ((character >= 'a' && character <= 'z') ||
            (character >= 0xE0 && character <= 0xFE && character != 0xF7))
            character = static_cast<WCHAR>(character - 0x20);
    return text;
}

std::string Shown(const fs::path& path) {
    const std::u8string bytes = path.u8string();
    return tools::Shown({bytes.begin(), bytes.end()});
}

std::vector<Entry> ReadSourceFolder(const fs::path& folder) {
    return Reader(folder).Read();
}

}  // namespace package_make
