// What is in a store: each folder behind the one that it lies in, each message with its subject.
#include "mapi/DeftMAPI.hpp"

#include <iostream>

using namespace deftmapi;

namespace
{

std::string NameOf(IKwMAPIFolder& folder)
{
    return KwToUtf8(folder.PropByName(PR_DISPLAY_NAME)->Get_AsString());
}

} // namespace

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
        const auto store = session->OpenDefaultMsgStore(alReadWrite);

        // Something to see in a store that is new.
        const auto inbox = store->OpenFolderByType(ftInbox, alReadWrite);
        const auto project = inbox->CreateFolder(u"IPF.Note", u"Project A", u"", true);
        const auto message = project->CreateMessage(u"IPM.Note");
        message->Set_Subject(u"Kick-off");
        message->SaveChanges();

        // A folder is told before what is in it, its subfolders before its messages.
        std::size_t folders = 0;
        std::size_t messages = 0;
        TKwMAPIMsgStoreParser parser;
        parser.OnParseSubFolder = [&](TKwMAPIMsgStoreParser&, IKwMAPIMsgStore&, IKwMAPIFolder& parent,
                                      IKwMAPIFolder& folder, bool& goOn) {
            ++folders;
            std::cout << NameOf(parent) << " > " << NameOf(folder) << '\n';
            goOn = folder.Get_FolderType() != ftDeleted; // what was thrown away stays unread
        };
        parser.OnParseMessage = [&](TKwMAPIMsgStoreParser&, IKwMAPIMsgStore&, IKwMAPIFolder& folder,
                                    const TKwMAPIEntryID&, const WideString& subject) {
            ++messages;
            std::cout << NameOf(folder) << ": " << KwToUtf8(subject) << '\n';
        };
        parser.OnParseEnd = [&](TKwMAPIMsgStoreParser&) {
            std::cout << folders << " folders, " << messages << " messages\n";
        };
        parser.Start(*store, nullptr); // from the IPM root on
        session->Logoff();
    } catch (const EKwException& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
    return 0;
}
