// Entry identifiers in all their forms.
#include "mapi/core/HexDigits.hpp"
#include "mapi/core/uKwMAPIEntryID.hpp"
#include "tests/core/Caught.hpp"
#include "tests/support/ScriptedMAPI.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>

namespace
{

using namespace deftmapi;
using deftmapi::test::Catch;
using deftmapi::test::TCaught;

TKwBytes SomeBytes(std::size_t count)
{
    TKwBytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 37 + 5);
    return bytes;
}

std::string Hex(const TKwBytes& bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", byte);
        text += digits;
    }
    return text;
}

TEST(EntryIDTest, TextFormHasTwoUpperCaseDigitsPerByte)
{
    const TKwMAPIEntryID id = TKwBytes{0, 0, 0, 0, 0xDC, 0xA7, 0x40, 0xC8};
    EXPECT_EQ(EntryIDToStrA(id), "00000000DCA740C8");
    EXPECT_EQ(EntryIDToStr(id), u"00000000DCA740C8");
    for (const TKwMAPIEntryID& empty : {TKwMAPIEntryID(), TKwMAPIEntryID(TKwNull{}), TKwMAPIEntryID(TKwBytes())}) {
        EXPECT_EQ(EntryIDToStrW(empty), u"");
        EXPECT_EQ(EntryIDToStrA(empty), "");
    }
    EXPECT_EQ(Catch([] { (void)EntryIDToStrW(TKwVariant(1.5)); }).ClassName, "EKwConvertError");
}

TEST(EntryIDTest, EveryLengthGoesToTextAndBack)
{
    for (std::size_t count = 1; count <= 100; ++count) {
        const TKwBytes bytes = SomeBytes(count);
        const std::string text = Hex(bytes);
        EXPECT_EQ(EntryIDToStrA(bytes), text);
        EXPECT_EQ(EntryIDToStrW(bytes), KwFromUtf8(text));
        EXPECT_EQ(*StrToEntryID(text).TryGet<TKwBytes>(), bytes);
        EXPECT_EQ(*StrToEntryID(KwFromUtf8(text)).TryGet<TKwBytes>(), bytes);
        std::string lower = text;
        std::ranges::transform(lower, lower.begin(), [](char c) { return static_cast<char>(std::tolower(c)); });
        EXPECT_EQ(*StrToEntryID(KwFromUtf8(lower)).TryGet<TKwBytes>(), bytes);
    }
}

TEST(EntryIDTest, EveryCharacterIsADigitOrRefusedWhereverItStands)
{
    // One pair is read by table, twenty in blocks with an overlapping last one: every character in every place of both.
    for (const std::size_t pairs : {std::size_t{1}, std::size_t{20}}) {
        WideString text(pairs * 2, u'7');
        for (std::size_t place = 0; place < text.size(); ++place) {
            for (std::uint32_t c = 0; c <= 0xFFFF; ++c) {
                text[place] = static_cast<char16_t>(c);
                TKwBytes bytes(pairs);
                const bool digit = c < 0x80 && std::isxdigit(static_cast<int>(c));
                ASSERT_EQ(KwReadHex(text.data(), pairs, bytes.data()), digit) << pairs << ' ' << place << ' ' << c;
                if (c > 0xFF)
                    continue;
                std::string narrow;
                std::ranges::transform(text, std::back_inserter(narrow),
                                       [](char16_t u) { return static_cast<char>(u); });
                ASSERT_EQ(KwReadHex(narrow.data(), pairs, bytes.data()), digit) << pairs << ' ' << place << ' ' << c;
            }
            text[place] = u'7';
        }
    }
}

TEST(EntryIDTest, ParserTrimsAndIgnoresATrailingOddCharacter)
{
    EXPECT_EQ(EntryIDToStrW(StrToEntryID(u"  0a0B  ")), u"0A0B");
    EXPECT_EQ(EntryIDToStrA(StrToEntryID("\t\r\n 0a0B \x01")), "0A0B");
    EXPECT_EQ(*StrToEntryID(u"ABC").TryGet<TKwBytes>(), TKwBytes{0xAB});
    EXPECT_EQ(*StrToEntryID("ABG").TryGet<TKwBytes>(), TKwBytes{0xAB});
    // One character of two bytes in UTF-8 is one odd character, as it is in its wide form.
    EXPECT_EQ(*StrToEntryID(u"ABé").TryGet<TKwBytes>(), TKwBytes{0xAB});
    EXPECT_EQ(*StrToEntryID("AB\xE9").TryGet<TKwBytes>(), TKwBytes{0xAB});
    for (const WideView blank : {u"", u"    ", u"\t\n"})
        EXPECT_TRUE(StrToEntryID(blank).IsNull());
    EXPECT_TRUE(StrToEntryID("  ").IsNull());
    const TKwMAPIEntryID single = StrToEntryID(u"A");
    ASSERT_TRUE(single.IsBytes());
    EXPECT_TRUE(single.TryGet<TKwBytes>()->empty());
}

