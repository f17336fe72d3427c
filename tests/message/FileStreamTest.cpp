// Files as streams, and the code page that HTML names.
#include "mapi/message/FileStream.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/message/HtmlCodePage.hpp"
#include "tests/core/Caught.hpp"
#include "tests/support/ScriptedProp.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TFileStreamTest : public ::testing::Test
{
protected:
    TFileStreamTest() { Stream = TMAPIFileStream::Open(Path.u16string()); }

    [[nodiscard]] std::string Read(mapi::ULONG count, mapi::HRESULT expected = mapi::S_OK)
    {
        std::string text(count, '?');
        mapi::ULONG read = 99;
        EXPECT_EQ(Stream->Read(text.data(), count, &read), expected);
        return text.substr(0, read);
    }
    mapi::HRESULT Seek(std::int64_t move, mapi::DWORD origin)
    {
        mapi::LARGE_INTEGER distance{};
        distance.QuadPart = move;
        return Stream->Seek(distance, origin, &Position);
    }

    const TemporaryFolder Folder;
    const std::filesystem::path Path = Folder.Write("ä.eml", "0123456789");
    TKwComPtr<TMAPIFileStream> Stream;
    mapi::ULARGE_INTEGER Position{};
};

TEST_F(TFileStreamTest, ReadsAndSeeks)
{
    EXPECT_TRUE(Stream->StartsWith("0123"));
    EXPECT_FALSE(Stream->StartsWith("01234567890"));
    EXPECT_EQ(Read(4), "0123");
    EXPECT_EQ(Read(20, mapi::S_FALSE), "456789");
    EXPECT_EQ(Read(1, mapi::S_FALSE), "");
    EXPECT_EQ(Seek(-3, 2), mapi::S_OK);
    EXPECT_EQ(Position.QuadPart, 7u);
    EXPECT_EQ(Read(1), "7");
    EXPECT_EQ(Seek(-2, 1), mapi::S_OK);
    EXPECT_EQ(Read(1), "6");
    EXPECT_TRUE(Stream->StartsWith("01"));
    EXPECT_EQ(Read(1), "7"); // looking at the beginning does not move
    EXPECT_EQ(Seek(1000, 0), mapi::S_OK);
    EXPECT_EQ(Read(1, mapi::S_FALSE), "");
    EXPECT_EQ(Seek(-1, 0), mapi::STG_E_INVALIDFUNCTION);
    EXPECT_EQ(Seek(0, 3), mapi::STG_E_INVALIDFUNCTION);
    EXPECT_EQ(Seek(INT64_MAX, 1), mapi::STG_E_INVALIDFUNCTION);
    EXPECT_EQ(Seek(INT64_MIN, 1), mapi::STG_E_INVALIDFUNCTION);
    EXPECT_EQ(Stream->Read(nullptr, 1, nullptr), mapi::STG_E_INVALIDPOINTER);
}

TEST_F(TFileStreamTest, CopiesAndClones)
{
    std::string copied;
    const auto calls = std::make_shared<TScriptedCalls>();
    {
        const TKwComPtr<TScriptedStream> target(
            new TScriptedStream(calls, "", [&](const std::string& bytes) { copied = bytes; }));
        mapi::ULARGE_INTEGER count{};
        mapi::ULARGE_INTEGER read{};
        mapi::ULARGE_INTEGER written{};
        static_cast<void>(Read(2));
        TKwComPtr<mapi::IStream> clone;
        ASSERT_EQ(Stream->Clone(Out(clone)), mapi::S_OK);
        count.QuadPart = 100;
        EXPECT_EQ(clone->CopyTo(target.Get(), count, &read, &written), mapi::S_OK);
        EXPECT_EQ(read.QuadPart, 8u);
        EXPECT_EQ(written.QuadPart, 8u);
        EXPECT_EQ(Read(1), "2");
        calls->Next("Write", mapi::STG_E_MEDIUMFULL);
        EXPECT_EQ(Stream->CopyTo(target.Get(), count, nullptr, nullptr), mapi::STG_E_MEDIUMFULL);
    }
    EXPECT_EQ(copied, "23456789");
    mapi::STATSTG stat{};
    EXPECT_EQ(Stream->Stat(&stat, 0), mapi::S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, 10u);
}

TEST_F(TFileStreamTest, RefusesToBeChanged)
{
    mapi::ULONG written = 5;
    EXPECT_EQ(Stream->Write("x", 1, &written), mapi::STG_E_ACCESSDENIED);
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(Stream->SetSize({}), mapi::STG_E_ACCESSDENIED);
    TKwComPtr<mapi::IStorage> storage;
    EXPECT_EQ(Stream->QueryInterface(mapi::IID_IStorage, OutVoid(storage)), mapi::E_NOINTERFACE);
    TKwComPtr<mapi::IStream> stream;
    EXPECT_EQ(Stream->QueryInterface(mapi::IID_IStream, OutVoid(stream)), mapi::S_OK);
}

TEST(THtmlCodePageTest, WhatHtmlNames)
{
    const std::pair<std::string_view, unsigned> pages[] = {
        {"<meta charset=\"utf-8\">", 65001},
        {"<META HTTP-EQUIV=Content-Type CONTENT='text/html; Charset=windows-1251'>", 1251},
        {"<meta content=\"charset=iso-8859-1;x\">", 28591},
        {"charset of nothing, then <meta charset = utf-8 >", 65001},
        {"<meta charset=x-unknown><meta charset=utf-8>", 65001},
        {"<meta charset=", 0},
        {"charset", 0},
        {"\xEF\xBB\xBF<meta charset=windows-1251>", 65001},
        {"", 0}};
    for (const auto& [html, codePage] : pages)
        EXPECT_EQ(KwHtmlCodePage(html), codePage) << html;
    EXPECT_EQ(KwHtmlCodePage(std::string(1024, ' ') + "<meta charset=utf-8>"), 0u);
    EXPECT_EQ(KwDecodeHtml(std::string_view("\xFF\xFE\x41\x00\xE4\x00", 6), 1251), u"Aä");
}

} // namespace
} // namespace deftmapi::test
