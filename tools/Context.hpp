// The road to the store: the options say where it is; the first command that needs it logs on.
#pragma once

#include "mapi/DeftMAPI.hpp"

#include <string>

namespace deftmapi::tool
{

struct GlobalOptions
{
    std::string Profile; ///< empty: the default profile
    std::string Password;
    std::string Home;   ///< empty: the client's own choice
    std::string Client; ///< empty: found by the library
    bool Json = false;
};

class Context
{
public:
    GlobalOptions Options;

    /// Applies --home and --client: for the commands that work without a logon, too.
    void Prepare();
    /// The session, not logged on yet.
    [[nodiscard]] IKwMAPISession& Session();
    /// The session, logged on.
    [[nodiscard]] IKwMAPISession& LoggedOn();
    /// The default store of the profile; logs on first.
    [[nodiscard]] IKwMAPIMsgStore& Store();
    [[nodiscard]] TKwRef<IKwMAPIFolder> Folder(const std::string& path, TKwMAPIAccessLevel accessLevel);
    /// @throws UsageError  the text is no entry identifier
    [[nodiscard]] static TKwMAPIEntryID ParseID(const std::string& text);

private:
    TKwRef<IKwMAPISession> FSession;
    TKwRef<IKwMAPIMsgStore> FStore;
    bool FPrepared = false;
};

} // namespace deftmapi::tool