TEST(EntryIDTest, PairsThatAreNoNumberFail)
{
    const auto failure = [](const char* pair, const char* position) {
        return TCaught{"EKwConvertError",
                       std::string("'$") + pair + "' is not a valid integer value (position " + position +
                           " in the text of an entry identifier)",
                       0x80070057, false};
    };
    EXPECT_EQ(Catch([] { (void)StrToEntryID(u"0G"); }), failure("0G", "1"));
    EXPECT_EQ(Catch([] { (void)StrToEntryID("0G"); }), failure("0G", "1"));
    EXPECT_EQ(Catch([] { (void)StrToEntryID(u"00 A00"); }), failure(" A", "3"));
    for (const char* pair : {"+A", "-A", "$A", "x1", "0x", "A "})
        EXPECT_EQ(Catch([&] { (void)StrToEntryID(std::string(40, 'F') + pair + "00"); }), failure(pair, "41"));
    EXPECT_EQ(Catch([] { (void)StrToEntryID("AB\xE9\xE9"); }).ClassName, "EKwConvertError");
}

TEST(EntryIDTest, ArraysBuffersAndStreams)
{
    const TKwBytes bytes = SomeBytes(46);
    const TKwMAPIEntryID id = ArrToEntryID(bytes);
    EXPECT_EQ(EntryIDToArr(id), bytes);
    EXPECT_TRUE(EntryIDToArr(TKwNull{}).empty());
    EXPECT_TRUE(ArrToEntryID({}).IsBytes());

    EXPECT_EQ(BinToEntryID(46, bytes.data()), id);
    EXPECT_TRUE(BinToEntryID(0, bytes.data()).IsNull());
    EXPECT_TRUE(BinToEntryID(-1, nullptr).IsNull());

    const auto stream = EntryIDToBin(id);
    const std::string content(std::istreambuf_iterator<char>(*stream), {});
    EXPECT_EQ(content, std::string(bytes.begin(), bytes.end()));
    EXPECT_EQ(EntryIDToBin(TKwNull{})->str(), "");
}

TEST(EntryIDTest, OnlySixteenBytesMakeAUID)
{
    const TKwBytes bytes = SomeBytes(16);
    const mapi::MAPIUID uid = EntryIDToUID(bytes);
    EXPECT_TRUE(std::ranges::equal(uid.ab, bytes));
    for (const TKwMAPIEntryID& id :
         {TKwMAPIEntryID(SomeBytes(15)), TKwMAPIEntryID(SomeBytes(17)), TKwMAPIEntryID(TKwNull{})})
        EXPECT_EQ(
            Catch([&] { (void)EntryIDToUID(id); }),
            (TCaught{"EMAPI_INVALID_PARAMETER",
                     "The size of the specified EntryID does not match the size of a TMAPIUID!", 0x80070057, false}));
}

TEST(EntryIDTest, MAPIMemoryComesFromTheSession)
{
    const auto calls = std::make_shared<test::TScriptedCalls>();
    const TKwRef<test::TScriptedSession> session = KwMake<test::TScriptedSession>(calls);
    const TKwBytes bytes = SomeBytes(70);
    mapi::ULONG size = 0;
    void* buffer = _GetMAPIEntryID(session.Get(), bytes, size);
    EXPECT_EQ(size, 70u);
    EXPECT_EQ(std::memcmp(buffer, bytes.data(), 70), 0);
    session->FreeBuffer(buffer);
    session->FreeBuffer(_GetMAPIEntryID(session.Get(), bytes));
    EXPECT_EQ(calls->Take(), "AllocateBuffer(70)\nAllocateBuffer(70)");
    EXPECT_EQ(test::TScriptedAllocator::Live(), 0u);

    const TCaught refused{"EKwAssertionFailed", "Empty EntryID values are not allowed! (uKwMAPIBase)", 0x8000FFFF,
                          false};
    EXPECT_EQ(Catch([&] { (void)_GetMAPIEntryID(nullptr, bytes, size); }), refused);
    for (const TKwMAPIEntryID& id :
         {TKwMAPIEntryID(), TKwMAPIEntryID(TKwNull{}), TKwMAPIEntryID(TKwBytes()), TKwMAPIEntryID(u"AB")})
        EXPECT_EQ(Catch([&] { (void)_GetMAPIEntryID(session.Get(), id, size); }), refused);
    EXPECT_EQ(size, 70u) << "a failure leaves the size alone";
}

} // namespace
