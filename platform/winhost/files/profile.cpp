// Profile files: sections of lines, in the machine's code page, or in UTF-16 if the file has its mark.
#include "files/profile.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <optional>

#include "core/bytes.h"
#include "core/faults.h"
#include "core/host_io.h"
#include "core/limits.h"
#include "core/machine.h"
#include "core/text.h"
#include "files/attributes.h"
#include "files/files.h"
#include "files/paths.h"
#include "files/sharing.h"

namespace winhost {

namespace {

constexpr std::string_view kWideMark = "\xFF\xFE";

// Code page 1252 for the bytes 0x80 to 0x9F. All other bytes are the code points of the same number.
constexpr std::array<char16_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t FromByte(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= 0x80 && value < 0xA0 ? kHighControls[value - 0x80] : value;
}

char ToByte(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit < 0x100)) return static_cast<char>(unit);
    const auto found = std::find(kHighControls.begin(), kHighControls.end(), unit);
    // Windows takes a similar character, if it knows one.
    if (found == kHighControls.end())
        NotModelled("WritePrivateProfileSectionW", "a character that Windows replaces");
    return static_cast<char>(0x80 + (found - kHighControls.begin()));
}

struct Profile {
    bool isWide = false;
    std::vector<std::u16string> lines;
};

Profile Decode(const std::string& bytes) {
    Profile profile;
    profile.isWide = bytes.starts_with(kWideMark);
    const bool isOther = bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xEF\xBB\xBF") ||
                         (!profile.isWide && bytes.find('\0') != bytes.npos);
    if (isOther) NotModelled("GetPrivateProfileSectionW", "the code of a profile's text");
    std::u16string text;
    if (profile.isWide)
        text = Units(std::string_view(bytes).substr(kWideMark.size()));
    else
        std::transform(bytes.begin(), bytes.end(), std::back_inserter(text), FromByte);
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(u'\n', start), text.size());
        std::u16string line = text.substr(start, end - start);
        if (line.ends_with(u'\r')) line.pop_back();
        profile.lines.push_back(std::move(line));
        start = end + 1;
    }
    return profile;
}

std::string Encode(const Profile& profile) {
    std::string bytes(profile.isWide ? kWideMark : "");
    for (const std::u16string& line : profile.lines) {
        for (const char16_t unit : line + u"\r\n") {
            bytes += profile.isWide ? static_cast<char>(unit) : ToByte(unit);
            if (profile.isWide) bytes += static_cast<char>(unit >> 8);
        }
    }
    return bytes;
}

std::u16string_view Trimmed(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u" \t");
    return first == text.npos ? std::u16string_view{}
                              : text.substr(first, text.find_last_not_of(u" \t") + 1 - first);
}

bool IsHeader(std::u16string_view line) {
    return Trimmed(line).starts_with(u'[');
}

bool IsHeaderOf(std::u16string_view line, std::u16string_view section) {
    const std::u16string_view text = Trimmed(line);
    const std::size_t close = text.rfind(u']');
    return text.starts_with(u'[') && close != text.npos &&
           SameName(Trimmed(text.substr(1, close - 1)), section);
}

using Line = std::vector<std::u16string>::iterator;
struct Section {
    Line header;  // the end of all lines when there is no such section
    Line end;     // where the next section begins
};

Section FindSection(Profile& profile, std::u16string_view section) {
    const auto last = profile.lines.end();
    const auto header = std::find_if(profile.lines.begin(), last,
                                     [&](const std::u16string& line) { return IsHeaderOf(line, section); });
    return {header, header == last ? last : std::find_if(header + 1, last, IsHeader)};
}

std::optional<Profile> Read(const Place& place) {
    if (!place.exists() || place.isFolder) return std::nullopt;
    const auto file = OpenPlace(place, kReading, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, 0);
    if (!file) return std::nullopt;
    std::string bytes;
    char part[4096];
    for (ssize_t length; (length = read(file->descriptor(), part, sizeof part)) > 0;)
        bytes.append(part, static_cast<std::size_t>(length));
    return Decode(bytes);
}

