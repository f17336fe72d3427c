// Being told of new messages: watch the Inbox, put a message into it, and see the event.
#include "mapi/DeftMAPI.hpp"

#include <iostream>

using namespace deftmapi;

int main()
{
    try {
        const auto session = TSession::Create();
        const auto profiles = session->GetProfileAdmin();
        if (!profiles->HasDefaultProfile()) {
            profiles->CreateProfile(u"Deft", u"");
            profiles->SetDefaultProfile(u"Deft");
        }
        session->Logon();
        const auto inbox = session->OpenDefaultMsgStore(alReadWrite)->OpenFolderByType(ftInbox, alReadWrite);

        // The fields of the table are the columns that come with an event.
        const auto contents = inbox->GetContentsTable();
        contents->Get_Fields()->Add(PR_SUBJECT);
        contents->Open();
        TKwMAPITableEvents events;
        events.OnRowAdded = [](IKwMAPITable&, const TKwBytes&, IKwMAPIMemoryTable& row) {
            std::cout << "New: " << KwToUtf8(row.GetFieldValue(PR_SUBJECT).AsStringW()) << '\n';
        };
        events.Start(*contents);

        const auto message = inbox->CreateMessage(u"IPM.Note");
        message->Set_Subject(u"Did you notice?");
        message->SaveChanges();

        // Events are delivered while this thread asks for them.
        if (const auto result = HrDispatchNotifications(0); result != 0)
            std::cerr << "Dispatching failed: " << result << '\n';
        events.Stop();
        session->Logoff();
    } catch (const EKwException& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
    return 0;
}
