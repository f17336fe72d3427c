// Streams over properties: large values in bounded memory, widths of text, when a write counts.
#include "tests/client/StoreFixture.hpp"

#include <cstring>
#include <fstream>

namespace deftmapi::client::test
{
namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool UnderSanitizer = true; // it keeps freed memory for a while
#else
constexpr bool UnderSanitizer = false;
#endif

class StreamTest : public StoreTest
{
protected:
    static HRESULT Write(IStream& stream, std::string_view bytes)
    {
        return stream.Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    }
    /// What is left of a stream that is no longer than this.
    static Bytes ReadAll(IStream& stream, std::size_t most)
    {
        Bytes read(most + 1);
        ULONG count = 0;
        EXPECT_EQ(stream.Read(read.data(), static_cast<ULONG>(read.size()), &count), S_FALSE);
        read.resize(count);
        return read;
    }
    static std::int64_t PeakMemoryKiB()
    {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.rfind("VmHWM:", 0) == 0)
                return std::stoll(line.substr(6));
        }
        return 0;
    }
};

TEST_F(StreamTest, LargeValuesPassThroughInPieces)
{
    constexpr std::size_t Piece = 1 << 20;
    constexpr int Pieces = 64;
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"large");
    const std::int64_t before = PeakMemoryKiB();
    {
        auto stream = OpenStream(*message, tag::AttachDataBin, MAPI_CREATE | MAPI_MODIFY);
        for (int i = 0; i < Pieces; ++i) {
            const Bytes data = Pattern(Piece, static_cast<std::uint32_t>(i));
            ASSERT_EQ(stream->Write(data.data(), Piece, nullptr), S_OK);
        }
    }
    const Bytes id = Save(*message);
    auto again = OpenMessage(id, 0);
    auto stream = OpenStream(*again, tag::AttachDataBin, 0);
    STATSTG stat{};
    ASSERT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, std::uint64_t{Piece} * Pieces);
    Bytes data(Piece);
    for (int i = 0; i < Pieces; ++i) {
        ULONG got = 0;
        ASSERT_EQ(stream->Read(data.data(), Piece, &got), S_OK);
        ASSERT_TRUE(data == Pattern(Piece, static_cast<std::uint32_t>(i))) << i;
    }
    // SQLite keeps up to 32 MB of pages; the value itself is 64 MB.
    if (!UnderSanitizer) {
        EXPECT_LT(PeakMemoryKiB() - before, 40 * 1024);
    }
    LARGE_INTEGER back;
    back.QuadPart = -5;
    ULARGE_INTEGER position;
    ASSERT_EQ(stream->Seek(back, STREAM_SEEK_END, &position), S_OK);
    EXPECT_EQ(position.QuadPart, std::uint64_t{Piece} * Pieces - 5);
    ULONG got = 0;
    EXPECT_EQ(stream->Read(data.data(), 10, &got), S_FALSE);
    EXPECT_EQ(got, 5u);
    EXPECT_EQ(stream->Write(data.data(), 1, nullptr), STG_E_ACCESSDENIED);
    back.QuadPart = -1;
    EXPECT_EQ(stream->Seek(back, STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION);
}

TEST_F(StreamTest, ValuesAroundTheLimitsComeBack)
{
    auto inbox = Inbox();
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{1}, std::size_t{limits::Inline}, std::size_t{limits::Inline} + 1,
          std::size_t{limits::GetProps}, std::size_t{limits::GetProps} + 1, limits::Chunk, limits::Chunk + 1,
          Spool::MemoryLimit, Spool::MemoryLimit + 1})
    {
        auto message = NewMessage(*inbox, u"sizes");
        const Bytes data = Pattern(size);
        Set(*message, {Binary(tag::Html, data)});
        const Bytes id = Save(*message);
        auto again = OpenMessage(id, 0);
        const Got got = Get(*again, tag::Html);
        if (size > limits::GetProps) {
            EXPECT_EQ(got.Error(), MAPI_E_NOT_ENOUGH_MEMORY) << size;
        } else {
            EXPECT_TRUE(got.Blob() == data) << size;
        }
        EXPECT_TRUE(ReadAll(*OpenStream(*again, tag::Html, 0), size) == data) << size;
    }
}

