// Wide text of the runtime library, and its conversion to and from the host's UTF-8.
#include "core/text.h"

#include <clocale>
#include <cwctype>
#include <locale.h>
#include <wctype.h>

#include <algorithm>

#include "core/machine.h"
#include "utf8.h"

namespace winhost {

std::string Utf8(std::u16string_view text) {
    return names::Utf8(text);
}

std::u16string Utf16(std::string_view text) {
    return names::Utf16(text, [](unsigned char) { return u'\uFFFD'; });
}

char16_t UpperUnit(char16_t unit) {
    if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const wint_t upper = unicode ? towupper_l(unit, unicode) : unit;
    // No letter becomes an ASCII letter in the file system's table, for example not the dotless i.
    return upper < 0x80 ? unit : static_cast<char16_t>(upper);
}

std::u16string Upper(std::u16string_view text) {
    std::u16string out(text);
    std::transform(out.begin(), out.end(), out.begin(), UpperUnit);
    return out;
}

bool SameName(std::u16string_view left, std::u16string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char16_t a, char16_t b) { return a == b || UpperUnit(a) == UpperUnit(b); });
}

}  // namespace winhost

// ---- the runtime library's wide text ----

std::size_t wcslen(const char16_t* text) {
    return std::char_traits<char16_t>::length(text);
}

char16_t* wcscpy(char16_t* target, const char16_t* source) {
    std::copy_n(source, wcslen(source) + 1, target);
    return target;
}

char16_t* wcscat(char16_t* target, const char16_t* source) {
    wcscpy(target + wcslen(target), source);
    return target;
}

namespace {

template <class Map>
int CompareUnits(const char16_t* left, const char16_t* right, std::size_t count, Map map) {
    for (; count > 0; --count, ++left, ++right) {
        const int difference = static_cast<int>(map(*left)) - static_cast<int>(map(*right));
        if (difference != 0 || *left == 0) return difference;
    }
    return 0;
}

char16_t Same(char16_t unit) {
    return unit;
}

char16_t Lower(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

}  // namespace

int wcscmp(const char16_t* left, const char16_t* right) {
    return CompareUnits(left, right, SIZE_MAX, Same);
}

int wcsncmp(const char16_t* left, const char16_t* right, std::size_t count) {
    return CompareUnits(left, right, count, Same);
}

int _wcsicmp(const char16_t* left, const char16_t* right) {
    return CompareUnits(left, right, SIZE_MAX, Lower);
}

int _wcsnicmp(const char16_t* left, const char16_t* right, std::size_t count) {
    return CompareUnits(left, right, count, Lower);
}

const char16_t* wcschr(const char16_t* text, char16_t unit) {
    for (;; ++text) {
        if (*text == unit) return text;
        if (*text == 0) return nullptr;
    }
}

const char16_t* wcsrchr(const char16_t* text, char16_t unit) {
    const char16_t* last = nullptr;
    for (;; ++text) {
        if (*text == unit) last = text;
        if (*text == 0) return last;
    }
}

const char16_t* wcsstr(const char16_t* text, const char16_t* part) {
    const std::u16string_view whole(text);
    const auto found = whole.find(part);
    return found == whole.npos ? nullptr : text + found;
}

char16_t* wcschr(char16_t* text, char16_t unit) {
    return const_cast<char16_t*>(wcschr(static_cast<const char16_t*>(text), unit));
}

char16_t* wcsrchr(char16_t* text, char16_t unit) {
    return const_cast<char16_t*>(wcsrchr(static_cast<const char16_t*>(text), unit));
}

char16_t* wcsstr(char16_t* text, const char16_t* part) {
    return const_cast<char16_t*>(wcsstr(static_cast<const char16_t*>(text), part));
}

int iswspace(char16_t unit) {
    return (unit >= 0x09 && unit <= 0x0D) || unit == 0x20 || unit == 0xA0 || unit == 0x1680 ||
           (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 || unit == 0x202F ||
           unit == 0x205F || unit == 0x3000;
}

int _wtoi(const char16_t* text) {
    while (iswspace(*text))
        ++text;
    return static_cast<int>(
        std::clamp<long>(std::strtol(winhost::Utf8(text).c_str(), nullptr, 10), INT32_MIN, INT32_MAX));
}

namespace {

// Writes as much as fits and counts the rest. _vsnwprintf returns -1 for a text longer than the buffer; without a
// buffer it returns the length of the text.
class WideOutput {
  public:
    WideOutput(char16_t* buffer, std::size_t limit) : m_buffer(buffer), m_limit(buffer ? limit : 0) {}
    void Put(char16_t unit) {
        if (m_length < m_limit) m_buffer[m_length] = unit;
        ++m_length;
    }
    // Puts the text at the right end of a field of `width` characters.
    void PutField(std::u16string_view text, int width, char16_t pad) {
        for (auto length = static_cast<int>(text.size()); length < width; ++length)
            Put(pad);
        for (const char16_t unit : text)
            Put(unit);
    }
    int Finish() {
        if (m_length < m_limit) m_buffer[m_length] = 0;
        return m_length <= m_limit || !m_buffer ? static_cast<int>(m_length) : -1;
    }

  private:
    char16_t* m_buffer;
    std::size_t m_limit;
    std::size_t m_length = 0;
};

struct Field {
    int width = 0;
    char16_t pad = u' ';
};

// Takes the width of a conversion, and whether it is filled with zeros.
Field TakeField(const char16_t*& format) {
    Field field;
    if (*format == u'0') {
        field.pad = u'0';
        ++format;
    }
    for (; *format >= u'0' && *format <= u'9' && field.width < 1000; ++format)
        field.width = field.width * 10 + (*format - u'0');
    return field;
}

void PutNumber(WideOutput& out, char16_t conversion, int number, Field field) {
    char digits[32];
    const char pattern[] = {'%', static_cast<char>(conversion), 0};
    // The three format patterns are made here, and each takes one 32-bit number.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    (void)std::snprintf(digits, sizeof digits, pattern, number);
#pragma GCC diagnostic pop
    const bool sign = field.pad == u'0' && digits[0] == '-';
    if (sign) out.Put(u'-');
    out.PutField(winhost::Utf16(digits + sign), field.width - sign, field.pad);
}

}  // namespace

int _vsnwprintf(char16_t* buffer, std::size_t count, const char16_t* format, va_list arguments) {
    WideOutput out(buffer, count);
    for (; *format; ++format) {
        if (*format != u'%') {
            out.Put(*format);
            continue;
        }
        ++format;
        const Field field = TakeField(format);
        switch (*format) {
            case u'%':
                if (field.width > 0) winhost::NotModelled("_vsnwprintf", "the width of a percent sign");
                out.Put(u'%');
                break;
            case u'c': {
                const auto unit = static_cast<char16_t>(va_arg(arguments, int));
                out.PutField({&unit, 1}, field.width, field.pad);
                break;
            }
            case u's': {
                const char16_t* text = va_arg(arguments, const char16_t*);
                out.PutField(text ? text : u"(null)", field.width, field.pad);
                break;
            }
            case u'd':
            case u'u':
            case u'x':
                PutNumber(out, *format, va_arg(arguments, int), field);
                break;
            default:
                winhost::NotModelled("_vsnwprintf",
                                     "conversion " + winhost::Utf8(std::u16string_view(format, 1)));
        }
    }
    return out.Finish();
}
