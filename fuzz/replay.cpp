// Runs a target, without a fuzzer, on every file of the folders named, by full paths: the
// machine has a current folder of its own.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** folders) {
    int inputs = 0;
    for (int i = 1; i < count; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(folders[i])) {
            std::fprintf(stderr, "%s\n", entry.path().c_str());
            std::ifstream file(entry.path(), std::ios::binary);
            // Of the exact size, so that the sanitizers see a read behind the input.
            const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
            (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++inputs;
        }
    return inputs == 0;
}
