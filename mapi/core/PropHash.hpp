// The hashes of the definition indexes. generate_property_definitions.py has the same steps; a change belongs into
// both.
#pragma once

#include "support/uKwText.hpp"

#include <bit>
#include <cstdint>

namespace deftmapi::prophash
{

inline constexpr std::uint64_t Multiplier = 0x9FB21C651E98DF25;

constexpr std::uint64_t Mix(std::uint64_t word) noexcept
{
    word = (word ^ (word >> 32)) * Multiplier;
    return word ^ (word >> 32);
}

/// Four units a step, and no step waits for the one before: that is what makes look-ups by name fast.
constexpr std::uint64_t Text(std::uint64_t seed, WideView text) noexcept
{
    const char16_t* units = text.data();
    std::uint64_t state = seed + text.size();
    int turn = 0;
    std::size_t left = text.size();
    for (; left >= 4; left -= 4, units += 4, turn += 11) {
        const std::uint64_t word = static_cast<std::uint64_t>(units[0]) | static_cast<std::uint64_t>(units[1]) << 16 |
                                   static_cast<std::uint64_t>(units[2]) << 32 |
                                   static_cast<std::uint64_t>(units[3]) << 48;
        state ^= std::rotl(word * Multiplier, turn % 64);
    }
    if (left > 0) {
        std::uint64_t word = 0;
        for (std::size_t i = left; i-- > 0;)
            word = word << 16 | units[i];
        state ^= std::rotl(word * Multiplier, turn % 64);
    }
    return Mix(state);
}

} // namespace deftmapi::prophash
