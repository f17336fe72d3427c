// What the sinks of a store are told: which event for which change, with which identifiers, from this process and from
// another one, and when a sink asks for one object only.
#include "client/store/Folder.hpp"
#include "tests/client/NotifyFixture.hpp"
#include "tests/client/TableConditions.hpp"

namespace deftmapi::client::test
{
namespace
{

/// Keeps each event as a line: what happened, the names of the object and of the folders.
class EventSink final : public ComObject<IMAPIAdviseSink>
{
public:
    [[nodiscard]] bool Implements(const IID& iid) const noexcept override { return iid == IID_IMAPIAdviseSink; }

    ULONG DEFTMAPI_STDCALL OnNotify(ULONG count, LPNOTIFICATION notifications) noexcept override
    {
        const std::lock_guard lock(FLock);
        for (ULONG i = 0; i < count; ++i)
            FLines.push_back(Describe(notifications[i]));
        FChanged.notify_all();
        return 0;
    }
    static std::string Name(ULONG size, LPENTRYID id)
    {
        if (!id)
            return "-";
        const auto reference = ParseEntryId({reinterpret_cast<const std::uint8_t*>(id), size});
        const char* kind = reference->kind == EntryKind::Folder    ? "f"
                           : reference->kind == EntryKind::Message ? "m"
                                                                   : "store";
        return kind + std::to_string(reference->row);
    }
    [[nodiscard]] std::vector<std::string> Take()
    {
        const std::lock_guard lock(FLock);
        return std::exchange(FLines, {});
    }
    [[nodiscard]] bool WaitForOne()
    {
        std::unique_lock lock(FLock);
        return FChanged.wait_for(lock, std::chrono::seconds(60), [this] { return !FLines.empty(); });
    }

private:
    static std::string Describe(const NOTIFICATION& item)
    {
        if (item.ulEventType == fnevNewMail) {
            const auto& mail = item.info.newmail;
            return "mail " + Name(mail.cbEntryID, mail.lpEntryID) + " in " + Name(mail.cbParentID, mail.lpParentID) +
                   " " + KwToUtf8(static_cast<LPWSTR>(mail.lpszMessageClass));
        }
        static const std::map<ULONG, const char*> names = {
            {fnevObjectCreated, "created "}, {fnevObjectDeleted, "deleted "}, {fnevObjectModified, "modified "},
            {fnevObjectMoved, "moved "},     {fnevObjectCopied, "copied "},   {fnevSearchComplete, "searched "}};
        const auto& object = item.info.obj;
        std::string line = names.at(item.ulEventType) + Name(object.cbEntryID, object.lpEntryID) + " in " +
                           Name(object.cbParentID, object.lpParentID);
        EXPECT_EQ(object.ulObjType, *reinterpret_cast<const std::uint8_t*>(line.c_str() + line.find(' ') + 1) == 'f'
                                        ? MAPI_FOLDER
                                    : object.ulObjType == MAPI_STORE ? MAPI_STORE
                                                                     : MAPI_MESSAGE);
        if (object.lpOldID)
            line += " from " + Name(object.cbOldID, object.lpOldID) + " in " +
                    Name(object.cbOldParentID, object.lpOldParentID);
        for (ULONG i = 0; object.lpPropTagArray && i < object.lpPropTagArray->cValues; ++i)
            line += object.lpPropTagArray->aulPropTag[i] == tag::ContentCount    ? " count"
                    : object.lpPropTagArray->aulPropTag[i] == tag::ContentUnread ? " unread"
                                                                                 : " associated";
        return line;
    }

