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

using namespace mapi;

using mime::test::TMessageState;
using mime::test::TValue;
using mime::test::TValues;

/// One value of an opened object, read through a stream where GetProps does not give it.
TValue StoredValue(IMAPIProp& object, ULONG propTag)
{
    const Got got = Get(object, propTag);
    if (!got.IsError())
        return mime::test::CopyValues(1, got.value.Get())[propTag];
    EXPECT_EQ(got.Error(), MAPI_E_NOT_ENOUGH_MEMORY) << std::hex << propTag;
    const auto stream = OpenStream(object, propTag, 0);
    std::string bytes(1 << 20, '\0');
    ULONG size = 0;
    EXPECT_GE(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &size), 0);
    bytes.resize(size);
    return mime::test::StreamedValue(propTag, bytes);
}

void CompareValues(IMAPIProp& object, const TValues& expected, const std::string& where)
{
    for (const auto& [propTag, value] : expected) {
        TValue stored = StoredValue(object, propTag);
        if (propTag == mime::tag::MessageFlags)
            stored.Number &= ~LONG{MSGFLAG_HASATTACH}; // the store adds it
        EXPECT_TRUE(stored.Number == value.Number && stored.Time == value.Time && stored.Text == value.Text &&
                    stored.Bytes == value.Bytes)
            << where << ' ' << std::hex << propTag;
    }
}

void CompareMessages(IMessage& message, const TMessageState& expected, const std::string& where)
{
    CompareValues(message, expected.Values, where);

    Ptr<IMAPITable> recipients;
    ASSERT_EQ(message.GetRecipientTable(MAPI_UNICODE, Out(recipients)), S_OK);
    const auto rows = Rows(*recipients, {mime::tag::DisplayName, mime::tag::EmailAddress, mime::tag::RecipientType});
    ASSERT_EQ(rows.size(), expected.Recipients.size()) << where;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(WideAt(rows[i], 0), expected.Recipients[i].at(mime::tag::DisplayName).Text) << where;
        EXPECT_EQ(WideAt(rows[i], 1), expected.Recipients[i].at(mime::tag::EmailAddress).Text) << where;
        EXPECT_EQ(NumberAt(rows[i], 2), expected.Recipients[i].at(mime::tag::RecipientType).Number) << where;
    }

    Ptr<IMAPITable> attachments;
    ASSERT_EQ(message.GetAttachmentTable(MAPI_UNICODE, Out(attachments)), S_OK);
    const auto numbers = Rows(*attachments, {tag::AttachNum});
    ASSERT_EQ(numbers.size(), expected.Attachments.size()) << where;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::string inner = where + " attachment " + std::to_string(i);
        Ptr<IAttach> attach;
        ASSERT_EQ(message.OpenAttach(static_cast<ULONG>(NumberAt(numbers[i], 0)), nullptr, 0, Out(attach)), S_OK)
            << inner;
        CompareValues(*attach, expected.Attachments[i]->Values, inner);
        if (!expected.Attachments[i]->Message)
            continue;
        Ptr<IUnknown> opened;
        Ptr<IMessage> embedded;
        ASSERT_EQ(attach->OpenProperty(mime::tag::AttachDataObj, &IID_IMessage, 0, 0, Out(opened)), S_OK) << inner;
        ASSERT_EQ(opened->QueryInterface(IID_IMessage, OutVoid(embedded)), S_OK);
        CompareMessages(*embedded, *expected.Attachments[i]->Message, inner);
    }
}

class MimeStore : public StoreTest
{
protected:
    static Ptr<IConverterSession> Converter()
    {
        Ptr<IClassFactory> factory;
        Ptr<IConverterSession> converter;
        EXPECT_EQ(CreateClassObject(CLSID_IConverterSession, IID_IClassFactory, OutVoid(factory)), S_OK);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IConverterSession, OutVoid(converter)), S_OK);
        return converter;
    }
    static Ptr<IStream> StreamOf(const std::string& text) { return Ptr<IStream>(new mime::test::TMemoryStream(text)); }

    /// Reads into a new message of the Inbox; saves it when that went well.
    HRESULT Import(const std::string& text, Bytes* id = nullptr)
    {
        auto message = EmptyMessage(*Inbox());
        const auto hr = Converter()->MIMEToMAPI(StreamOf(text).Get(), message.Get(), nullptr, CCSF_SMTP);
        if (hr == S_OK && id != nullptr)
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
        ASSERT_EQ(Import(text, &id), S_OK) << entry.path();

        // The same text in memory says what must be there.
        mime::test::TFaults faults;
        auto expected = std::make_shared<TMessageState>();
        const Ptr<IMessage> memory(new mime::test::TMemoryMessage(faults, expected));
        ASSERT_EQ(Converter()->MIMEToMAPI(StreamOf(text).Get(), memory.Get(), nullptr, 0), S_OK);
        ASSERT_EQ(memory->SaveChanges(0), S_OK);
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
    ASSERT_EQ(Import(text, &id), S_OK);
    const auto message = OpenMessage(id, 0);
    EXPECT_EQ(KwToUtf8(StoredValue(*message, mime::tag::Body).Text), body);
    Ptr<IAttach> attach;
    ASSERT_EQ(message->OpenAttach(0, nullptr, 0, Out(attach)), S_OK);
    EXPECT_EQ(StoredValue(*attach, mime::tag::AttachDataBin).Bytes, body + body);
}

TEST_F(MimeStore, StoreComputesWhatDependsOnTheParts)
{
    Bytes id;
    ASSERT_EQ(
        Import(mime::test::ReadFile(std::string(DEFTMAPI_SOURCE_DIR) + "/examples/messages/mixed-attachments.eml"),
               &id),
        S_OK);
    const auto message = OpenMessage(id, 0);
    EXPECT_TRUE(Get(*message, tag::HasAttach).Flag());
    EXPECT_EQ(Get(*message, tag::DisplayTo).Wide(), u"Lena Berg");
    EXPECT_EQ(Get(*message, tag::MessageFlags).Number() & LONG{MSGFLAG_UNSENT}, 0) << "must not open as a draft";
}

TEST_F(MimeStore, RefusedTextsLeaveNothing)
{
    EXPECT_EQ(Import("no message at all"), MAPI_E_CORRUPT_DATA);
    EXPECT_EQ(RowCount(*ContentsTable(*Inbox())), 0u);
}

} // namespace deftmapi::client::test