TEST_F(StreamTest, TextStreamsInBothWidths)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"text");
    std::u16string body;
    while (body.size() < 20000)
        body += u"Stra\u00dfe und Gl\u00fcck, ";
    {
        auto stream = OpenStream(*message, tag::Body, MAPI_CREATE | MAPI_MODIFY);
        ASSERT_EQ(stream->Write(body.data(), static_cast<ULONG>(body.size() * 2), nullptr), S_OK);
    }
    const Bytes id = Save(*message);
    message = OpenMessage(id);
    EXPECT_EQ(Get(*message, tag::Body).Error(), MAPI_E_NOT_ENOUGH_MEMORY);
    {
        auto wide = OpenStream(*message, tag::Body, 0);
        std::u16string read(body.size(), u'\0');
        ASSERT_EQ(wide->Read(read.data(), static_cast<ULONG>(read.size() * 2), nullptr), S_OK);
        EXPECT_TRUE(read == body);
        auto narrow = OpenStream(*message, CHANGE_PROP_TYPE(tag::Body, PT_STRING8), 0);
        std::string start(6, '\0');
        ASSERT_EQ(narrow->Read(start.data(), 6, nullptr), S_OK);
        EXPECT_EQ(start, "Stra\xdf"
                         "e");
    }
    {
        auto narrow = OpenStream(*message, CHANGE_PROP_TYPE(tag::Body, PT_STRING8), MAPI_CREATE | MAPI_MODIFY);
        ASSERT_EQ(Write(*narrow, "kurz \xfc"), S_OK);
        ASSERT_EQ(narrow->Commit(STGC_DEFAULT), S_OK);
        EXPECT_EQ(Get(*message, tag::Body).Wide(), u"kurz \u00fc");
        ASSERT_EQ(Write(*narrow, "!"), S_OK);
    }
    EXPECT_EQ(Get(*message, tag::Body).Wide(), u"kurz \u00fc!"); // the release counts as a commit
    Save(*message);
    EXPECT_EQ(Get(*OpenMessage(id, 0), tag::Body).Wide(), u"kurz \u00fc!");
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM chunks"), 0) << "the old body was dropped";
}

TEST_F(StreamTest, WritesAreNotOnDiskBeforeTheMessageIsSaved)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"draft");
    const Bytes old = Pattern(50000);
    Set(*message, {Binary(tag::Html, old)});
    const Bytes id = Save(*message);
    auto stream = OpenStream(*message, tag::Html, MAPI_MODIFY);
    LARGE_INTEGER at;
    at.QuadPart = 100;
    ASSERT_EQ(stream->Seek(at, STREAM_SEEK_SET, nullptr), S_OK);
    ASSERT_EQ(Write(*stream, "xyz"), S_OK);
    ULARGE_INTEGER size;
    size.QuadPart = 60000;
    ASSERT_EQ(stream->SetSize(size), S_OK);
    const auto saved = [&] { return ReadAll(*OpenStream(*OpenMessage(id, 0), tag::Html, 0), 60000); };
    EXPECT_TRUE(saved() == old);
    Save(*message);
    // The stream outlives the save, and what it writes then belongs to the next one.
    ASSERT_EQ(Write(*stream, "after"), S_OK);
    Save(*message);
    const Bytes read = saved();
    ASSERT_EQ(read.size(), 60000u);
    EXPECT_EQ(std::memcmp(read.data() + 100, "xyzafter", 8), 0);
    EXPECT_EQ(read[99], old[99]);
    EXPECT_EQ(read[59999], 0);
}

