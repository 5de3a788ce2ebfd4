// A number that pins a long text or a block of bytes.
#pragma once

#include <cstdint>
#include <string_view>

// Returns the FNV-1a hash of the bytes.
inline std::uint32_t Checksum(std::string_view bytes) {
    std::uint32_t sum = 2166136261u;
    for (const char each : bytes)
        sum = (sum ^ static_cast<unsigned char>(each)) * 16777619u;
    return sum;
}