    std::mutex FLock;
    std::condition_variable FChanged;
    std::vector<std::string> FLines;
};

using Lines = std::vector<std::string>;
constexpr ULONG All = fnevNewMail | fnevObjectCreated | fnevObjectDeleted | fnevObjectModified | fnevObjectMoved |
                      fnevObjectCopied | fnevSearchComplete;

class StoreEventsTest : public NotifyTest
{
protected:
    struct Connection
    {
        Ptr<EventSink> sink{new EventSink};
        ULONG_PTR number = 0;
    };
    [[nodiscard]] Connection Listen(const Bytes& id, ULONG mask = All, HRESULT expected = S_OK) const
    {
        Connection connection;
        EXPECT_EQ(
            FStore->Advise(static_cast<ULONG>(id.size()), AsEntry(id), mask, connection.sink.Get(), &connection.number),
            expected);
        return connection;
    }
    static std::string Name(const Bytes& id) { return EventSink::Name(static_cast<ULONG>(id.size()), AsEntry(id)); }
    static std::string Name(IMAPIProp& object) { return Name(Get(object, tag::EntryId).Blob()); }
    static Lines Told(EventSink& sink)
    {
        Dispatch();
        return sink.Take();
    }
    static HRESULT Copy(IMAPIFolder& folder, IMAPIFolder& to, const char16_t* name, ULONG flags)
    {
        const Bytes id = Get(folder, tag::EntryId).Blob();
        return folder.CopyFolder(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, &to, const_cast<char16_t*>(name),
                                 0, nullptr, MAPI_UNICODE | flags);
    }
    HRESULT CopyMessage(const Bytes& id, IMAPIFolder& to, ULONG flags) const
    {
        return FInbox->CopyMessages(Ids({id}), nullptr, &to, 0, nullptr, flags);
    }
};

TEST_F(StoreEventsTest, EachChangeIsToldInItsPlaceWithItsIdentifiers)
{
    Start(false);
    const std::string inbox = Name(*FInbox);
    auto all = Listen({});
    auto one = NewFolder(*FInbox, u"one");
    auto two = NewFolder(*FInbox, u"two");
    const std::string f1 = Name(*one);
    const std::string f2 = Name(*two);
    EXPECT_EQ(Told(*all.sink), (Lines{"created " + f1 + " in " + inbox, "created " + f2 + " in " + inbox}));

    const Bytes id = AddMessage(u"first");
    const std::string m = Name(id);
    EXPECT_EQ(Told(*all.sink), (Lines{"created " + m + " in " + inbox, "modified " + inbox + " in f2 count unread"}));
    SetSubject(id, u"second");
    EXPECT_EQ(Told(*all.sink).at(0), "modified " + m + " in " + inbox);
    ASSERT_EQ(CopyMessage(id, *one, 0), S_OK);
    auto lines = Told(*all.sink);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].substr(lines[0].find(" in ")), " in " + f1 + " from " + m + " in " + inbox);
    EXPECT_EQ(lines[0].substr(0, 7), "copied ");
    EXPECT_EQ(lines[1], "modified " + f1 + " in " + inbox + " count unread");
    ASSERT_EQ(CopyMessage(id, *two, MESSAGE_MOVE), S_OK);
    lines = Told(*all.sink);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "moved " + m + " in " + f2 + " from " + m + " in " + inbox);

    ASSERT_EQ(Copy(*one, *two, u"copy", COPY_SUBFOLDERS), S_OK);
    lines = Told(*all.sink);
    ASSERT_EQ(lines.size(), 3u); // the folder, its message, its counters
    EXPECT_EQ(lines[0].substr(lines[0].find(" in ")), " in " + f2 + " from " + f1 + " in " + inbox);
    EXPECT_EQ(lines[1].substr(0, 8), "copied m");
    ASSERT_EQ(Copy(*one, *two, u"moved", FOLDER_MOVE), S_OK);
    EXPECT_EQ(Told(*all.sink), (Lines{"moved " + f1 + " in " + f2 + " from " + f1 + " in " + inbox}));
    Set(*two, {Text(tag::Comment, u"other")});
    EXPECT_EQ(Told(*all.sink), (Lines{"modified " + f2 + " in " + inbox}));
    ASSERT_EQ(two->EmptyFolder(0, nullptr, 0), S_OK);
    lines = Told(*all.sink);
    ASSERT_EQ(lines.size(), 6u); // two folders, two messages in them, one in the folder, its counters
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "deleted " + f1 + " in " + f2), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "deleted " + m + " in " + f2), 1);

    NOTIFICATION mail{};
    const Bytes arrived = AddMessage(u"mail");
    static_cast<void>(Told(*all.sink));
    mail.ulEventType = fnevNewMail;
    mail.info.newmail.cbEntryID = static_cast<ULONG>(arrived.size());
    mail.info.newmail.lpEntryID = AsEntry(arrived);
    EXPECT_EQ(FStore->NotifyNewMail(&mail), S_OK);
    EXPECT_EQ(Told(*all.sink), (Lines{"mail " + Name(arrived) + " in " + inbox + " IPM.Note"}));
    EXPECT_EQ(FStore->Unadvise(all.number), S_OK);
    Delete(arrived);
    EXPECT_EQ(Told(*all.sink), Lines());
    EXPECT_EQ(FStore->Unadvise(all.number), MAPI_E_NOT_FOUND);
}

