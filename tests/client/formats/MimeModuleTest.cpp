// The converter as applications reach it: out of the loaded client library, which they may unload and load again. The
// parser library registers its types with the process, which must stand both that and a second copy of the reader in
// the test program.
#include "client/formats/MimeTags.hpp"
#include "tests/client/formats/MimeFixture.hpp"

#include <cstdlib>
#include <dlfcn.h>

namespace deftmapi::client::mime::test
{

namespace
{

using TGetClassObject = HRESULT (*)(REFCLSID, REFIID, void**);
using TCanUnloadNow = HRESULT (*)();

class MimeModule : public MimeTest
{};

} // namespace

TEST_F(MimeModule, LoadsConvertsAndUnloadsRepeatedly)
{
    const char* path = std::getenv("DEFTMAPI_CLIENT");
    if (path == nullptr)
        GTEST_SKIP() << "DEFTMAPI_CLIENT does not name the client library";
    ASSERT_EQ(Convert("Subject: by the copy in this program\n\n").Code, S_OK);
    for (int round = 0; round < 3; ++round) {
        void* module = ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << ::dlerror();
        const auto getClassObject = reinterpret_cast<TGetClassObject>(::dlsym(module, "DllGetClassObject"));
        const auto canUnloadNow = reinterpret_cast<TCanUnloadNow>(::dlsym(module, "DllCanUnloadNow"));
        ASSERT_TRUE(getClassObject != nullptr && canUnloadNow != nullptr);
        {
            TKwComPtr<IClassFactory> factory;
            TKwComPtr<IConverterSession> converter;
            ASSERT_EQ(getClassObject(CLSID_IConverterSession, IID_IClassFactory, OutVoid(factory)), S_OK);
            ASSERT_EQ(factory->CreateInstance(nullptr, IID_IConverterSession, OutVoid(converter)), S_OK);
            auto state = std::make_shared<TMessageState>();
            const TKwComPtr<IMessage> message(new TMemoryMessage(Faults, state));
            const TKwComPtr<IStream> stream(new TMemoryStream(
                ReadFile(std::string(DEFTMAPI_SOURCE_DIR) + "/examples/messages/forwarded-messages.eml")));
            EXPECT_EQ(converter->MIMEToMAPI(stream.Get(), message.Get(), nullptr, CCSF_SMTP), S_OK);
            EXPECT_EQ(message->SaveChanges(0), S_OK);
            EXPECT_EQ(state->Attachments.size(), 1u);
            EXPECT_EQ(canUnloadNow(), S_FALSE) << "the converter is in use";
        }
        EXPECT_EQ(canUnloadNow(), S_OK);
        EXPECT_EQ(::dlclose(module), 0);
    }
}

} // namespace deftmapi::client::mime::test
