// The reader on the client's own store: what was read is there after saving and opening again, property by property,
// and a refused text leaves nothing.
#include "client/formats/ClassObjects.hpp"
#include "client/formats/MimeTags.hpp"
#include "tests/client/formats/MimeFixture.hpp"
#include "tests/client/StoreFixture.hpp"

#include <filesystem>

namespace deftmapi::client::test
{

namespace
{

using mime::test::TMessageState;
using mime::test::TValue;
using mime::test::TValues;

/// One value of an opened object, read through a stream where GetProps does not give it.
TValue StoredValue(mapi::IMAPIProp& object, ULONG propTag)
{
    const Got got = Get(object, propTag);
    if (!got.IsError())
        return mime::test::CopyValues(1, got.value.Get())[propTag];
    EXPECT_EQ(got.Error(), mapi::MAPI_E_NOT_ENOUGH_MEMORY) << std::hex << propTag;
    TValue value;
    const auto stream = OpenStream(object, propTag, 0);
    std::string bytes(1 << 20, '\0');
    ULONG size = 0;
    EXPECT_GE(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &size), 0);
    bytes.resize(size);
    if (mapi::PROP_TYPE(propTag) == mapi::PT_BINARY)
        value.Bytes = bytes;
    for (std::size_t i = 0; mapi::PROP_TYPE(propTag) == mapi::PT_UNICODE && i + 1 < bytes.size(); i += 2)
        value.Text.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                                   (static_cast<unsigned char>(bytes[i + 1]) << 8)));
    return value;
}

void CompareValues(mapi::IMAPIProp& object, const TValues& expected, const std::string& where)
{
    for (const auto& [propTag, value] : expected) {
        TValue stored = StoredValue(object, propTag);
        if (propTag == mime::tag::MessageFlags)
            stored.Number &= ~mapi::LONG{mapi::MSGFLAG_HASATTACH}; // the store adds it
        EXPECT_TRUE(stored.Number == value.Number && stored.Time == value.Time && stored.Text == value.Text &&
                    stored.Bytes == value.Bytes)
            << where << ' ' << std::hex << propTag;
    }
}

void CompareMessages(mapi::IMessage& message, const TMessageState& expected, const std::string& where)
{
    CompareValues(message, expected.Values, where);

    Ptr<mapi::IMAPITable> recipients;
    ASSERT_EQ(message.GetRecipientTable(mapi::MAPI_UNICODE, Out(recipients)), mapi::S_OK);
    const auto rows = Rows(*recipients, {mime::tag::DisplayName, mime::tag::EmailAddress, mime::tag::RecipientType});
    ASSERT_EQ(rows.size(), expected.Recipients.size()) << where;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(WideAt(rows[i], 0), expected.Recipients[i].at(mime::tag::DisplayName).Text) << where;
        EXPECT_EQ(WideAt(rows[i], 1), expected.Recipients[i].at(mime::tag::EmailAddress).Text) << where;
        EXPECT_EQ(NumberAt(rows[i], 2), expected.Recipients[i].at(mime::tag::RecipientType).Number) << where;
    }

    Ptr<mapi::IMAPITable> attachments;
    ASSERT_EQ(message.GetAttachmentTable(mapi::MAPI_UNICODE, Out(attachments)), mapi::S_OK);
    const auto numbers = Rows(*attachments, {tag::AttachNum});
    ASSERT_EQ(numbers.size(), expected.Attachments.size()) << where;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::string inner = where + " attachment " + std::to_string(i);
        Ptr<mapi::IAttach> attach;
        ASSERT_EQ(message.OpenAttach(static_cast<ULONG>(NumberAt(numbers[i], 0)), nullptr, 0, Out(attach)), mapi::S_OK)
            << inner;
        CompareValues(*attach, expected.Attachments[i]->Values, inner);
        if (!expected.Attachments[i]->Message)
            continue;
        Ptr<mapi::IUnknown> opened;
        Ptr<mapi::IMessage> embedded;
        ASSERT_EQ(attach->OpenProperty(mime::tag::AttachDataObj, &mapi::IID_IMessage, 0, 0, Out(opened)), mapi::S_OK)
            << inner;
        ASSERT_EQ(opened->QueryInterface(mapi::IID_IMessage, OutVoid(embedded)), mapi::S_OK);
        CompareMessages(*embedded, *expected.Attachments[i]->Message, inner);
    }
}

