// How profiles keep their passwords: PBKDF2 with HMAC-SHA-256 (RFC 8018), never the password itself.
// The implementation is our own because the client may be built without any library that has one.
#pragma once

#include "support/uKwText.hpp"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace deftmapi::client
{

using Digest = std::array<std::uint8_t, 32>;

[[nodiscard]] Digest Sha256(std::span<const std::uint8_t> data);

/// The first block of PBKDF2-HMAC-SHA-256. `rounds` is at least 1.
[[nodiscard]] Digest DeriveKey(std::string_view password, std::span<const std::uint8_t> salt, std::uint32_t rounds);

/// What is stored of a password.
struct PasswordRecord
{
    std::array<std::uint8_t, 16> salt{};
    std::uint32_t rounds = 0;
    Digest hash{};

    /// Rounds for new records.
    static constexpr std::uint32_t NewRounds = 100'000;

    /// A record with a new random salt.
    [[nodiscard]] static PasswordRecord Make(WideView password);
    [[nodiscard]] bool Fits(WideView password) const;
};

} // namespace deftmapi::client
