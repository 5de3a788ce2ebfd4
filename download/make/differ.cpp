// A new version of a program mostly consists of runs of the old one in which addresses have changed. Few of their bytes are
// other ones, and their differences are the same again and again. So a run is kept as differences of its bytes, which pack
// very well, as long as about half of its bytes are the same.
#include "differ.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "format.h"

namespace download_make {

namespace {

// As many equal bytes begin a run. A shorter text is too often the same by chance.
constexpr std::size_t cbSeed = 8;
constexpr std::size_t cbMostCompared = 256;
// So many places with the same hash are compared.
constexpr int kMostPlaces = 16;
// A place is better than the present run when so many more of its bytes are the same.
constexpr std::size_t kLead = 8;
// A run ends where its last bytes have so few in common.
constexpr std::ptrdiff_t kPatience = 64;
constexpr int kHashBits = 24;
constexpr std::uint32_t kNone = 0xFFFFFFFF;

std::uint64_t Hash(const char* bytes) {
    std::uint64_t mixed;
    std::memcpy(&mixed, bytes, cbSeed);
    mixed *= 0x9E3779B97F4A7C15u;
    mixed = (mixed ^ mixed >> 29) * 0xBF58476D1CE4E5B9u;
    return mixed >> (64 - kHashBits);
}

// The places of a text by the hash of the bytes there, the last one first.
class Places {
  public:
    explicit Places(std::string_view text)
        : m_first(std::size_t{1} << kHashBits, kNone), m_next(text.size(), kNone) {
        for (std::size_t at = 0; at + cbSeed <= text.size(); ++at) {
            std::uint32_t& first = m_first[Hash(text.data() + at)];
            m_next[at] = first;
            first = static_cast<std::uint32_t>(at);
        }
    }
    std::uint32_t First(const char* bytes) const { return m_first[Hash(bytes)]; }
    std::uint32_t Next(std::uint32_t place) const { return m_next[place]; }

  private:
    std::vector<std::uint32_t> m_first, m_next;
};

// A place in the present file, and the one in the earlier file that is like it.
struct Match {
    std::size_t present, earlier;
};

class Differ {
  public:
    Differ(std::string_view earlier, std::string_view present) : m_earlier(earlier), m_present(present) {}

    std::string Steps() {
        FindMatches();
        m_matches.push_back({m_present.size(), m_earlier.size()});
        for (std::size_t i = 0; i + 1 < m_matches.size(); ++i)
            PutStep(m_matches[i], m_matches[i + 1]);
        return std::move(m_steps);
    }

  private:
    std::size_t CommonBytes(std::size_t present, std::size_t earlier) const {
        const std::size_t most =
            std::min({cbMostCompared, m_present.size() - present, m_earlier.size() - earlier});
        std::size_t cb = 0;
        while (cb < most && m_present[present + cb] == m_earlier[earlier + cb])
            ++cb;
        return cb;
    }

    // How many of the next bytes are the same in the present run.
    std::size_t EqualInRun(std::size_t present, std::size_t cb) const {
        const std::size_t earlier = m_matches.back().earlier + (present - m_matches.back().present);
        std::size_t equal = 0;
        for (std::size_t i = 0; i < cb && earlier + i < m_earlier.size(); ++i)
            equal += m_present[present + i] == m_earlier[earlier + i];
        return equal;
    }

    void FindMatches() {
        const Places places(m_earlier);
        m_matches.push_back({0, 0});
        for (std::size_t at = 0; at + cbSeed <= m_present.size();) {
            if (EqualInRun(at, cbSeed) == cbSeed) {
                at += cbSeed;
                continue;
            }
            std::size_t cbBest = 0, best = 0;
            std::uint32_t place = places.First(m_present.data() + at);
            for (int i = 0; i < kMostPlaces && place != kNone; ++i, place = places.Next(place))
                if (const std::size_t cb = CommonBytes(at, place); cb > cbBest) {
                    cbBest = cb;
                    best = place;
                }
            const bool isBetter = cbBest >= cbSeed && cbBest > EqualInRun(at, cbBest) + kLead;
            if (isBetter) m_matches.push_back({at, best});
            at += isBetter ? cbBest : std::max<std::size_t>(1, cbBest / 2);
        }
    }

    // How far the run goes in a direction, at most `cbMost` bytes, so that the most bytes are the same.
    std::size_t Reach(const Match& run, std::ptrdiff_t direction, std::size_t cbMost) const {
        std::ptrdiff_t score = 0, bestScore = 0;
        std::size_t reach = 0;
        const std::ptrdiff_t first = direction > 0 ? 0 : -1;
        for (std::size_t cb = 0; cb < cbMost && score + kPatience >= bestScore;) {
            const std::size_t offset =
                static_cast<std::size_t>(first + direction * static_cast<std::ptrdiff_t>(cb));
            score += m_present[run.present + offset] == m_earlier[run.earlier + offset] ? 1 : -1;
            ++cb;
            if (score > bestScore) {
                bestScore = score;
                reach = cb;
            }
        }
        return reach;
    }

    // Where both runs reach, the one with more equal bytes up to a place, and then the other, take the bytes. Returns the
    // number of bytes that the later run loses.
    std::size_t Cut(const Match& run, const Match& next, std::size_t begin, std::size_t end) const {
        std::ptrdiff_t score = 0, bestScore = 0;
        std::size_t cut = 0;
        for (std::size_t at = begin; at < end; ++at) {
            score += m_present[at] == m_earlier[run.earlier + (at - run.present)];
            score -= m_present[at] == m_earlier[next.earlier - (next.present - at)];
            if (score > bestScore) {
                bestScore = score;
                cut = at + 1 - begin;
            }
        }
        return cut;
    }

    // Puts the bytes from the begin of the run to that of the next one, which grows to the front.
    void PutStep(const Match& run, Match& next) {
        std::size_t end =
            run.present + Reach(run, 1, std::min(next.present - run.present, m_earlier.size() - run.earlier));
        std::size_t begin = next.present;
        if (next.present < m_present.size())
            begin -= Reach(next, -1, std::min(next.present - run.present, next.earlier));
        if (end > begin) {
            const std::size_t cut = Cut(run, next, begin, end);
            begin += cut;
            end = begin;
        }
        for (const std::size_t number : {run.earlier, end - run.present, begin - end})
            for (int i = 0; i < 4; ++i)
                m_steps += static_cast<char>(number >> (8 * i) & 0xFF);
        for (std::size_t at = run.present; at < end; ++at)
            m_steps += static_cast<char>(m_present[at] - m_earlier[run.earlier + (at - run.present)]);
        m_steps += m_present.substr(end, begin - end);
        next.earlier -= next.present - begin;
        next.present = begin;
    }

    std::string_view m_earlier, m_present;
    std::vector<Match> m_matches;
    std::string m_steps;
};

}  // namespace

std::string DifferenceOf(std::string_view earlier, std::string_view present) {
    return Differ(earlier, present).Steps();
}

}  // namespace download_make
