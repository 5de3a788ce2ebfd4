#include "package_check/manifest_lines.h"

#include <algorithm>
#include <string_view>

namespace package_check {

namespace {

constexpr char kTextEnd = 0x1A;

}  // namespace

ManifestLines::ManifestLines(const std::string& bytes, FILE* file)
    : m_bytes(bytes), m_file(file), m_end(std::min(bytes.find(kTextEnd), bytes.size())) {}

bool ManifestLines::Next(ManifestLine& line) {
    if (!ReadLogLine(line.text, m_file)) return false;
    if (!m_inside) m_lineFeed = std::min(m_bytes.find('\n', m_at), m_end);
    std::size_t cchLeft = m_lineFeed - std::min(m_at, m_lineFeed);
    // In text mode a carriage return and a line feed are one character.
    if (cchLeft > 0 && m_lineFeed < m_end && m_bytes[m_lineFeed - 1] == '\r') --cchLeft;

    constexpr std::size_t kMostChars = kLineChars - 1;
    const bool whole = cchLeft < kMostChars;
    const std::size_t cchRead = whole ? cchLeft : kMostChars;
    line.number = m_number;
    line.continues = m_inside;
    line.isCut = !m_inside && cchLeft > kMostChars;
    line.hidesText = std::string_view(m_bytes).substr(m_at, cchRead).find('\0') < cchRead;
    m_inside = !whole;
    m_number += whole && m_lineFeed < m_end;
    m_at = whole ? std::min(m_lineFeed + 1, m_end) : m_at + kMostChars;
    return true;
}

bool ManifestLines::EndsEarly() const {
    // Some editors write the mark at the end of a text, which does no harm.
    return m_end < m_bytes.size() && m_bytes.find_first_not_of("\x1A\r\n\t ", m_end) != std::string::npos;
}

}  // namespace package_check
