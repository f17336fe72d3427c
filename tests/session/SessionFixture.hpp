// What the tests of logging on and off share: a session on a scripted client, and a sink that writes the session's
// events into the log of the client's calls, so that one list has both in their order.
#pragma once

#include "mapi/DeftMAPI.hpp"
#include "tests/session/FailureNames.hpp"
#include "tests/session/ScriptedClient.hpp"

#include <functional>
#include <string>
#include <utility>

namespace deftmapi::test
{

inline TCaught Failure(const char* className, std::uint32_t code, const char* message)
{
    return {className, message, code, false};
}

/// Writes the events into the log of calls and does what the test says.
class TEventSink final : public TKwAutoIntfObject, public virtual IKwMAPISessionDEvents
{
public:
    explicit TEventSink(TCallsRef calls) : FCalls(std::move(calls)) {}
    std::function<void(const std::string& event, IKwMAPISession& session)> OnEvent;

    void BeforeLogon(IKwMAPISession& session) override { Note("BeforeLogon", session); }
    void AfterLogon(IKwMAPISession& session) override { Note("AfterLogon", session); }
    void BeforeLogoff(IKwMAPISession& session) override { Note("BeforeLogoff", session); }
    void AfterLogoff(IKwMAPISession& session) override { Note("AfterLogoff", session); }
    void OutlookFlushQueus(IKwMAPISession& session, mapi::ULONG flags) override
    {
        Note("OutlookFlushQueus " + Hex(flags), session);
    }

private:
    void Note(const std::string& event, IKwMAPISession& session)
    {
        FCalls->Enter(event, session.Get_Active() ? "active" : "");
        if (OnEvent)
            OnEvent(event, session);
    }
    TCallsRef FCalls;
};

class TSessionTest : public TScriptedClientTest
{
protected:
    TSessionTest() : Events(KwMake<TEventSink>(Calls)) { Session->DEventConnect(Events, true); }
    /// What is done through the client's session: its call, our method, and what makes the call.
    [[nodiscard]] std::vector<TNamedOperation> Operations() const
    {
        const TKwMAPIEntryID id = StrToEntryID(u"0A");
        return {{"GetMsgStoresTable", "GetMsgStoresTable", [this] { return Session->GetMsgStoresTable(); }},
                {"OpenMsgStore", "OpenMsgStore", [=, this] { return Session->OpenMsgStore(id, alReadOnly); }},
                {"SetDefaultStore", "SetDefaultMsgStore", [=, this] { Session->SetDefaultMsgStore(id); }},
                {"OpenEntry", "OpenEntry", [=, this] { return Session->OpenEntry(id, alReadOnly); }},
                {"CompareEntryIDs", "CompareEntryIDs",
                 [=, this] { return Session->CompareEntryIDs(id, StrToEntryID(u"0B")); }},
                {"OpenAddressBook", "OpenAddressBook", [this] { return Session->OpenAddressBook(); }},
                {"GetStatusTable", "GetStatusTable", [this] { return Session->GetStatusTable(); }},
                {"AdminServices", "GetAdminServices", [this] { return Session->GetAdminServices(); }},
                {"OpenProfileSection", "OpenProfileSection",
                 [this] { return Session->OpenProfileSection(StrToEntryID(KwGlobalProfileSection), alReadOnly); }}};
    }
    void Notify(mapi::ULONG eventType)
    {
        const TKwComPtr<mapi::IMAPIAdviseSink> sink = Client->Sink;
        mapi::NOTIFICATION notification{};
        notification.ulEventType = eventType;
        sink->OnNotify(1, &notification);
    }

    TKwRef<TEventSink> Events;
};

} // namespace deftmapi::test