bool Write(const Place& place, const Profile& profile) {
    const auto file =
        OpenPlace(place, kWriting, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    if (!file) return false;
    const std::string bytes = Encode(profile);
    // The new text is written over the old one. Without space for it, the old text stays.
    const bool written = WriteWhole(file->descriptor(), bytes.data(), bytes.size()) &&
                         ftruncate(file->descriptor(), static_cast<off_t>(bytes.size())) == 0;
    if (written) MarkWritten(file->descriptor());
    SetLastError(written ? ERROR_SUCCESS : ErrorOf(errno));
    return written;
}

// A name without a folder means a file in the Windows folder.
Place ProfilePlace(LPCWSTR file) {
    const std::u16string name = file;
    return name.find_first_of(u"\\/:") == name.npos ? Locate(u"C:\\Windows\\" + name) : Locate(name);
}

std::u16string Entry(std::u16string_view line) {
    const std::size_t equals = line.find(u'=');
    if (equals == line.npos) return std::u16string(line);
    std::u16string entry(Trimmed(line.substr(0, equals)));
    entry += u'=';
    return entry += Trimmed(line.substr(equals + 1));
}

}  // namespace

std::vector<std::u16string> ReadSection(const Place& file, std::u16string_view section) {
    std::vector<std::u16string> entries;
    auto profile = Read(file);
    if (!profile) return entries;
    const Section found = FindSection(*profile, section);
    if (found.header == found.end) return entries;
    for (Line line = found.header + 1; line != found.end; ++line)
        if (const auto text = Trimmed(*line); !text.empty() && text[0] != u';')
            entries.push_back(Entry(text));
    return entries;
}

}  // namespace winhost

using namespace winhost;

DWORD GetPrivateProfileSectionW(LPCWSTR section, LPWSTR buffer, DWORD cchBuffer, LPCWSTR file) {
    if (!section || !buffer || cchBuffer == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (!file) NotModelled("GetPrivateProfileSectionW", "a call without a file");
    std::fill_n(buffer, std::min<DWORD>(cchBuffer, 2), u'\0');
    if (Fails("GetPrivateProfileSectionW")) return 0;
    const Place place = ProfilePlace(file);
    if (!place.exists()) SetLastError(place.error);
    std::u16string all;
    for (const std::u16string& entry : ReadSection(place, section))
        all += entry + u'\0';
    if (all.empty() || cchBuffer < 2) return 0;
    // Text that doesn't fit is cut, and the cut list still ends with two nulls.
    const std::size_t length = all.size() < cchBuffer ? all.size() : cchBuffer - 2;
    std::copy_n(all.data(), length, buffer);
    std::fill(buffer + length, buffer + std::min<std::size_t>(length + 2, cchBuffer), u'\0');
    return static_cast<DWORD>(length);
}

BOOL WritePrivateProfileSectionW(LPCWSTR section, LPCWSTR entries, LPCWSTR file) {
    if (!section || !file) NotModelled("WritePrivateProfileSectionW", "a call without a section or file");
    if (Fails("WritePrivateProfileSectionW")) return FALSE;
    const Place place = ProfilePlace(file);
    if (!place.reachable() || place.isFolder) {
        SetLastError(place.isFolder ? ERROR_ACCESS_DENIED : place.error);
        return FALSE;
    }
    auto profile = Read(place);
    if (!profile && place.exists()) return FALSE;
    if (!profile) profile.emplace();
    auto [header, end] = FindSection(*profile, section);
    if (header != end) {
        // Blank lines before the next section belong to neither.
        while (entries && end != header + 1 && Trimmed(end[-1]).empty())
            --end;
        header = profile->lines.erase(header, end);
    }
    if (entries) {
        std::vector<std::u16string> lines = {u'[' + std::u16string(section) + u']'};
        for (; *entries; entries += lines.back().size() + 1)
            lines.emplace_back(entries);
        profile->lines.insert(header, lines.begin(), lines.end());
    }
    return Write(place, *profile);
}
