// SHA-256. Windows has it too, but not in a library that it always loads from its own folder.
#pragma once

#include <cstddef>

#include "format.h"

namespace download {

class Sha256 {
  public:
    // With `byInstructions`, the instructions that the processor may have for this are used.
    explicit Sha256(bool byInstructions = true);
    void Add(const char* bytes, std::size_t cb);
    // The sum of all bytes. Nothing may be added after that.
    Digest Finish();

  private:
    void AddBlock(const std::uint8_t* block);

    const bool m_byInstructions;
    std::array<std::uint32_t, 8> m_state = {0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A,
                                            0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};
    std::array<std::uint8_t, 64> m_rest = {};
    std::size_t m_cbRest = 0;
    std::uint64_t m_cbAll = 0;
};

Digest SumOf(const std::string& bytes);

}  // namespace download
