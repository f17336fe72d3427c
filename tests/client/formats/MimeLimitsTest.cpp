// Every limit at its value and one past it, and texts that were made to exhaust a reader.
#include "client/formats/MimeTags.hpp"
#include "tests/client/formats/MimeFixture.hpp"

#include <sys/resource.h>

#include <cstring>

namespace deftmapi::client::mime::test
{

namespace
{

/// Multiparts around one text; with the message itself `levels` levels.
std::string Nested(std::size_t levels)
{
    std::string head = "Subject: deep\n";
    std::string tail;
    for (std::size_t i = 1; i < levels; ++i) {
        const std::string boundary = "b" + std::to_string(i);
        head += "Content-Type: multipart/mixed; boundary=" + boundary + "\n\n--" + boundary + "\n";
        tail = "\n--" + boundary + "--\n" + tail;
    }
    return head + "Content-Type: text/plain\n\nthe bottom" + tail;
}

std::string WithParts(std::size_t count, const std::string& part)
{
    std::string text = "Content-Type: multipart/mixed; boundary=x\n\n";
    for (std::size_t i = 0; i < count; ++i)
        text += "--x\n" + part + "\n";
    return text + "--x--\n";
}

const std::string attachedPart = "Content-Type: application/octet-stream\n\ndata";

/// A message with one base64 attachment that is made up while it is read.
class TGeneratedStream final : public TStreamDouble
{
public:
    explicit TGeneratedStream(std::uint64_t lines) : FSize(FHead.size() + lines * FLine.size()) {}

    HRESULT DEFTMAPI_STDCALL Read(void* pv, ULONG cb, ULONG* pcbRead) noexcept override
    {
        auto* out = static_cast<char*>(pv);
        ULONG got = 0;
        while (got < cb && FPosition < FSize) {
            const bool head = FPosition < FHead.size();
            const std::string& from = head ? FHead : FLine;
            const std::size_t at = head ? FPosition : (FPosition - FHead.size()) % FLine.size();
            const std::size_t size = std::min<std::size_t>(cb - got, from.size() - at);
            std::memcpy(out + got, from.data() + at, size);
            got += static_cast<ULONG>(size);
            FPosition += size;
        }
        *pcbRead = got;
        return S_OK;
    }
    HRESULT DEFTMAPI_STDCALL Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) noexcept override
    {
        FPosition = static_cast<std::uint64_t>(move.QuadPart) + (origin == STREAM_SEEK_SET   ? 0
                                                                 : origin == STREAM_SEEK_CUR ? FPosition
                                                                                             : FSize);
        if (position != nullptr)
            position->QuadPart = FPosition;
        return S_OK;
    }

private:
    const std::string FHead =
        "Subject: large\nContent-Type: application/octet-stream\nContent-Transfer-Encoding: base64\n\n";
    const std::string FLine = std::string(76, 'Q') + "\r\n"; // 57 bytes
    std::uint64_t FSize;
    std::uint64_t FPosition = 0;
};

class MimeLimits : public MimeTest
{
protected:
    /// The limit is inclusive: `exact` is read without damage, `past` is read with the rest left out, and refused when
    /// strict.
    void CheckBoth(const std::string& exact, const std::string& past, TMimeDamage damage)
    {
        Options.Strict = true;
        EXPECT_EQ(Convert(exact).Code, S_OK);
        EXPECT_EQ(Convert(past).Code, MAPI_E_CORRUPT_DATA);
        Options.Strict = false;
        const TResult result = Convert(past);
        EXPECT_EQ(result.Code, S_OK);
        EXPECT_EQ(DamageText(result.Damage), DamageText(damage));
    }
};

} // namespace

TEST_F(MimeLimits, Depth)
{
    Options.MaxDepth = 5;
    CheckBoth(Nested(5), Nested(6), mdDepthLimit);
    EXPECT_EQ(Convert(Nested(5)).Text(tag::Body), u"the bottom");
    EXPECT_FALSE(Convert(Nested(6)).Has(tag::Body));

    // An attached message is a level; one in base64 that would be too deep stays a file.
    Options.MaxDepth = 1;
    const std::string encoded =
        "Content-Type: message/rfc822\nContent-Transfer-Encoding: base64\n\nU3ViamVjdDogeAoKeA==\n";
    const TResult result = Convert(encoded);
    ASSERT_EQ(result.Message.Attachments.size(), 1u);
    EXPECT_EQ(result.Attached(tag::AttachDataBin).Bytes, "Subject: x\n\nx");
    EXPECT_EQ(result.Damage, mdDepthLimit);
    Options.MaxDepth = 2;
    EXPECT_NE(Convert(encoded).Message.Attachments[0]->Message, nullptr);
}

