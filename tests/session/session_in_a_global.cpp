// A program that ends with its session still logged on, in a global: run by a test, it must end cleanly. The session
// goes after main, among the statics, when the library's own state must still be there.
#include "mapi/DeftMAPI.hpp"

#include <cstdio>

using namespace deftmapi;

namespace
{

TKwRef<IKwMAPISession> session;
TKwRef<IKwMAPIMsgStore> store;

/// Constructed last, so it goes first: what it says shows that the end was reached in order.
struct TFarewell
{
    ~TFarewell() { std::puts(session->Get_Active() ? "ending while logged on" : "the session was gone too early"); }
} farewell;

} // namespace

int main()
{
    try {
        session = TSession::Create();
        const auto profiles = session->GetProfileAdmin();
        if (!profiles->HasDefaultProfile()) {
            profiles->CreateProfile(u"Test", u"");
            profiles->SetDefaultProfile(u"Test");
        }
        session->Logon();
        store = session->OpenDefaultMsgStore(alReadWrite);
        static_cast<void>(store->GetInboxFolderID());
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
