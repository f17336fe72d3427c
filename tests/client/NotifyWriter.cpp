// The second process of the notification tests: changes a store as it is told, one command a line, and answers each
// when it is done. "hold" leaves a message written but not committed, for the test to kill the process there.
#include "client/store/Folder.hpp"
#include "tests/client/StoreFixture.hpp"

#include <iostream>
#include <sstream>

namespace deftmapi::client::test
{
namespace
{

class Writer
{
public:
    explicit Writer(const char* file) : FFile(StoreFile::Open(file))
    {
        FInbox = OpenFolderRow(FFile, static_cast<std::int64_t>(SpecialFolder::Inbox), true);
    }

    bool Do(const std::string& command, const std::string& subject)
    {
        if (command == "add")
            return Add(KwFromUtf8(subject));
        if (command == "hold") {
            FHeld.emplace(FFile->Db());
            return Add(KwFromUtf8(subject));
        }
        if (command == "rename") {
            for (const auto& message : Named(subject))
                Set(*message, {Text(tag::Subject, (KwFromUtf8(subject) + u"'").c_str())}), message->SaveChanges(0);
            return true;
        }
        if (command == "delete" || command == "copy" || command == "move" || command == "mail") {
            for (const auto& message : Named(subject))
                if (!Do(command, Get(*message, tag::EntryId).Blob()))
                    return false;
            return true;
        }
        if (command == "burst") { // that many messages in one transaction
            Transaction transaction(FFile->Db());
            for (int left = std::stoi(subject); left > 0; --left)
                if (!Add(u"many"))
                    return false;
            transaction.Commit();
            return true;
        }
        return false;
    }

private:
    bool Do(const std::string& command, const Bytes& id)
    {
        Ids list({id});
        if (command == "delete")
            return FInbox->DeleteMessages(list, 0, nullptr, 0) == S_OK;
        if (command == "mail") {
            NOTIFICATION mail{};
            mail.ulEventType = fnevNewMail;
            mail.info.newmail.cbEntryID = static_cast<ULONG>(id.size());
            mail.info.newmail.lpEntryID = AsEntry(id);
            return OpenStoreObject(FFile, true, false)->NotifyNewMail(&mail) == S_OK;
        }
        const auto drafts = OpenFolderRow(FFile, static_cast<std::int64_t>(SpecialFolder::Drafts), true);
        return FInbox->CopyMessages(list, nullptr, drafts.Get(), 0, nullptr, command == "move" ? MESSAGE_MOVE : 0) ==
               S_OK;
    }
    bool Add(const std::u16string& subject)
    {
        Ptr<IMessage> message;
        if (FInbox->CreateMessage(nullptr, 0, Out(message)) != S_OK)
            return false;
        Set(*message, {Text(tag::Subject, subject.c_str())});
        return message->SaveChanges(0) == S_OK;
    }

    std::vector<Ptr<IMessage>> Named(const std::string& subject)
    {
        std::vector<std::int64_t> rows;
        Query query = FFile->Db().Prepare("SELECT id FROM messages WHERE normalized_subject = ?1");
        query.BindText(1, subject);
        while (query.Step())
            rows.push_back(query.Number(0));
        std::vector<Ptr<IMessage>> messages;
        for (const std::int64_t row : rows)
            messages.push_back(OpenMessageRow(FFile, row, true));
        return messages;
    }

    StorePtr FFile;
    Ptr<IMAPIFolder> FInbox;
    std::optional<Transaction> FHeld;
};

} // namespace
} // namespace deftmapi::client::test

int main(int count, char** arguments)
{
    if (count != 2)
        return 2;
    deftmapi::client::test::Writer writer(arguments[1]);
    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream words(line);
        std::string command;
        std::string subject;
        words >> command >> subject;
        std::cout << (writer.Do(command, subject) ? "ok" : "failed") << std::endl;
    }
    return 0;
}
