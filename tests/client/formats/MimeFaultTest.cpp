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
            Faults = {n, 0, mapi::MAPI_E_DISK_ERROR};
            const TResult result = Convert(text);
            if (Faults.Calls < n) {
                EXPECT_EQ(result.Code, mapi::S_OK);
                break;
            }
            calls = n;
            EXPECT_EQ(result.Code, mapi::MAPI_E_DISK_ERROR) << name << ", call " << n;
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
        if (result.Code == mapi::S_OK)
            break;
        EXPECT_EQ(result.Code, mapi::MAPI_E_NOT_ENOUGH_MEMORY);
    }
    EXPECT_EQ(n, 8 + 3 + 1); // eight recipients, a list for each of To, Cc and Bcc
}

TEST_F(MimeFault, ComputedPropertiesAreLeftToTheStore)
{
    const std::string text = ReadFile(examples + "plain-ascii.eml");
    Refused = {{tag::NormalizedSubject, mapi::MAPI_E_COMPUTED}, {tag::SubjectPrefix, mapi::MAPI_E_COMPUTED}};
    TResult result = Convert(text);
    EXPECT_EQ(result.Code, mapi::S_OK);
    EXPECT_FALSE(result.Has(tag::NormalizedSubject));
    EXPECT_EQ(result.Text(tag::Subject), u"RE: Keys for the boat house");

    Refused = {{tag::Subject, mapi::MAPI_E_NO_ACCESS}};
    result = Convert(text);
    EXPECT_EQ(result.Code, mapi::MAPI_E_NO_ACCESS);
}

TEST_F(MimeFault, StreamsAreReadFromWhereTheyStand)
{
    const std::string text = "Subject: wrong\r\n\r\nSubject: right\r\n\r\nbody";
    auto* stream = new TMemoryStream(text, &Faults);
    const TKwComPtr<mapi::IStream> kept(stream);
    mapi::LARGE_INTEGER start{};
    start.QuadPart = static_cast<std::int64_t>(text.rfind("Subject"));
    ASSERT_EQ(stream->Seek(start, mapi::STREAM_SEEK_SET, nullptr), mapi::S_OK);
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
    EXPECT_EQ(result.Code, mapi::S_OK);
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
                const TKwComPtr<mapi::IStream> stream(new TMemoryStream(text));
                const TKwComPtr<mapi::IMessage> message(new TMemoryMessage(faults, state));
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
    TKwComPtr<mapi::IClassFactory> factory;
    EXPECT_EQ(CreateClassObject(mapi::IID_IMessage, mapi::IID_IClassFactory, OutVoid(factory)),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(CreateClassObject(mapi::CLSID_IConverterSession, mapi::IID_IMessage, OutVoid(factory)),
              mapi::MAPI_E_INTERFACE_NOT_SUPPORTED);
    EXPECT_EQ(CreateClassObject(mapi::CLSID_IConverterSession, mapi::IID_IClassFactory, nullptr),
              mapi::MAPI_E_INVALID_PARAMETER);
    ASSERT_EQ(CreateClassObject(mapi::CLSID_IConverterSession, mapi::IID_IClassFactory, OutVoid(factory)), mapi::S_OK);

    TKwComPtr<mapi::IConverterSession> converter;
    EXPECT_EQ(factory->CreateInstance(factory.Get(), mapi::IID_IConverterSession, OutVoid(converter)),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, mapi::IID_IStream, OutVoid(converter)),
              mapi::MAPI_E_INTERFACE_NOT_SUPPORTED);
    ASSERT_EQ(factory->CreateInstance(nullptr, mapi::IID_IConverterSession, OutVoid(converter)), mapi::S_OK);

    auto state = std::make_shared<TMessageState>();
    const TKwComPtr<mapi::IMessage> message(new TMemoryMessage(Faults, state));
    const TKwComPtr<mapi::IStream> stream(new TMemoryStream("Subject: by the interface\n\n", &Faults));
    const TKwComPtr<mapi::IStream> junk(new TMemoryStream("nothing like a message", &Faults));
    EXPECT_EQ(converter->MIMEToMAPI(nullptr, message.Get(), nullptr, 0), mapi::MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(converter->MIMEToMAPI(stream.Get(), nullptr, nullptr, 0), mapi::MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(converter->MIMEToMAPI(junk.Get(), message.Get(), nullptr, 0), mapi::MAPI_E_CORRUPT_DATA);
    EXPECT_EQ(converter->MIMEToMAPI(stream.Get(), message.Get(), nullptr, mapi::CCSF_SMTP), mapi::S_OK);
    EXPECT_TRUE(state->Values.empty()) << "saving is the caller's business";
    EXPECT_EQ(message->SaveChanges(0), mapi::S_OK);
    EXPECT_EQ(state->Values[tag::Subject].Text, u"by the interface");

    EXPECT_EQ(converter->MAPIToMIMEStm(message.Get(), stream.Get(), 0), mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(converter->PlaceHolder1(), mapi::E_NOTIMPL);
    EXPECT_EQ(converter->PlaceHolder5(), mapi::E_NOTIMPL);
}

TEST_F(MimeFault, TheConverterKeepsItsSettings)
{
    const TKwComPtr<TConverterSession> converter(new TConverterSession);
    int charset = 0;
    EXPECT_EQ(converter->SetEncoding(mapi::IET_QP), mapi::S_OK);
    EXPECT_EQ(converter->SetEncoding(mapi::IET_LAST), mapi::MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(converter->SetTextWrapping(0, 60), mapi::S_OK);
    EXPECT_EQ(converter->SetSaveFormat(mapi::SAVE_RFC822), mapi::S_OK);
    EXPECT_EQ(converter->SetSaveFormat(2), mapi::MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(converter->SetCharset(1, &charset, mapi::CSET_APPLY_ALL), mapi::S_OK);
    EXPECT_EQ(converter->SetCharset(1, &charset, 3), mapi::MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(converter->SetAdrBook(nullptr), mapi::S_OK);

    const TConverterSession::TSettings& settings = converter->Settings();
    EXPECT_EQ(settings.Encoding, mapi::IET_QP);
    EXPECT_FALSE(settings.WrapText);
    EXPECT_EQ(settings.WrapWidth, 60u);
    EXPECT_EQ(settings.SaveFormat, mapi::SAVE_RFC822);
    EXPECT_TRUE(settings.ApplyCharset);
    EXPECT_EQ(settings.Charset, &charset);
    EXPECT_EQ(settings.CharsetUse, mapi::CSET_APPLY_ALL);
}

} // namespace deftmapi::client::mime::test
