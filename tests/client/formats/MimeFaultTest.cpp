// Failures of the stream and of the message: the n-th call fails for every n, and each time the caller learns the very
// code, nothing was saved, and nothing leaks.
#include "client/formats/ClassObjects.hpp"
#include "client/formats/ConverterSession.hpp"
#include "client/formats/MimeTags.hpp"
#include "tests/client/formats/MimeFixture.hpp"

#include <atomic>
#include <thread>

namespace deftmapi::client::mime::test
{

namespace
{

const std::string examples = std::string(DEFTMAPI_SOURCE_DIR) + "/examples/messages/";

class MimeFault : public MimeTest
{};

} // namespace

TEST_F(MimeFault, AnyCallMayFail)
{
    for (const char* name : {"forwarded-messages.eml", "related-pictures.eml"}) {
        const std::string text = ReadFile(examples + name);
        long calls = 0;
        for (long n = 1;; ++n) {
            Faults = {n, 0, MAPI_E_DISK_ERROR};
            const TResult result = Convert(text);
            if (Faults.Calls < n) {
                EXPECT_EQ(result.Code, S_OK);
                break;
            }
            calls = n;
            EXPECT_EQ(result.Code, MAPI_E_DISK_ERROR) << name << ", call " << n;
            EXPECT_TRUE(result.Message.Values.empty()) << name << ", call " << n;
        }
        EXPECT_GT(calls, 20);
    }
}

TEST_F(MimeFault, AnyAllocationMayFail)
{
    const std::string text = ReadFile(examples + "many-recipients.eml");
    long n = 1;
    for (; n < 1000; ++n) {
        FailAllocation(n);
        const TResult result = Convert(text);
        FailAllocation(0);
        if (result.Code == S_OK)
            break;
        EXPECT_EQ(result.Code, MAPI_E_NOT_ENOUGH_MEMORY);
    }
    EXPECT_EQ(n, 8 + 3 + 1); // eight recipients, a list for each of To, Cc and Bcc
}

TEST_F(MimeFault, ComputedPropertiesAreLeftToTheStore)
{
    const std::string text = ReadFile(examples + "plain-ascii.eml");
    Refused = {{tag::NormalizedSubject, MAPI_E_COMPUTED}, {tag::SubjectPrefix, MAPI_E_COMPUTED}};
    TResult result = Convert(text);
    EXPECT_EQ(result.Code, S_OK);
    EXPECT_FALSE(result.Has(tag::NormalizedSubject));
    EXPECT_EQ(result.Text(tag::Subject), u"RE: Keys for the boat house");

    Refused = {{tag::Subject, MAPI_E_NO_ACCESS}};
    result = Convert(text);
    EXPECT_EQ(result.Code, MAPI_E_NO_ACCESS);
}

TEST_F(MimeFault, StreamsAreReadFromWhereTheyStand)
{
    const std::string text = "Subject: wrong\r\n\r\nSubject: right\r\n\r\nbody";
    auto* stream = new TMemoryStream(text, &Faults);
    const TKwComPtr<IStream> kept(stream);
    LARGE_INTEGER start{};
    start.QuadPart = static_cast<std::int64_t>(text.rfind("Subject"));
    ASSERT_EQ(stream->Seek(start, STREAM_SEEK_SET, nullptr), S_OK);
    const TResult result = Convert(stream);
    EXPECT_EQ(result.Text(tag::Subject), u"right");
    EXPECT_EQ(result.Text(tag::Body), u"body");
}

TEST_F(MimeFault, StreamsThatCannotSeekAreRead)
{
    const std::string text = ReadFile(examples + "forwarded-messages.eml");
    const std::string expected = ListMessage(Convert(text).Message);
    auto* stream = new TMemoryStream(text, &Faults);
    stream->CanSeek = false;
    const TResult result = Convert(stream);
    EXPECT_EQ(result.Code, S_OK);
    EXPECT_EQ(ListMessage(result.Message), expected);
}

TEST_F(MimeFault, ThreadsConvertSideBySide)
{
    const std::string text = ReadFile(examples + "encoded-headers.eml");
    const std::string expected = ListMessage(Convert(text).Message);
    std::atomic<int> different{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 50; ++k) {
                TFaults faults;
                auto state = std::make_shared<TMessageState>();
                const TKwComPtr<IStream> stream(new TMemoryStream(text));
                const TKwComPtr<IMessage> message(new TMemoryMessage(faults, state));
                ReadMime(*stream, *message, Options);
                message->SaveChanges(0);
                different += ListMessage(*state) != expected ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(different.load(), 0);
}

TEST_F(MimeFault, TheConverterObject)
{
    TKwComPtr<IClassFactory> factory;
    EXPECT_EQ(CreateClassObject(IID_IMessage, IID_IClassFactory, OutVoid(factory)), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(CreateClassObject(CLSID_IConverterSession, IID_IMessage, OutVoid(factory)),
              MAPI_E_INTERFACE_NOT_SUPPORTED);
    EXPECT_EQ(CreateClassObject(CLSID_IConverterSession, IID_IClassFactory, nullptr), MAPI_E_INVALID_PARAMETER);
    ASSERT_EQ(CreateClassObject(CLSID_IConverterSession, IID_IClassFactory, OutVoid(factory)), S_OK);

    TKwComPtr<IConverterSession> converter;
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IConverterSession, OutVoid(converter)), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IStream, OutVoid(converter)), MAPI_E_INTERFACE_NOT_SUPPORTED);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IConverterSession, OutVoid(converter)), S_OK);

    auto state = std::make_shared<TMessageState>();
    const TKwComPtr<IMessage> message(new TMemoryMessage(Faults, state));
    const TKwComPtr<IStream> stream(new TMemoryStream("Subject: by the interface\n\n", &Faults));
    const TKwComPtr<IStream> junk(new TMemoryStream("nothing like a message", &Faults));
    EXPECT_EQ(converter->MIMEToMAPI(nullptr, message.Get(), nullptr, 0), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(converter->MIMEToMAPI(stream.Get(), nullptr, nullptr, 0), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(converter->MIMEToMAPI(junk.Get(), message.Get(), nullptr, 0), MAPI_E_CORRUPT_DATA);
    EXPECT_EQ(converter->MIMEToMAPI(stream.Get(), message.Get(), nullptr, CCSF_SMTP), S_OK);
    EXPECT_TRUE(state->Values.empty()) << "saving is the caller's business";
    EXPECT_EQ(message->SaveChanges(0), S_OK);
    EXPECT_EQ(state->Values[tag::Subject].Text, u"by the interface");

    EXPECT_EQ(converter->MAPIToMIMEStm(message.Get(), stream.Get(), 0), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(converter->PlaceHolder1(), E_NOTIMPL);
    EXPECT_EQ(converter->PlaceHolder5(), E_NOTIMPL);
}

TEST_F(MimeFault, TheConverterKeepsItsSettings)
{
    const TKwComPtr<TConverterSession> converter(new TConverterSession);
    int charset = 0;
    EXPECT_EQ(converter->SetEncoding(IET_QP), S_OK);
    EXPECT_EQ(converter->SetEncoding(IET_LAST), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(converter->SetTextWrapping(0, 60), S_OK);
    EXPECT_EQ(converter->SetSaveFormat(SAVE_RFC822), S_OK);
    EXPECT_EQ(converter->SetSaveFormat(2), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(converter->SetCharset(1, &charset, CSET_APPLY_ALL), S_OK);
    EXPECT_EQ(converter->SetCharset(1, &charset, 3), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(converter->SetAdrBook(nullptr), S_OK);

    const TConverterSession::TSettings& settings = converter->Settings();
    EXPECT_EQ(settings.Encoding, IET_QP);
    EXPECT_FALSE(settings.WrapText);
    EXPECT_EQ(settings.WrapWidth, 60u);
    EXPECT_EQ(settings.SaveFormat, SAVE_RFC822);
    EXPECT_TRUE(settings.ApplyCharset);
    EXPECT_EQ(settings.Charset, &charset);
    EXPECT_EQ(settings.CharsetUse, CSET_APPLY_ALL);
}

} // namespace deftmapi::client::mime::test
