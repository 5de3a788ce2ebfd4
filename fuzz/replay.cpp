// Runs a target without a fuzzer, on every file of the given folders and on changed copies of each file. The copies
// are the same in every run. The folders are full paths, because the machine has its own current folder.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int kCopies = 8;
constexpr int kMostChanges = 6;
constexpr std::size_t cbPiece = 40;

using Bytes = std::vector<char>;

class Changes {
  public:
    explicit Changes(std::uint32_t seed) : m_random(seed) {}

    Bytes Of(Bytes bytes) {
        for (std::size_t left = 1 + Below(kMostChanges); left > 0 && !bytes.empty(); --left)
            Change(bytes);
        return bytes;
    }

  private:
    // A distribution of the library would differ between libraries.
    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    void Change(Bytes& bytes) {
        // Characters that end, divide or repeat something in one of the formats.
        static constexpr char kTelling[] = {0,   -1,  '\n', '\r', '|',  '>',  '\\',
                                            '*', '?', '"',  '=',  0x1A, 0x7F, -128};
        const std::size_t at = Below(bytes.size());
        const std::size_t cb = std::min(1 + Below(cbPiece), bytes.size() - at);
        const auto place = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        const Bytes piece(place, place + static_cast<std::ptrdiff_t>(cb));
        switch (Below(5)) {
            case 0:
                *place = kTelling[Below(sizeof kTelling)];
                break;
            case 1:
                *place = static_cast<char>(*place ^ (1 << Below(8)));
                break;
            case 2:
                bytes.insert(place, kTelling[Below(sizeof kTelling)]);
                break;
            case 3:
                bytes.erase(place, place + static_cast<std::ptrdiff_t>(cb));
                break;
            default:
                bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(Below(bytes.size())), piece.begin(),
                             piece.end());
        }
    }

    std::mt19937 m_random;
};

void Run(const Bytes& bytes) {
    // A copy of the exact size, so that the sanitizers notice a read past the end of the input.
    const Bytes exact(bytes.begin(), bytes.end());
    (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(exact.data()), exact.size());
}

}  // namespace

int main(int count, char** folders) {
    std::vector<std::filesystem::path> inputs;
    for (int i = 1; i < count; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(folders[i]))
            inputs.push_back(entry.path());
    std::sort(inputs.begin(), inputs.end());
    for (const auto& input : inputs) {
        std::ifstream file(input, std::ios::binary);
        const Bytes bytes{std::istreambuf_iterator<char>(file), {}};
        std::fprintf(stderr, "%s\n", input.c_str());
        Run(bytes);
        Changes changes(static_cast<std::uint32_t>(bytes.size()));
        for (int copy = 1; copy <= kCopies; ++copy) {
            std::fprintf(stderr, "%s, changed copy %d\n", input.c_str(), copy);
            Run(changes.Of(bytes));
        }
    }
    return inputs.empty();
}
