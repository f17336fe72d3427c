// What the MIME tests share: converting a text into an in-memory message, and a check at the end of every test that no
// object and no MAPI buffer is left.
#pragma once

#include "client/formats/MimeReader.hpp"
#include "tests/client/formats/Listing.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace deftmapi::client::mime::test
{

struct TResult
{
    HRESULT Code = S_OK;
    TMimeDamage Damage = 0;
    TMessageState Message; ///< empty after a failure

    [[nodiscard]] TValue Value(ULONG propTag) const
    {
        const auto it = Message.Values.find(propTag);
        return it != Message.Values.end() ? it->second : TValue{-1, 0, {}, {}};
    }
    [[nodiscard]] WideString Text(ULONG propTag) const { return Value(propTag).Text; }
    [[nodiscard]] std::string Bytes(ULONG propTag) const { return Value(propTag).Bytes; }
    [[nodiscard]] LONG Number(ULONG propTag) const { return Value(propTag).Number; }
    /// Of an attachment.
    [[nodiscard]] const TValue& Attached(ULONG propTag, std::size_t number = 0) const
    {
        return Message.Attachments.at(number)->Values.at(propTag);
    }
    [[nodiscard]] bool Has(ULONG propTag) const { return Message.Values.contains(propTag); }
};

class MimeTest : public testing::Test
{
protected:
    MimeTest() : FObjects(LiveObjects()), FBuffers(LiveBuffers())
    {
        // 2024-01-01 00:00:00, so that a message without any date has one that can be told beforehand.
        Options.Now = [] { return std::uint64_t{133'485'408'000'000'000}; };
    }
    ~MimeTest() override
    {
        EXPECT_EQ(LiveObjects(), FObjects);
        EXPECT_EQ(LiveBuffers(), FBuffers);
    }

    /// Reads the stream into a new message and saves that, as a caller does. Faults count the calls of both.
    TResult Convert(TMemoryStream* stream)
    {
        TResult result;
        auto state = std::make_shared<TMessageState>();
        const TKwComPtr<IStream> kept(stream);
        TKwComPtr<TMemoryMessage> message(new TMemoryMessage(Faults, state));
        message->Refused = Refused;
        LastError last;
        result.Code = Guard(last, [&] {
            result.Damage = ReadMime(*stream, *message, Options);
            return message->SaveChanges(0);
        });
        result.Message = *state;
        return result;
    }
    TResult Convert(std::string text) { return Convert(new TMemoryStream(std::move(text), &Faults)); }

    TMimeOptions Options;
    TFaults Faults;
    std::map<ULONG, SCODE> Refused;

private:
    std::size_t FObjects;
    std::size_t FBuffers;
};

[[nodiscard]] inline std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

} // namespace deftmapi::client::mime::test