TEST_F(StoreEventsTest, ASinkIsToldOfWhatItAskedForOnly)
{
    Start(false);
    auto other = NewFolder(*FInbox, u"other");
    const Bytes id = AddMessage(u"watched");
    auto inbox = Listen(Get(*FInbox, tag::EntryId).Blob());
    auto message = Listen(id);
    auto created = Listen({}, fnevObjectCreated);
    EXPECT_EQ(Listen({}, All | 0x20000000, MAPI_E_UNKNOWN_FLAGS).number, 0u);
    EXPECT_EQ(Listen({}, fnevTableModified, MAPI_E_NO_SUPPORT).number, 0u);
    EXPECT_EQ(Listen({1, 2, 3}, All, MAPI_E_INVALID_ENTRYID).number, 0u);
    NewFolder(*other, u"deeper");
    const Bytes second = AddMessage(u"second");
    EXPECT_EQ(Told(*inbox.sink).size(), 2u); // the message and the counters; nothing of what lies in another folder
    EXPECT_EQ(Told(*message.sink), Lines());
    EXPECT_EQ(Told(*created.sink).size(), 2u);
    ASSERT_EQ(CopyMessage(id, *other, MESSAGE_MOVE), S_OK);
    EXPECT_EQ(Told(*message.sink).size(), 1u);
    EXPECT_EQ(Told(*inbox.sink).size(), 2u);
    EXPECT_EQ(Told(*created.sink), Lines());
}

TEST_F(StoreEventsTest, AStoreThatIsRenamedTellsItsSinksInEverySession)
{
    Start(false);
    auto all = Listen({});
    auto byName = Listen(Get(*FStore, tag::EntryId).Blob());
    auto folder = Listen(Get(*FInbox, tag::EntryId).Blob());
    auto session = LogOnTo(u"p");
    auto store = OpenFirstStore(*session);
    auto table = Contents();
    const ULONG_PTR connection = Advise(*table, FSink.Get());
    Set(*store, {Text(tag::DisplayName, u"renamed")});
    EXPECT_EQ(Told(*all.sink), Lines{"modified store0 in -"});
    EXPECT_EQ(Told(*byName.sink), Lines{"modified store0 in -"});
    EXPECT_EQ(Told(*folder.sink), Lines());
    EXPECT_TRUE(FSink->Take().empty());
    EXPECT_EQ(Get(*FStore, tag::DisplayName).Wide(), u"renamed");
    EXPECT_EQ(table->Unadvise(connection), S_OK);
}

TEST_F(StoreEventsTest, AnotherProcessIsHeardByTheClientsThreadOnceItsChangeIsDurable)
{
    Start(true);
    auto all = Listen({}, fnevObjectCreated | fnevObjectModified);
    auto table = Watched();
    OtherProcess other(OnlyStoreFile());
    ASSERT_EQ(other.Do("add hello"), "ok");
    ASSERT_TRUE(all.sink->WaitForOne());
    auto lines = all.sink->Take();
    EXPECT_EQ(lines.at(0).substr(0, 9), "created m");
    EXPECT_EQ(Heard(1), std::vector<std::u16string>{u"added hello"}); // before the next change, which might join it
    // More than is told one by one: the folder has changed.
    ASSERT_EQ(other.Do("burst 600"), "ok");
    ASSERT_TRUE(all.sink->WaitForOne());
    EXPECT_EQ(all.sink->Take(), (Lines{"modified " + Name(*FInbox) + " in f2 count unread"}));
    EXPECT_EQ(Heard(1), std::vector<std::u16string>{u"reload"});
    ASSERT_EQ(other.Do("hold secret"), "ok");
    other.Kill();
    const Bytes own = AddMessage(u"own");
    ASSERT_TRUE(all.sink->WaitForOne());
    EXPECT_EQ(all.sink->Take().at(0),
              "created " + Name(own) + " in " + Name(*FInbox)); // nothing of what was not committed
    EXPECT_EQ(Heard(1), std::vector<std::u16string>{u"added own"});
}