TEST_F(StreamTest, FoldersAndStoresTakeWhatWasWrittenAtTheCommit)
{
    constexpr ULONG Tag = 0x66010102;
    const auto inbox = Inbox();
    const Bytes old = Pattern(20000);
    const Bytes fresh = Pattern(20000, 2);
    for (IMAPIProp* object : {static_cast<IMAPIProp*>(inbox.Get()), static_cast<IMAPIProp*>(FStore.Get())}) {
        Set(*object, {Binary(Tag, old)});
        {
            auto stream = OpenStream(*object, Tag, MAPI_CREATE | MAPI_MODIFY);
            EXPECT_TRUE(Get(*object, Tag).Blob() == old);
            ASSERT_EQ(stream->Write(fresh.data(), 20000, nullptr), S_OK);
            EXPECT_TRUE(Get(*object, Tag).Blob() == old);
            ASSERT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
            EXPECT_TRUE(Get(*object, Tag).Blob() == fresh);
            ASSERT_EQ(Write(*stream, "!"), S_OK);
            EXPECT_TRUE(Get(*object, Tag).Blob() == fresh);
        }
        EXPECT_EQ(Get(*object, Tag).Blob().size(), 20001u); // the release counts as a commit
        OpenStream(*object, Tag, MAPI_CREATE | MAPI_MODIFY);
        EXPECT_TRUE(Get(*object, Tag).Blob().empty() && !Get(*object, Tag).IsError());
    }
}

TEST_F(StreamTest, WhatIsNotCommittedCanBeReverted)
{
    constexpr ULONG Value = 0x66020102;
    auto inbox = Inbox();
    Set(*inbox, {Binary(Value, {1, 2})});
    for (const ULONG flags : {MAPI_MODIFY, MAPI_CREATE | MAPI_MODIFY}) {
        auto stream = OpenStream(*inbox, Value, flags);
        EXPECT_EQ(stream->Revert(), S_OK);
        EXPECT_EQ(Write(*stream, "xyz"), S_OK);
        EXPECT_EQ(stream->Revert(), S_OK);
        stream.Reset();
        EXPECT_EQ(Get(*inbox, Value).Blob(), (Bytes{1, 2}));
    }
    auto stream = OpenStream(*inbox, Value, MAPI_MODIFY);
    EXPECT_EQ(Write(*stream, "x"), S_OK);
    EXPECT_EQ(stream->Revert(), S_OK);
    EXPECT_EQ(Write(*stream, "yz"), S_OK); // the position stays
    EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
    stream.Reset();
    EXPECT_EQ(Get(*inbox, Value).Blob(), (Bytes{1, 'y', 'z'}));
    // A message has it at once.
    auto message = NewMessage(*inbox, u"direct");
    stream = OpenStream(*message, Value, MAPI_CREATE | MAPI_MODIFY);
    EXPECT_EQ(Write(*stream, "x"), S_OK);
    EXPECT_EQ(stream->Revert(), STG_E_INVALIDFUNCTION);
}

TEST_F(StreamTest, HtmlConvertsBetweenItsTwoForms)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"html");
    const std::string utf8 = "<p>\xc3\xa4</p>";
    Set(*message, {Binary(tag::Html, Bytes(utf8.begin(), utf8.end())), Long(tag::InternetCodePage, 65001)});
    EXPECT_EQ(Get(*message, CHANGE_PROP_TYPE(tag::Html, PT_UNICODE)).Wide(), u"<p>\u00e4</p>");
    Set(*message, {Long(tag::InternetCodePage, 1252), Text(CHANGE_PROP_TYPE(tag::Html, PT_UNICODE), u"<p>\u00e4</p>")});
    const Bytes binary = Get(*message, tag::Html).Blob();
    EXPECT_EQ(std::string(binary.begin(), binary.end()), "<p>\xe4</p>");
}

} // namespace
} // namespace deftmapi::client::test
