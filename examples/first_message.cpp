// The first program: log on, put a message into the Inbox, list the Inbox, log off.
#include "mapi/DeftMAPI.hpp"

#include <iostream>

using namespace deftmapi;

int main()
{
    try {
        const auto session = TSession::Create();

        // A machine without a profile gets one, so that there is something to log on to.
        const auto profiles = session->GetProfileAdmin();
        if (!profiles->HasDefaultProfile()) {
            profiles->CreateProfile(u"Deft", u"");
            profiles->SetDefaultProfile(u"Deft");
        }
        session->Logon();

        const auto store = session->OpenDefaultMsgStore(alReadWrite);
        const auto inbox = store->OpenFolderByType(ftInbox, alReadWrite);

        const auto message = inbox->CreateMessage(u"IPM.Note");
        message->Set_Subject(u"Hello from Deft MAPI");
        message->SetMessageText(u"This is my first message.", fmtPlainText);
        message->SaveChanges();

        const auto contents = inbox->GetContentsTable();
        const auto subject = contents->Get_Fields()->Add(PR_SUBJECT);
        const auto modified = contents->Get_Fields()->Add(PR_LAST_MODIFICATION_TIME);
        for (contents->First(); !contents->Get_EOF(); contents->Next())
            std::cout << KwToUtf8(modified->Get_AsString()) << "  " << KwToUtf8(subject->Get_AsString()) << '\n';

        session->Logoff();
    } catch (const EMAPI_LOGON_FAILED& failure) {
        std::cerr << "Cannot log on: " << failure.what() << '\n';
        return 1;
    } catch (const EKwException& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
    return 0;
}
