#include "short_names.h"

#include <algorithm>
#include <cstdint>

namespace names {

namespace {

constexpr std::size_t kMaxBase = 8, kMaxExtension = 3;
constexpr std::size_t kKeptOfBase = 6;     // leaves space for "~1"
constexpr std::size_t kKeptBeforeSum = 2;  // leaves space for the sum as well
constexpr unsigned kNumbersWithoutSum = 4;

// A short name neither leaves the character out nor replaces it.
bool IsPlain(WCHAR unit) {
    constexpr TextView kReplaced = TEXT("+,;=[]");
    return unit > ' ' && unit < 0x7F && unit != '.' && kReplaced.find(unit) == kReplaced.npos;
}

// Up to `most` characters of the text, spelled as in a short name.
Text Kept(TextView text, std::size_t most) {
    Text kept;
    for (const WCHAR unit : text)
        if (unit != ' ' && unit != '.' && kept.size() < most) kept += IsPlain(unit) ? unit : WCHAR{'_'};
    return kept;
}

// Windows' sum over a name in hexadecimal, from the lowest digit to the highest.
Text Sum(TextView name) {
    std::uint16_t sum = 0;
    for (const WCHAR unit : name)
        sum = static_cast<std::uint16_t>(sum * 0x25u + unit);
    std::uint32_t mixed = sum * 314159269u;
    if (mixed >> 31) mixed = 0u - mixed;
    mixed -= static_cast<std::uint32_t>(std::uint64_t{mixed} * 1152921497u >> 60) * 1000000007u;
    Text digits;
    for (const unsigned shift : {0u, 4u, 8u, 12u})
        digits += TEXT("0123456789ABCDEF")[mixed >> shift & 0xF];
    return digits;
}

}  // namespace

bool IsShort(TextView name) {
    if (name == TEXT(".") || name == TEXT("..")) return true;
    const std::size_t dot = std::min(name.find('.'), name.size());
    const TextView base = name.substr(0, dot);
    const TextView extension = name.substr(std::min(dot + 1, name.size()));
    return !base.empty() && base.size() <= kMaxBase && extension.size() <= kMaxExtension &&
           extension.empty() == (dot == name.size()) && std::all_of(base.begin(), base.end(), IsPlain) &&
           std::all_of(extension.begin(), extension.end(), IsPlain);
}

ShortNames::ShortNames(TextView name, TextView upper) {
    upper.remove_prefix(std::min(upper.find_first_not_of('.'), upper.size()));
    const std::size_t dot = std::min(upper.rfind('.'), upper.size());
    m_base = Kept(upper.substr(0, dot), kKeptOfBase);
    m_summed = m_base.substr(0, kKeptBeforeSum) + Sum(name);
    m_extension = Kept(upper.substr(dot), kMaxExtension);
    if (!m_extension.empty()) m_extension.insert(m_extension.begin(), WCHAR{'.'});
    // A base of one or two characters gets the sum at once.
    m_firstSummed = m_base.size() <= kKeptBeforeSum ? 1 : kNumbersWithoutSum + 1;
}

Text ShortNames::Candidate(unsigned number) const {
    const bool summed = number >= m_firstSummed;
    if (summed) number -= m_firstSummed - 1;
    Text digits;
    for (; number > 0; number /= 10)
        digits.insert(digits.begin(), static_cast<WCHAR>('0' + number % 10));
    const Text& front = summed ? m_summed : m_base;
    return front.substr(0, kMaxBase - 1 - digits.size()) + TEXT("~") + digits + m_extension;
}

}  // namespace names