class MimeStore : public StoreTest
{
protected:
    static Ptr<mapi::IConverterSession> Converter()
    {
        Ptr<mapi::IClassFactory> factory;
        Ptr<mapi::IConverterSession> converter;
        EXPECT_EQ(CreateClassObject(mapi::CLSID_IConverterSession, mapi::IID_IClassFactory, OutVoid(factory)),
                  mapi::S_OK);
        EXPECT_EQ(factory->CreateInstance(nullptr, mapi::IID_IConverterSession, OutVoid(converter)), mapi::S_OK);
        return converter;
    }
    static Ptr<mapi::IStream> StreamOf(const std::string& text)
    {
        return Ptr<mapi::IStream>(new mime::test::TMemoryStream(text));
    }

    /// Reads into a new message of the Inbox; saves it when that went well.
    mapi::HRESULT Import(const std::string& text, Bytes* id = nullptr)
    {
        Ptr<mapi::IMessage> message;
        EXPECT_EQ(Inbox()->CreateMessage(nullptr, 0, Out(message)), mapi::S_OK);
        const auto hr = Converter()->MIMEToMAPI(StreamOf(text).Get(), message.Get(), nullptr, mapi::CCSF_SMTP);
        if (hr == mapi::S_OK && id != nullptr)
            *id = Save(*message);
        return hr;
    }
};

} // namespace

TEST_F(MimeStore, WhatWasReadIsThereAfterReopening)
{
    const std::string folder = std::string(DEFTMAPI_SOURCE_DIR) + "/examples/messages";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".eml")
            continue;
        const std::string text = mime::test::ReadFile(entry.path().string());
        Bytes id;
        ASSERT_EQ(Import(text, &id), mapi::S_OK) << entry.path();

        // The same text in memory says what must be there.
        mime::test::TFaults faults;
        auto expected = std::make_shared<TMessageState>();
        const Ptr<mapi::IMessage> memory(new mime::test::TMemoryMessage(faults, expected));
        ASSERT_EQ(Converter()->MIMEToMAPI(StreamOf(text).Get(), memory.Get(), nullptr, 0), mapi::S_OK);
        ASSERT_EQ(memory->SaveChanges(0), mapi::S_OK);
        if (text.find("\nDate:") == std::string::npos && !text.starts_with("Date:"))
            expected->Values.erase(mime::tag::MessageDeliveryTime); // the clock went on
        CompareMessages(*OpenMessage(id, 0), *expected, entry.path().filename().string());
    }
}

TEST_F(MimeStore, LargePartsAreStored)
{
    std::string body;
    for (int i = 0; i < 5000; ++i)
        body += "line " + std::to_string(i) + "\r\n";
    const std::string text = "Subject: large\r\nContent-Type: multipart/mixed; boundary=x\r\n\r\n--x\r\n\r\n" + body +
                             "\r\n--x\r\nContent-Type: application/octet-stream\r\n\r\n" + body + body +
                             "\r\n--x--\r\n";
    Bytes id;
    ASSERT_EQ(Import(text, &id), mapi::S_OK);
    const auto message = OpenMessage(id, 0);
    EXPECT_EQ(KwToUtf8(StoredValue(*message, mime::tag::Body).Text), body);
    Ptr<mapi::IAttach> attach;
    ASSERT_EQ(message->OpenAttach(0, nullptr, 0, Out(attach)), mapi::S_OK);
    EXPECT_EQ(StoredValue(*attach, mime::tag::AttachDataBin).Bytes, body + body);
}

TEST_F(MimeStore, StoreComputesWhatDependsOnTheParts)
{
    Bytes id;
    ASSERT_EQ(
        Import(mime::test::ReadFile(std::string(DEFTMAPI_SOURCE_DIR) + "/examples/messages/mixed-attachments.eml"),
               &id),
        mapi::S_OK);
    const auto message = OpenMessage(id, 0);
    EXPECT_TRUE(Get(*message, tag::HasAttach).Flag());
    EXPECT_EQ(Get(*message, tag::DisplayTo).Wide(), u"Lena Berg");
    EXPECT_EQ(Get(*message, tag::MessageFlags).Number() & mapi::LONG{mapi::MSGFLAG_UNSENT}, 0)
        << "must not open as a draft";
}

TEST_F(MimeStore, RefusedTextsLeaveNothing)
{
    EXPECT_EQ(Import("no message at all"), mapi::MAPI_E_CORRUPT_DATA);
    Ptr<mapi::IMAPITable> contents;
    ASSERT_EQ(Inbox()->GetContentsTable(0, Out(contents)), mapi::S_OK);
    ULONG count = 99;
    ASSERT_EQ(contents->GetRowCount(0, &count), mapi::S_OK);
    EXPECT_EQ(count, 0u);
}

} // namespace deftmapi::client::test
