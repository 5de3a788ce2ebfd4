#include "difference.h"

#include <algorithm>
#include <cstring>

namespace download {

namespace {

constexpr std::size_t cbMadePiece = 64 << 10;

std::uint32_t NumberAt(const char* bytes) {
    std::uint32_t number = 0;
    for (int i = 3; i >= 0; --i)
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    return number;
}

}  // namespace

bool Joiner::BeginStep() {
    m_place = NumberAt(m_numbers.data());
    m_cbAdded = NumberAt(m_numbers.data() + 4);
    m_cbPlain = NumberAt(m_numbers.data() + 8);
    return m_place <= m_earlier.size() && m_cbAdded <= m_earlier.size() - m_place;
}

void Joiner::AddToEarlier(const char* bytes, std::size_t cb) {
    const std::size_t end = m_made.size();
    m_made.resize(end + cb);
    for (std::size_t i = 0; i < cb; ++i)
        m_made[end + i] = static_cast<char>(bytes[i] + m_earlier[m_place + i]);
    m_place += cb;
    m_cbAdded -= cb;
}

Outcome Joiner::Add(const char* bytes, std::size_t cb) {
    while (cb > 0) {
        std::size_t cbUsed;
        if (m_cbNumbers < cbStep) {
            cbUsed = std::min(cb, cbStep - m_cbNumbers);
            std::memcpy(m_numbers.data() + m_cbNumbers, bytes, cbUsed);
            m_cbNumbers += cbUsed;
            if (m_cbNumbers == cbStep && !BeginStep()) return Outcome::Damaged;
        } else if (m_cbAdded > 0) {
            cbUsed = std::min(cb, m_cbAdded);
            AddToEarlier(bytes, cbUsed);
        } else {
            cbUsed = std::min(cb, m_cbPlain);
            m_cbPlain -= cbUsed;
            m_made.append(bytes, cbUsed);
        }
        if (m_made.size() >= cbMadePiece) {
            if (const Outcome outcome = m_take(m_made.data(), m_made.size()); outcome != Outcome::Right)
                return outcome;
            m_made.clear();
        }
        if (m_cbNumbers == cbStep && m_cbAdded == 0 && m_cbPlain == 0) m_cbNumbers = 0;
        bytes += cbUsed;
        cb -= cbUsed;
    }
    return Outcome::Right;
}

Outcome Joiner::Finish() {
    const Outcome outcome = m_take(m_made.data(), m_made.size());
    return outcome == Outcome::Right && m_cbNumbers != 0 ? Outcome::Damaged : outcome;
}

}  // namespace download
