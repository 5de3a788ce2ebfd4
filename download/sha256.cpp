#include "sha256.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef __x86_64__
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace download {

namespace {

constexpr std::uint32_t kRounds[64] = {
    0x428A2F98, 0x71374491, 0xB5C0FBCF, 0xE9B5DBA5, 0x3956C25B, 0x59F111F1, 0x923F82A4, 0xAB1C5ED5,
    0xD807AA98, 0x12835B01, 0x243185BE, 0x550C7DC3, 0x72BE5D74, 0x80DEB1FE, 0x9BDC06A7, 0xC19BF174,
    0xE49B69C1, 0xEFBE4786, 0x0FC19DC6, 0x240CA1CC, 0x2DE92C6F, 0x4A7484AA, 0x5CB0A9DC, 0x76F988DA,
    0x983E5152, 0xA831C66D, 0xB00327C8, 0xBF597FC7, 0xC6E00BF3, 0xD5A79147, 0x06CA6351, 0x14292967,
    0x27B70A85, 0x2E1B2138, 0x4D2C6DFC, 0x53380D13, 0x650A7354, 0x766A0ABB, 0x81C2C92E, 0x92722C85,
    0xA2BFE8A1, 0xA81A664B, 0xC24B8B70, 0xC76C51A3, 0xD192E819, 0xD6990624, 0xF40E3585, 0x106AA070,
    0x19A4C116, 0x1E376C08, 0x2748774C, 0x34B0BCB5, 0x391C0CB3, 0x4ED8AA4A, 0x5B9CCA4F, 0x682E6FF3,
    0x748F82EE, 0x78A5636F, 0x84C87814, 0x8CC70208, 0x90BEFFFA, 0xA4506CEB, 0xBEF9A3F7, 0xC67178F2};

std::uint32_t Word(const std::uint8_t* bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
           bytes[3];
}

#ifdef __x86_64__

// Most processors since 2020 have instructions for these sums, which take a fifth of the time.
bool HasInstructions() {
    unsigned a, b, c, d;
    return __get_cpuid(1, &a, &b, &c, &d) && (c & bit_SSE4_1) && __get_cpuid_count(7, 0, &a, &b, &c, &d) &&
           (b & bit_SHA);
}

const __m128i* Words(const void* words) {
    return static_cast<const __m128i*>(words);
}

// The instructions keep the state as A, B, E, F and C, D, G, H, and take four rounds with four words at a time.
__attribute__((target("sha,sse4.1"))) void AddByInstructions(std::array<std::uint32_t, 8>& state,
                                                             const std::uint8_t* block) {
    const __m128i bigEndian = _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203);
    const __m128i badc = _mm_shuffle_epi32(_mm_loadu_si128(Words(&state[0])), 0xB1);
    const __m128i hgfe = _mm_shuffle_epi32(_mm_loadu_si128(Words(&state[4])), 0x1B);
    __m128i abef = _mm_alignr_epi8(badc, hgfe, 8), cdgh = _mm_blend_epi16(hgfe, badc, 0xF0);
    const __m128i abefBefore = abef, cdghBefore = cdgh;
    __m128i w[4];
    for (int i = 0; i < 4; ++i)
        w[i] = _mm_shuffle_epi8(_mm_loadu_si128(Words(block + 16 * i)), bigEndian);
    for (int i = 0; i < 16; ++i) {
        __m128i& now = w[i % 4];
        const __m128i sums = _mm_add_epi32(now, _mm_loadu_si128(Words(&kRounds[4 * i])));
        cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sums);
        abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sums, 0x0E));
        const __m128i last = w[(i + 3) % 4];
        now = _mm_add_epi32(_mm_sha256msg1_epu32(now, w[(i + 1) % 4]),
                            _mm_alignr_epi8(last, w[(i + 2) % 4], 4));
        now = _mm_sha256msg2_epu32(now, last);
    }
    const __m128i feba = _mm_shuffle_epi32(_mm_add_epi32(abef, abefBefore), 0x1B);
    const __m128i dchg = _mm_shuffle_epi32(_mm_add_epi32(cdgh, cdghBefore), 0xB1);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&state[0]), _mm_blend_epi16(feba, dchg, 0xF0));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&state[4]), _mm_alignr_epi8(dchg, feba, 8));
}

#else

bool HasInstructions() {
    return false;
}
void AddByInstructions(std::array<std::uint32_t, 8>&, const std::uint8_t*) {}

#endif

}  // namespace

Sha256::Sha256(bool byInstructions) : m_byInstructions(byInstructions && HasInstructions()) {}

void Sha256::AddBlock(const std::uint8_t* block) {
    if (m_byInstructions) return AddByInstructions(m_state, block);
    using std::rotr;
    std::uint32_t w[64];
    for (int i = 0; i < 16; ++i)
        w[i] = Word(block + 4 * i);
    for (int i = 16; i < 64; ++i)
        w[i] = w[i - 16] + (rotr(w[i - 15], 7) ^ rotr(w[i - 15], 18) ^ w[i - 15] >> 3) + w[i - 7] +
               (rotr(w[i - 2], 17) ^ rotr(w[i - 2], 19) ^ w[i - 2] >> 10);
    auto [a, b, c, d, e, f, g, h] = m_state;
    for (int i = 0; i < 64; ++i) {
        const std::uint32_t first =
            h + (rotr(e, 6) ^ rotr(e, 11) ^ rotr(e, 25)) + ((e & f) ^ (~e & g)) + kRounds[i] + w[i];
        const std::uint32_t second = (rotr(a, 2) ^ rotr(a, 13) ^ rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + first;
        d = c;
        c = b;
        b = a;
        a = first + second;
    }
    const std::uint32_t sums[] = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < m_state.size(); ++i)
        m_state[i] += sums[i];
}

void Sha256::Add(const char* bytes, std::size_t cb) {
    m_cbAll += cb;
    while (cb > 0) {
        if (m_cbRest == 0 && cb >= m_rest.size()) {
            AddBlock(reinterpret_cast<const std::uint8_t*>(bytes));
            bytes += m_rest.size();
            cb -= m_rest.size();
            continue;
        }
        const std::size_t cbTaken = std::min(cb, m_rest.size() - m_cbRest);
        std::memcpy(m_rest.data() + m_cbRest, bytes, cbTaken);
        bytes += cbTaken;
        cb -= cbTaken;
        m_cbRest += cbTaken;
        if (m_cbRest < m_rest.size()) return;
        AddBlock(m_rest.data());
        m_cbRest = 0;
    }
}

Digest Sha256::Finish() {
    const std::uint64_t bits = 8 * m_cbAll;
    char end[72] = {'\x80'};
    const std::size_t cbFill = (m_cbRest < 56 ? 56 : 120) - m_cbRest;
    for (std::size_t i = 0; i < 8; ++i)
        end[cbFill + i] = static_cast<char>(bits >> (56 - 8 * i) & 0xFF);
    Add(end, cbFill + 8);
    Digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i)
        digest[i] = static_cast<std::uint8_t>(m_state[i / 4] >> (24 - 8 * (i % 4)) & 0xFF);
    return digest;
}

Digest SumOf(const std::string& bytes) {
    Sha256 sum;
    sum.Add(bytes.data(), bytes.size());
    return sum.Finish();
}

}  // namespace download
