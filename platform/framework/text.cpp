#include "text.h"

#include <algorithm>

#include "app.h"

namespace {

WCHAR Lower(WCHAR unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<WCHAR>(unit + 32) : unit;
}
WCHAR Upper(WCHAR unit) {
    return unit >= 'a' && unit <= 'z' ? static_cast<WCHAR>(unit - 32) : unit;
}

LPCWSTR OrEmpty(LPCWSTR text) {
    return text ? text : TEXT("");
}

}  // namespace

WCHAR CString::GetAt(int index) const {
    return index >= 0 && index < GetLength() ? m_text[static_cast<std::size_t>(index)] : WCHAR{0};
}

CString& CString::operator+=(const CString& tail) {
    m_text += tail.m_text;
    return *this;
}

CString& CString::operator+=(LPCWSTR tail) {
    m_text += OrEmpty(tail);
    return *this;
}

CString& CString::operator+=(WCHAR tail) {
    m_text += tail;
    return *this;
}

CString CString::Left(int count) const {
    return m_text.substr(0, static_cast<std::size_t>(std::max(count, 0)));
}

CString CString::Right(int count) const {
    return Mid(GetLength() - std::clamp(count, 0, GetLength()));
}

CString CString::Mid(int first) const {
    return m_text.substr(static_cast<std::size_t>(std::clamp(first, 0, GetLength())));
}

CString CString::Mid(int first, int count) const {
    return Mid(first).Left(count);
}

// As an int, npos is -1.
int CString::Find(WCHAR character, int start) const {
    return static_cast<int>(m_text.find(character, static_cast<std::size_t>(std::max(start, 0))));
}

int CString::Find(LPCWSTR part, int start) const {
    return static_cast<int>(m_text.find(OrEmpty(part), static_cast<std::size_t>(std::max(start, 0))));
}

int CString::ReverseFind(WCHAR character) const {
    return static_cast<int>(m_text.rfind(character));
}

int CString::Compare(LPCWSTR other) const {
    return wcscmp(m_text.c_str(), OrEmpty(other));
}

int CString::CompareNoCase(LPCWSTR other) const {
    return _wcsicmp(m_text.c_str(), OrEmpty(other));
}

CString& CString::TrimLeft() {
    m_text.erase(m_text.begin(),
                 std::find_if(m_text.begin(), m_text.end(), [](WCHAR unit) { return !iswspace(unit); }));
    return *this;
}

CString& CString::TrimRight() {
    m_text.erase(
        std::find_if(m_text.rbegin(), m_text.rend(), [](WCHAR unit) { return !iswspace(unit); }).base(),
        m_text.end());
    return *this;
}

CString& CString::Trim() {
    return TrimLeft().TrimRight();
}

CString& CString::Trim(LPCWSTR set) {
    set = OrEmpty(set);
    m_text.erase(0, std::min(m_text.find_first_not_of(set), m_text.size()));
    m_text.erase(m_text.find_last_not_of(set) + 1);
    return *this;
}

CString& CString::MakeLower() {
    std::transform(m_text.begin(), m_text.end(), m_text.begin(), Lower);
    return *this;
}

CString& CString::MakeUpper() {
    std::transform(m_text.begin(), m_text.end(), m_text.begin(), Upper);
    return *this;
}

int CString::Replace(WCHAR from, WCHAR to) {
    const auto count = std::count(m_text.begin(), m_text.end(), from);
    std::replace(m_text.begin(), m_text.end(), from, to);
    return static_cast<int>(count);
}

int CString::Replace(LPCWSTR from, LPCWSTR to) {
    const std::size_t cchFrom = wcslen(from);
    int count = 0;
    for (std::size_t at = 0; cchFrom > 0 && (at = m_text.find(from, at)) != Store::npos; at += wcslen(to)) {
        m_text.replace(at, cchFrom, to);
        ++count;
    }
    return count;
}

bool CString::LoadResource(UINT id) {
    // The longest text of the string table has less than 300 characters. LoadStringW would cut a longer one.
    WCHAR buffer[1024];
    const int length = LoadStringW(AfxGetResourceHandle(), id, buffer, 1024);
    m_text.assign(buffer, static_cast<std::size_t>(std::max(length, 0)));
    return length > 0;
}

CString operator+(const CString& left, const CString& right) {
    CString sum = left;
    return sum += right;
}

CString operator+(const CString& left, LPCWSTR right) {
    CString sum = left;
    return sum += right;
}

CString operator+(LPCWSTR left, const CString& right) {
    CString sum = left;
    return sum += right;
}

CString operator+(const CString& left, WCHAR right) {
    CString sum = left;
    return sum += right;
}
