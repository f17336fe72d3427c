#include "client/session/PasswordHash.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <random>
#include <vector>

namespace deftmapi::client
{
namespace
{

// FIPS 180-4: the first 32 bits of the fractional parts of the cube roots of the first 64 primes.
constexpr std::uint32_t RoundConstants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::size_t BlockSize = 64;

/// The running state of SHA-256. Copying one saves hashing a common beginning again, which halves the work of HMAC.
class Hasher
{
public:
    void Update(std::span<const std::uint8_t> data)
    {
        FLength += data.size();
        while (!data.empty()) {
            const std::size_t piece = std::min(data.size(), BlockSize - FUsed);
            std::memcpy(FBlock.data() + FUsed, data.data(), piece);
            data = data.subspan(piece);
            FUsed += piece;
            if (FUsed == BlockSize)
                Compress();
        }
    }

    [[nodiscard]] Digest Finish()
    {
        const std::uint64_t bits = FLength * 8;
        FBlock[FUsed++] = 0x80;
        if (FUsed > BlockSize - 8) {
            std::memset(FBlock.data() + FUsed, 0, BlockSize - FUsed);
            Compress();
        }
        std::memset(FBlock.data() + FUsed, 0, BlockSize - 8 - FUsed);
        for (int i = 0; i < 8; ++i)
            FBlock[BlockSize - 8 + i] = static_cast<std::uint8_t>(bits >> (56 - 8 * i));
        Compress();
        Digest digest;
        for (std::size_t i = 0; i < digest.size(); ++i)
            digest[i] = static_cast<std::uint8_t>(FState[i / 4] >> (24 - 8 * (i % 4)));
        return digest;
    }

private:
    void Compress()
    {
        std::uint32_t w[64];
        for (std::size_t i = 0; i < 16; ++i)
            w[i] = std::uint32_t{FBlock[4 * i]} << 24 | std::uint32_t{FBlock[4 * i + 1]} << 16 |
                   std::uint32_t{FBlock[4 * i + 2]} << 8 | FBlock[4 * i + 3];
        for (std::size_t i = 16; i < 64; ++i) {
            const std::uint32_t s0 = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
            const std::uint32_t s1 = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
            w[i] = w[i - 16] + s0 + w[i - 7] + s1;
        }
        auto [a, b, c, d, e, f, g, h] = FState;
        for (std::size_t i = 0; i < 64; ++i) {
            const std::uint32_t s1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
            const std::uint32_t t1 = h + s1 + ((e & f) ^ (~e & g)) + RoundConstants[i] + w[i];
            const std::uint32_t s0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
            const std::uint32_t t2 = s0 + ((a & b) ^ (a & c) ^ (b & c));
            h = g;
            g = f;
            f = e;
            e = d + t1;
            d = c;
            c = b;
            b = a;
            a = t1 + t2;
        }
        const std::array<std::uint32_t, 8> change = {a, b, c, d, e, f, g, h};
        for (std::size_t i = 0; i < 8; ++i)
            FState[i] += change[i];
        FUsed = 0;
    }

    std::array<std::uint32_t, 8> FState = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                           0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<std::uint8_t, BlockSize> FBlock{};
    std::size_t FUsed = 0;
    std::uint64_t FLength = 0;
};

std::span<const std::uint8_t> AsBytes(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// HMAC with one key for many messages.
class Hmac
{
public:
    explicit Hmac(std::span<const std::uint8_t> key)
    {
        std::array<std::uint8_t, BlockSize> padded{};
        if (key.size() > BlockSize) {
            const Digest digest = Sha256(key);
            std::memcpy(padded.data(), digest.data(), digest.size());
        } else if (!key.empty()) {
            std::memcpy(padded.data(), key.data(), key.size());
        }
        std::array<std::uint8_t, BlockSize> pad;
        for (std::size_t i = 0; i < BlockSize; ++i)
            pad[i] = padded[i] ^ 0x36;
        FInner.Update(pad);
        for (std::size_t i = 0; i < BlockSize; ++i)
            pad[i] = padded[i] ^ 0x5C;
        FOuter.Update(pad);
    }

    [[nodiscard]] Digest Of(std::span<const std::uint8_t> message) const
    {
        Hasher inner = FInner;
        inner.Update(message);
        const Digest digest = inner.Finish();
        Hasher outer = FOuter;
        outer.Update(digest);
        return outer.Finish();
    }

private:
    Hasher FInner;
    Hasher FOuter;
};

} // namespace

Digest Sha256(std::span<const std::uint8_t> data)
{
    Hasher hasher;
    hasher.Update(data);
    return hasher.Finish();
}

Digest DeriveKey(std::string_view password, std::span<const std::uint8_t> salt, std::uint32_t rounds)
{
    const Hmac hmac(AsBytes(password));
    std::vector<std::uint8_t> first(salt.begin(), salt.end());
    first.insert(first.end(), {0, 0, 0, 1});
    Digest block = hmac.Of(first);
    Digest key = block;
    for (std::uint32_t round = 1; round < rounds; ++round) {
        block = hmac.Of(block);
        for (std::size_t i = 0; i < key.size(); ++i)
            key[i] ^= block[i];
    }
    return key;
}

PasswordRecord PasswordRecord::Make(WideView password)
{
    PasswordRecord record;
    std::random_device device;
    for (std::size_t i = 0; i < record.salt.size(); i += 4) {
        const std::uint32_t word = device();
        std::memcpy(record.salt.data() + i, &word, sizeof word);
    }
    record.rounds = NewRounds;
    record.hash = DeriveKey(KwToUtf8(password), record.salt, record.rounds);
    return record;
}

bool PasswordRecord::Fits(WideView password) const
{
    const Digest other = DeriveKey(KwToUtf8(password), salt, rounds);
    std::uint8_t difference = 0; // every byte is looked at: the time taken tells nothing
    for (std::size_t i = 0; i < hash.size(); ++i)
        difference = static_cast<std::uint8_t>(difference | (hash[i] ^ other[i]));
    return difference == 0;
}

} // namespace deftmapi::client
