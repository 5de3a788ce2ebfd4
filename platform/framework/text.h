// CString: wide text that owns its characters and grows by itself.
//
// Positions and lengths are in characters (16-bit units). A position outside the text is clamped. A null text
// counts as empty everywhere. Only the letters A to Z have a case, as in the runtime library's "C" locale.
#pragma once

#include <windows.h>

#include <string>
#include <utility>

class CString {
  public:
    using Store = std::basic_string<WCHAR>;

    CString() = default;
    CString(LPCWSTR text) : m_text(text ? text : TEXT("")) {}
    CString(LPCWSTR text, int length) : m_text(text, length < 0 ? 0 : static_cast<std::size_t>(length)) {}
    CString(Store text) : m_text(std::move(text)) {}

    operator LPCWSTR() const { return m_text.c_str(); }
    const Store& Text() const { return m_text; }
    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    // The character at `index`; 0 at the end and beyond.
    WCHAR GetAt(int index) const;
    WCHAR operator[](int index) const { return GetAt(index); }
    // The last character; 0 for an empty string.
    WCHAR Last() const { return GetAt(GetLength() - 1); }

    CString& operator+=(const CString& tail);
    CString& operator+=(LPCWSTR tail);
    CString& operator+=(WCHAR tail);

    CString Left(int count) const;
    CString Right(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;

    // The index of the first occurrence from `start` on, or -1.
    int Find(WCHAR character, int start = 0) const;
    int Find(LPCWSTR part, int start = 0) const;
    // The index of the last occurrence, or -1.
    int ReverseFind(WCHAR character) const;
    // A number below, equal to or above 0, by code units. The second ignores case.
    int Compare(LPCWSTR other) const;
    int CompareNoCase(LPCWSTR other) const;

    // Remove white space (or the characters of `set`) from the named end, or from both.
    CString& TrimLeft();
    CString& TrimRight();
    CString& Trim();
    CString& Trim(LPCWSTR set);
    CString& MakeLower();
    CString& MakeUpper();
    // Replaces every `from` by `to`. Returns how many there were.
    int Replace(WCHAR from, WCHAR to);
    int Replace(LPCWSTR from, LPCWSTR to);

    // Loads a string resource of the program. Returns false and becomes empty when the id doesn't exist.
    bool LoadResource(UINT id);

  private:
    Store m_text;
};

CString operator+(const CString& left, const CString& right);
CString operator+(const CString& left, LPCWSTR right);
CString operator+(LPCWSTR left, const CString& right);
// Without this operator the sum would be a pointer past the text.
CString operator+(const CString& left, WCHAR right);
inline bool operator==(const CString& left, const CString& right) {
    return left.Text() == right.Text();
}
inline bool operator==(const CString& left, LPCWSTR right) {
    return left.Compare(right) == 0;
}