TEST_F(MimeLimits, Parts)
{
    Options.MaxParts = 4; // the multipart counts
    CheckBoth(WithParts(3, attachedPart), WithParts(4, attachedPart), mdPartLimit);
    EXPECT_EQ(Convert(WithParts(50, attachedPart)).Message.Attachments.size(), 3u);
}

TEST_F(MimeLimits, HeaderBytes)
{
    const std::string head = "Subject: x\r\n"; // 12 bytes, as "Long: " and the end of its line are 8
    Options.MaxHeaderBytes = 100;
    CheckBoth(head + "Long: " + std::string(80, 'y') + "\r\n\r\n", head + "Long: " + std::string(81, 'y') + "\r\n\r\n",
              mdHeaderLimit);
    const TResult result = Convert(head + "Long: " + std::string(81, 'y') + "\r\n\r\nbody");
    EXPECT_EQ(result.Text(tag::TransportHeaders), u"Subject: x\r\n");
    EXPECT_EQ(result.Text(tag::Body), u"body");
}

TEST_F(MimeLimits, HeaderFields)
{
    Options.MaxHeaderFields = 3;
    CheckBoth("A: 1\nB: 2\nSubject: x\n\n", "A: 1\nB: 2\nC: 3\nSubject: x\n\n", mdHeaderLimit);
}

TEST_F(MimeLimits, Attachments)
{
    Options.MaxAttachments = 3;
    CheckBoth(WithParts(3, attachedPart), WithParts(4, attachedPart), mdAttachmentLimit);
    // Those of attached messages count, too.
    const std::string inner = "Content-Type: message/rfc822\n\nSubject: in\nContent-Type: application/zip\n\nzip";
    EXPECT_EQ(Convert(WithParts(1, inner)).Damage, 0u);
    EXPECT_EQ(Convert(WithParts(2, inner)).Damage, mdAttachmentLimit);
}

TEST_F(MimeLimits, BodyBytes)
{
    Options.MaxBodyBytes = 10;
    for (const std::string type : {"plain", "html"}) {
        const std::string head = "Content-Type: text/" + type + "\n\n";
        CheckBoth(head + std::string(10, 'x'), head + std::string(11, 'x'), mdBodyLimit);
        const TResult result = Convert(head + std::string(11, 'x'));
        EXPECT_FALSE(result.Has(tag::Body) || result.Has(tag::Html));
        ASSERT_EQ(result.Message.Attachments.size(), 1u);
        EXPECT_EQ(result.Attached(tag::AttachDataBin).Bytes, std::string(11, 'x'));
    }
}

// What took steps without end, or the square of its length, would not end within the time that a test may take.
TEST_F(MimeLimits, HostileTextsEnd)
{
    // Deeper than any stack would stand.
    EXPECT_NE(Convert(Nested(10'000)).Damage & mdDepthLimit, 0u);
    const auto repeated = [](const char* text, int times) {
        std::string all;
        while (times-- > 0)
            all += text;
        return all;
    };
    EXPECT_NE(Convert(repeated("Content-Type: message/rfc822\n\n", 10'000)).Damage & mdDepthLimit, 0u);
    // Empty parts, fields, recipients, parameters by the hundred thousand.
    Options.MaxParts = 1000;
    Options.MaxHeaderFields = 1000;
    const std::string parts = "Content-Type: multipart/mixed; boundary=a\n\n" + repeated("--a\n", 100'000);
    EXPECT_NE(Convert(parts).Damage & mdPartLimit, 0u);
    const std::string fields = "Content-Type: text/plain\n" + repeated("A:\n", 100'000);
    EXPECT_NE(Convert(fields + "\nbody").Damage & mdHeaderLimit, 0u);
    std::string parameters = "Content-Type: text/plain";
    for (int i = 0; i < 20'000; ++i)
        parameters += ";\n a" + std::to_string(i) + "*0=x";
    EXPECT_NE(Convert(parameters + "\n\nbody").Damage & mdHeaderLimit, 0u);
    EXPECT_EQ(Convert("To: a@b" + repeated(",\n a@b", 20'000) + "\n\n").Message.Recipients.size(), 20'001u);
}

TEST_F(MimeLimits, LargeAttachmentsAreNotHeldInMemory)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers use memory of their own";
#else
    constexpr std::uint64_t lines = 3'000'000; // 171 MB decoded
    Faults.Discard = true;
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    auto state = std::make_shared<TMessageState>();
    const TKwComPtr<IStream> stream(new TGeneratedStream(lines));
    const TKwComPtr<IMessage> message(new TMemoryMessage(Faults, state));
    ReadMime(*stream, *message, Options);
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_EQ(Faults.Discarded, lines * 57);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 32 * 1024) << "kilobytes";
#endif
}

} // namespace deftmapi::client::mime::test