TEST_F(StoreEventsTest, AnotherProcessIsHeardWhateverItDoes)
{
    Start(true);
    auto all = Listen({}, All & ~fnevObjectModified);
    OtherProcess other(OnlyStoreFile());
    const auto told = [&](const std::string& command) {
        EXPECT_EQ(other.Do(command), "ok");
        EXPECT_TRUE(all.sink->WaitForOne());
        const Lines lines = all.sink->Take();
        EXPECT_EQ(lines.size(), 1u) << command;
        return lines.at(0);
    };
    const std::string inbox = Name(*FInbox);
    const std::string drafts = Name(Get(*FInbox, tag::IpmDrafts).Blob());
    const std::string created = told("add x");
    const std::string m = created.substr(8, created.find(" in ") - 8);
    EXPECT_EQ(created, "created " + m + " in " + inbox);
    EXPECT_EQ(told("mail x"), "mail " + m + " in " + inbox + " IPM.Note");
    EXPECT_EQ(told("move x"), "moved " + m + " in " + drafts + " from " + m + " in " + inbox);
    const std::string copied = told("copy x");
    const std::string copy = copied.substr(7, copied.find(" in ") - 7);
    EXPECT_EQ(copied, "copied " + copy + " in " + drafts + " from " + m + " in " + drafts);
    ASSERT_EQ(other.Do("delete x"), "ok"); // both, in a transaction each
    Lines lines;
    while (lines.size() < 2) {
        ASSERT_TRUE(all.sink->WaitForOne());
        const Lines more = all.sink->Take();
        lines.insert(lines.end(), more.begin(), more.end());
    }
    EXPECT_EQ(lines, (Lines{"deleted " + m + " in " + drafts, "deleted " + copy + " in " + drafts}));
}

TEST_F(StoreEventsTest, ASearchIsToldWhenItIsDoneAndItsTableFollows)
{
    Start(true);
    auto all = Listen({});
    auto finder = OpenFolder(Get(*FStore, tag::Finder).Blob());
    auto search = NewFolder(*finder, u"s", FOLDER_SEARCH);
    ASSERT_TRUE(all.sink->WaitForOne());
    static_cast<void>(all.sink->Take());
    ASSERT_EQ(search->SetSearchCriteria(Starts(Text(tag::Subject, u"h")), Ids({Get(*FInbox, tag::EntryId).Blob()}),
                                        SHALLOW_SEARCH),
              S_OK);
    ASSERT_TRUE(all.sink->WaitForOne());
    EXPECT_EQ(all.sink->Take(), (Lines{"searched " + Name(*search) + " in " + Name(*finder),
                                       "modified " + Name(*search) + " in " + Name(*finder) + " count unread"}));
    auto table = ContentsTable(*search);
    ASSERT_EQ(table->SetColumns(Tags{tag::Subject, tag::InstanceKey}, 0), S_OK);
    const ULONG_PTR connection = Advise(*table, FSink.Get());
    OtherProcess other(OnlyStoreFile());
    ASSERT_EQ(other.Do("add other"), "ok"); // does not fit
    ASSERT_EQ(other.Do("add hello"), "ok");
    EXPECT_EQ(Heard(1), std::vector<std::u16string>{u"added hello"});
    ASSERT_EQ(other.Do("rename hello"), "ok");
    EXPECT_EQ(Heard(1), std::vector<std::u16string>{u"modified hello'"});
    for (const Props& row : Rows(*table, {tag::EntryId}))
        Delete(std::get<Bytes>(row[0].data));
    EXPECT_EQ(Heard(1), std::vector<std::u16string>{u"deleted"});
    EXPECT_EQ(table->Unadvise(connection), S_OK);
}

} // namespace
} // namespace deftmapi::client::test
