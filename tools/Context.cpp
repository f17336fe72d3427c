// Logging on: no dialogs, the profile named or the default one.
#include "Command.hpp"

#include <cstdlib>

namespace deftmapi::tool
{

void Context::Prepare()
{
    if (FPrepared)
        return;
    if (!Options.Home.empty() && setenv("DEFTMAPI_HOME", Options.Home.c_str(), 1) != 0)
        throw UsageError("--home: the folder name cannot be used");
    FSession = TSession::Create();
    if (!Options.Client.empty()) {
        WideString fileName = KwFromUtf8(Options.Client);
        bool extended = false;
        KwLoadMAPIDLL(fileName, extended, false); // says more of what is wrong than the session
    }
    FPrepared = true;
}

IKwMAPISession& Context::Session()
{
    Prepare();
    return *FSession;
}

IKwMAPISession& Context::LoggedOn()
{
    if (Session().Get_Active())
        return *FSession;
    const auto logon = Session().Get_LogonInfo();
    logon->Set_ShowLogonDialog(false);
    logon->Set_Password(KwFromUtf8(Options.Password));
    if (!Options.Profile.empty()) {
        logon->Set_ProfileRequired(true);
        logon->Set_ProfileName(KwFromUtf8(Options.Profile));
    }
    FSession->Logon();
    return *FSession;
}

IKwMAPIMsgStore& Context::Store()
{
    if (!FStore)
        FStore = LoggedOn().OpenDefaultMsgStore(alBestAccess);
    return *FStore;
}

TKwRef<IKwMAPIFolder> Context::Folder(const std::string& path, TKwMAPIAccessLevel accessLevel)
{
    return Store().OpenFolderByPath(KwFromUtf8(path), accessLevel);
}

TKwMAPIEntryID Context::ParseID(const std::string& text)
{
    TKwMAPIEntryID id;
    try {
        id = StrToEntryID(KwFromUtf8(text));
    } catch (const EKwConvertError&) {
        throw UsageError("'" + text + "' is no entry identifier: it must be hexadecimal digits");
    }
    if (id.IsEmptyOrNull() || text.size() % 2 != 0)
        throw UsageError("'" + text + "' is no entry identifier: it must be pairs of hexadecimal digits");
    return id;
}

} // namespace deftmapi::tool
