// The hash of the definition indexes. generate_property_definitions.py has the same steps; a change belongs into both.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"
#include "support/uKwText.hpp"

#include <cstdint>

namespace deftmapi::prophash
{

inline constexpr std::uint64_t Seed = 0x9E3779B97F4A7C15;
inline constexpr std::uint64_t Multiplier = 0x9FB21C651E98DF25;

constexpr std::uint64_t Step(std::uint64_t state, std::uint64_t word) noexcept
{
    state = (state ^ word) * Multiplier;
    return state ^ (state >> 32);
}

/// Four units a step, which is what makes look-ups by name fast.
constexpr std::uint64_t Text(std::uint64_t state, WideView text) noexcept
{
    const auto unit = [&](std::size_t i) { return static_cast<std::uint64_t>(text[i]); };
    state = Step(state, text.size());
    std::size_t i = 0;
    for (; i + 4 <= text.size(); i += 4)
        state = Step(state, unit(i) | unit(i + 1) << 16 | unit(i + 2) << 32 | unit(i + 3) << 48);
    if (i < text.size()) {
        std::uint64_t word = 0;
        for (std::size_t shift = 0; i < text.size(); ++i, shift += 16)
            word |= unit(i) << shift;
        state = Step(state, word);
    }
    return state;
}

/// Of a property set, kind and type.
constexpr std::uint64_t Named(const mapi::GUID& set, std::uint32_t kind, std::uint32_t type) noexcept
{
    std::uint64_t tail = 0;
    for (unsigned i = 0; i < 8; ++i)
        tail |= static_cast<std::uint64_t>(set.Data4[i]) << (8 * i);
    const std::uint64_t head =
        set.Data1 | static_cast<std::uint64_t>(set.Data2) << 32 | static_cast<std::uint64_t>(set.Data3) << 48;
    return Step(Step(Step(Seed, head), tail), static_cast<std::uint64_t>(kind) << 32 | type);
}

} // namespace deftmapi::prophash
