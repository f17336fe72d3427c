// Folders: the ones every store has, creating, renaming, copying, moving, deleting, and their messages in bulk.
#include "tests/client/FolderFixture.hpp"

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

class FolderTest : public FolderCalls
{};

TEST_F(FolderTest, EveryStoreHasItsSpecialFolders)
{
    const std::tuple<ULONG, const char16_t*, const char16_t*> fromStore[] = {
        {tag::IpmSubtree, u"Top of Personal Folders", u"IPF.Note"},
        {tag::IpmOutbox, u"Outbox", u"IPF.Note"},
        {tag::IpmWastebasket, u"Deleted Items", u"IPF.Note"},
        {tag::IpmSentMail, u"Sent Items", u"IPF.Note"},
        {tag::Finder, u"Search Root", u"(error)"},
        {tag::CommonViews, u"Common Views", u"(error)"},
        {tag::Views, u"Views", u"(error)"}};
    for (const auto& [property, name, containerClass] : fromStore) {
        auto folder = OpenFolder(Get(*FStore, property).Blob());
        EXPECT_EQ(Get(*folder, tag::DisplayName).Wide(), name);
        EXPECT_EQ(Get(*folder, tag::ContainerClass).Wide(), containerClass);
    }
    auto inbox = Inbox();
    EXPECT_EQ(Get(*inbox, tag::DisplayName).Wide(), u"Inbox");
    const std::tuple<ULONG, const char16_t*, const char16_t*> fromInbox[] = {
        {tag::IpmContact, u"Contacts", u"IPF.Contact"}, {tag::IpmAppointment, u"Calendar", u"IPF.Appointment"},
        {tag::IpmJournal, u"Journal", u"IPF.Journal"},  {tag::IpmNote, u"Notes", u"IPF.StickyNote"},
        {tag::IpmTask, u"Tasks", u"IPF.Task"},          {tag::IpmDrafts, u"Drafts", u"IPF.Note"}};
    for (const auto& [property, name, containerClass] : fromInbox) {
        auto folder = OpenFolder(Get(*inbox, property).Blob());
        EXPECT_EQ(Get(*folder, tag::DisplayName).Wide(), name);
        EXPECT_EQ(Get(*folder, tag::ContainerClass).Wide(), containerClass);
    }
    const Got more = Get(*inbox, tag::AdditionalRen);
    ASSERT_EQ(more.value->Value.MVbin.cValues, 5u);
    const SBinary& junk = more.value->Value.MVbin.lpbin[4];
    EXPECT_EQ(Get(*OpenFolder(Bytes(junk.lpb, junk.lpb + junk.cb)), tag::DisplayName).Wide(), u"Junk E-mail");
    EXPECT_EQ(Get(*FStore, tag::ValidFolderMask).Number(), 0xFF);
    EXPECT_EQ(Get(*FStore, tag::StoreSupportMask).Number() & LONG(STORE_NOTIFY_OK | STORE_SUBMIT_OK),
              LONG(STORE_NOTIFY_OK));
    // An empty identifier is the root folder, its own parent.
    auto root = OpenFolder({});
    EXPECT_EQ(Get(*root, tag::FolderType).Number(), LONG(FOLDER_ROOT));
    EXPECT_EQ(Get(*root, tag::ParentEntryId).Blob(), Get(*root, tag::EntryId).Blob());
    EXPECT_EQ(Delete(*OpenFolder(Get(*FStore, tag::IpmSubtree).Blob()), InboxId(), 0), MAPI_E_NO_ACCESS);
}

TEST_F(FolderTest, NamesAreUniqueWithoutRegardToCase)
{
    auto inbox = Inbox();
    auto folder = Create(*inbox, u"\u00c4rger \u041f\u0440\u043e\u0435\u043a\u0442");
    Create(*inbox, u"\u00e4RGER \u043f\u0440\u043e\u0435\u043a\u0442", 0, MAPI_E_COLLISION);
    auto same = Create(*inbox, u"\u00e4rger \u043f\u0440\u043e\u0435\u043a\u0442", OPEN_IF_EXISTS);
    EXPECT_EQ(Get(*same, tag::EntryId).Blob(), Get(*folder, tag::EntryId).Blob());
    Create(*inbox, u"", 0, MAPI_E_INVALID_PARAMETER);
    auto other = Create(*inbox, u"Other");
    std::vector<SPropValue> taken = {Text(tag::DisplayName, u"\u00c4RGER \u041f\u0440\u043e\u0435\u043a\u0442")};
    EXPECT_EQ(other->SetProps(1, taken.data(), nullptr), MAPI_E_COLLISION);
    EXPECT_EQ(Get(*other, tag::DisplayName).Wide(), u"Other");
    Set(*other, {Text(tag::DisplayName, u"Renamed"), Text(tag::Comment, u"why")});
    EXPECT_EQ(Get(*OpenFolder(Get(*other, tag::EntryId).Blob()), tag::DisplayName).Wide(), u"Renamed");
    EXPECT_EQ(Get(*other, tag::Comment).Wide(), u"why");
}

TEST_F(FolderTest, DeletingAsksForMessagesAndSubfolders)
{
    auto inbox = Inbox();
    auto folder = Create(*inbox, u"Project");
    const Bytes id = Get(*folder, tag::EntryId).Blob();
    auto sub = Create(*folder, u"Sub");
    Save(*NewMessage(*sub, u"in sub"));
    EXPECT_EQ(Delete(*inbox, id, 0), MAPI_E_HAS_FOLDERS);
    EXPECT_EQ(Delete(*inbox, id, DEL_MESSAGES), MAPI_E_HAS_FOLDERS);
    EXPECT_EQ(Delete(*inbox, id, DEL_FOLDERS), MAPI_E_HAS_MESSAGES); // though they lie deeper
    Save(*NewMessage(*folder, u"in folder"));
    EXPECT_EQ(Delete(*inbox, id, DEL_FOLDERS), MAPI_E_HAS_MESSAGES);
    EXPECT_EQ(Delete(*OpenFolder({}), id, DEL_FOLDERS | DEL_MESSAGES), MAPI_E_NOT_FOUND); // not its subfolder
    EXPECT_EQ(Delete(*inbox, id, DEL_FOLDERS | DEL_MESSAGES), S_OK);
    EXPECT_EQ(Delete(*inbox, id, DEL_FOLDERS), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Children(*inbox).size(), 0u);
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM messages"), 0);
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
    EXPECT_EQ(sub->GetProps(nullptr, 0, &count, values.Out()), MAPI_E_OBJECT_DELETED);
}

TEST_F(FolderTest, HierarchyTablesAreSortedAndDeepOnes)
{
    auto inbox = Inbox();
    Ptr<IMAPITable> table;
    ASSERT_EQ(inbox->GetHierarchyTable(MAPI_UNICODE, Out(table)), S_OK);
    auto b = Create(*inbox, u"beta");
    Create(*inbox, u"Alpha");
    Create(*b, u"inner");
    Save(*NewMessage(*b, u"one"));
    const auto rows = Children(*inbox, CONVENIENT_DEPTH);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(WideAt(rows[0], 0), u"Alpha");
    EXPECT_EQ(WideAt(rows[1], 0), u"beta");
    EXPECT_EQ(NumberAt(rows[1], 2), 1);
    EXPECT_EQ(NumberAt(rows[1], 3), 1);
    EXPECT_EQ(WideAt(rows[2], 0), u"inner");
    EXPECT_EQ(NumberAt(rows[2], 1), 2);
    ULONG count = 0;
    EXPECT_EQ(table->GetRowCount(0, &count), S_OK); // a table opened earlier sees them, too
    EXPECT_EQ(count, 2u);
}

TEST_F(FolderTest, AHierarchyTableSeesAFolderGoWhateverItsCountersWere)
{
    auto inbox = Inbox();
    auto folder = Create(*inbox, u"Short-lived");
    const Bytes id = Get(*folder, tag::EntryId).Blob();
    Save(*NewMessage(*folder, u"its only change"));
    Ptr<IMAPITable> table;
    ASSERT_EQ(inbox->GetHierarchyTable(MAPI_UNICODE, Out(table)), S_OK);
    ULONG count = 0;
    ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
    EXPECT_EQ(count, 1u);
    folder.Reset();
    ASSERT_EQ(Delete(*inbox, id, DEL_MESSAGES), S_OK);
    ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
    EXPECT_EQ(count, 0u);
}

TEST_F(FolderTest, AHierarchyTableForgetsWhatWasTakenBack)
{
    auto inbox = Inbox();
    Ptr<IMAPITable> table;
    ASSERT_EQ(inbox->GetHierarchyTable(MAPI_UNICODE, Out(table)), S_OK);
    const auto count = [&] {
        ULONG rows = 0;
        EXPECT_EQ(table->GetRowCount(0, &rows), S_OK);
        return rows;
    };
    {
        Transaction given(Db()); // up
        Create(*inbox, u"never");
        EXPECT_EQ(count(), 1u);
        Create(*inbox, u"nor this");
        EXPECT_EQ(count(), 2u);
    }
    auto folder = Create(*inbox, u"real"); // as many entries of the journal, with the same numbers
    Set(*folder, {Text(tag::Comment, u"changed")});
    EXPECT_EQ(count(), 1u);
    EXPECT_EQ(WideAt(Rows(*table, {tag::DisplayName}).at(0), 0), u"real");
}

TEST_F(FolderTest, NoMessageIsSavedIntoAFolderThatIsGone)
{
    auto inbox = Inbox();
    auto folder = Create(*inbox, u"Gone");
    auto message = NewMessage(*folder, u"too late");
    ASSERT_EQ(Delete(*inbox, Get(*folder, tag::EntryId).Blob(), 0), S_OK);
    EXPECT_EQ(message->SaveChanges(0), MAPI_E_OBJECT_DELETED);
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM messages"), 0);
}

TEST_F(FolderTest, FoldersAreCopiedAndMovedButNotIntoThemselves)
{
    auto inbox = Inbox();
    auto source = Create(*inbox, u"source");
    auto sub = Create(*source, u"sub");
    auto target = Create(*inbox, u"target");
    auto message = NewMessage(*sub, u"deep");
    Save(*message);
    const Bytes id = Get(*source, tag::EntryId).Blob();
    const auto copy = [&](IMAPIFolder& to, const char16_t* name, ULONG flags) {
        return inbox->CopyFolder(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, &to, const_cast<char16_t*>(name),
                                 0, nullptr, MAPI_UNICODE | flags);
    };
    EXPECT_EQ(copy(*sub, nullptr, FOLDER_MOVE), MAPI_E_FOLDER_CYCLE);
    EXPECT_EQ(copy(*inbox, nullptr, COPY_SUBFOLDERS), MAPI_E_COLLISION);
    EXPECT_EQ(copy(*target, u"copied", COPY_SUBFOLDERS), S_OK);
    EXPECT_EQ(copy(*target, nullptr, FOLDER_MOVE), S_OK);
    const auto rows = Children(*target, CONVENIENT_DEPTH);
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(WideAt(rows[0], 0), u"copied");
    EXPECT_EQ(NumberAt(rows[1], 3), 1);
    EXPECT_EQ(NumberAt(rows[3], 3), 1);
    EXPECT_EQ(Get(*OpenFolder(id), tag::ParentEntryId).Blob(), Get(*target, tag::EntryId).Blob());
}

TEST_F(FolderTest, MessagesAreCopiedMovedMarkedAndDeletedInBulk)
{
    auto inbox = Inbox();
    auto target = Create(*inbox, u"target");
    std::vector<Bytes> ids;
    for (int i = 0; i < 10; ++i) {
        auto message = NewMessage(*inbox, u"bulk");
        Set(*message, {Long(tag::MessageFlags, 0), Binary(tag::Html, Pattern(20000))});
        ids.push_back(Save(*message));
    }
    std::vector<SBinary> entries;
    for (Bytes& id : ids)
        entries.push_back({static_cast<ULONG>(id.size()), id.data()});
    ENTRYLIST all{10, entries.data()};
    ENTRYLIST three{3, entries.data()};
    EXPECT_EQ(inbox->SetReadFlags(&three, 0, nullptr, 0), S_OK);
    EXPECT_EQ(Get(*inbox, tag::ContentUnread).Number(), 7);
    EXPECT_EQ(inbox->CopyMessages(&three, nullptr, target.Get(), 0, nullptr, 0), S_OK);
    EXPECT_EQ(Get(*target, tag::ContentCount).Number(), 3);
    EXPECT_EQ(Get(*target, tag::ContentUnread).Number(), 0);
    EXPECT_EQ(inbox->CopyMessages(&three, nullptr, target.Get(), 0, nullptr, MESSAGE_MOVE), S_OK);
    EXPECT_EQ(Get(*target, tag::ContentCount).Number(), 6);
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 7);
    EXPECT_EQ(Get(*OpenMessage(ids[0], 0), tag::ParentEntryId).Blob(), Get(*target, tag::EntryId).Blob());
    EXPECT_EQ(inbox->SetReadFlags(nullptr, 0, nullptr, 0), S_OK);
    EXPECT_EQ(Get(*inbox, tag::ContentUnread).Number(), 0);
    ULONG status = 0;
    EXPECT_EQ(inbox->SetMessageStatus(entries[9].cb, AsEntry(ids[9]), MSGSTATUS_TAGGED, MSGSTATUS_TAGGED, &status),
              S_OK);
    EXPECT_EQ(inbox->GetMessageStatus(entries[9].cb, AsEntry(ids[9]), 0, &status), S_OK);
    EXPECT_EQ(status, MSGSTATUS_TAGGED);
    const auto setStatus = [&](ULONG now, ULONG mask) {
        EXPECT_EQ(inbox->SetMessageStatus(entries[9].cb, AsEntry(ids[9]), now, mask, &status), S_OK);
        return status; // as it was
    };
    EXPECT_EQ(setStatus(MSGSTATUS_HIDDEN | MSGSTATUS_DELMARKED, MSGSTATUS_HIDDEN), MSGSTATUS_TAGGED);
    EXPECT_EQ(setStatus(0, MSGSTATUS_TAGGED), MSGSTATUS_TAGGED | MSGSTATUS_HIDDEN);
    EXPECT_EQ(setStatus(0, 0), MSGSTATUS_HIDDEN);
    EXPECT_EQ(inbox->DeleteMessages(&all, 0, nullptr, 0), S_OK);
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 0);
    EXPECT_EQ(Get(*target, tag::ContentCount).Number(), 3); // the copies are messages of their own
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM large_values"), 3);
    EXPECT_EQ(inbox->EmptyFolder(0, nullptr, 0), S_OK);
    EXPECT_EQ(Children(*inbox).size(), 0u);
}

TEST_F(FolderTest, ReceiveFoldersFollowTheLongestClass)
{
    auto inbox = Inbox();
    auto reports = Create(*inbox, u"Reports");
    const Bytes id = Get(*reports, tag::EntryId).Blob();
    ASSERT_EQ(FStore->SetReceiveFolder(const_cast<char16_t*>(u"IPM.Report"), MAPI_UNICODE,
                                       static_cast<ULONG>(id.size()), AsEntry(id)),
              S_OK);
    const auto find = [&](const char16_t* messageClass) {
        ULONG size = 0;
        MapiBuffer<ENTRYID> found;
        LPTSTR explicitClass = nullptr;
        EXPECT_EQ(FStore->GetReceiveFolder(const_cast<char16_t*>(messageClass), MAPI_UNICODE, &size, found.Out(),
                                           &explicitClass),
                  S_OK);
        const std::u16string result = static_cast<LPWSTR>(explicitClass);
        FreeBuffer(explicitClass);
        return result;
    };
    EXPECT_EQ(find(u"ipm.report.delivery"), u"IPM.Report");
    EXPECT_EQ(find(u"IPM.Reports"), u"");
    EXPECT_EQ(find(u"IPM.Note"), u"");
    Ptr<IMAPITable> table;
    ASSERT_EQ(FStore->GetReceiveFolderTable(MAPI_UNICODE, Out(table)), S_OK);
    const auto rows = Rows(*table, {tag::EntryId, tag::MessageClass, tag::RecordKey});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(BytesAt(rows[0], 0), InboxId());
    EXPECT_EQ(WideAt(rows[1], 1), u"IPM.Report");
    EXPECT_EQ(BytesAt(rows[1], 2), Get(*reports, tag::RecordKey).Blob());
    const auto remove = [&](const char16_t* messageClass) {
        return FStore->SetReceiveFolder(const_cast<char16_t*>(messageClass), MAPI_UNICODE, 0, nullptr);
    };
    EXPECT_EQ(remove(u""), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(remove(u"ipm.report"), S_OK);
    EXPECT_EQ(find(u"IPM.Report.Delivery"), u"");
    for (const char16_t* bad : {u"IPM.", u"IPM.N\u00F6te", u".", u"IPM..Note"})
        EXPECT_EQ(FStore->SetReceiveFolder(const_cast<char16_t*>(bad), MAPI_UNICODE, static_cast<ULONG>(id.size()),
                                           AsEntry(id)),
                  MAPI_E_INVALID_PARAMETER);
    std::u16string longName = u"a"; // not a query for each of its parts
    for (int i = 0; i < 1000; ++i)
        longName += u".a";
    ULONG size = 0;
    MapiBuffer<ENTRYID> none;
    EXPECT_EQ(FStore->GetReceiveFolder(longName.data(), MAPI_UNICODE, &size, none.Out(), nullptr),
              MAPI_E_INVALID_PARAMETER);
}

TEST_F(FolderTest, ReceiptsStayPendingUntilTheyAreSuppressed)
{
    auto inbox = Inbox();
    const ULONG pending = MSGFLAG_RN_PENDING | MSGFLAG_NRN_PENDING;
    auto message = NewMessage(*inbox, u"asks for a receipt");
    Set(*message, {Long(tag::MessageFlags, static_cast<LONG>(pending))});
    const std::vector<Bytes> ids = {Save(*message)};
    const Bytes& id = ids[0];
    std::vector<SBinary> entries;
    ENTRYLIST list = AsList(ids, entries);
    const std::tuple<ULONG, HRESULT, ULONG> steps[] = {
        {GENERATE_RECEIPT_ONLY, MAPI_E_NO_SUPPORT, pending},
        {SUPPRESS_RECEIPT | CLEAR_READ_FLAG, MAPI_E_INVALID_PARAMETER, pending},
        {SUPPRESS_RECEIPT | GENERATE_RECEIPT_ONLY, MAPI_E_INVALID_PARAMETER, pending},
        {0, S_OK, pending | MSGFLAG_READ},
        {CLEAR_READ_FLAG, S_OK, pending},
        {CLEAR_NRN_PENDING, S_OK, MSGFLAG_RN_PENDING},
        {SUPPRESS_RECEIPT, S_OK, MSGFLAG_READ},
        {CLEAR_READ_FLAG | CLEAR_RN_PENDING, S_OK, 0}};
    for (const auto& [flags, result, after] : steps) {
        EXPECT_EQ(inbox->SetReadFlags(&list, 0, nullptr, flags), result) << flags;
        EXPECT_EQ(static_cast<ULONG>(Get(*OpenMessage(id, 0), tag::MessageFlags).Number()) & (pending | MSGFLAG_READ),
                  after)
            << flags;
    }
    EXPECT_EQ(Get(*inbox, tag::ContentUnread).Number(), 1);
}

TEST_F(FolderTest, AnOpenMessageDoesNotBringBackAReceiptThatWasCleared)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"receipt");
    Set(*message, {Long(tag::MessageFlags, MSGFLAG_RN_PENDING | MSGFLAG_NRN_PENDING)});
    const Bytes id = Save(*message);
    auto open = OpenMessage(id);
    Set(*open, {Text(tag::Subject, u"changed")});
    std::vector<SBinary> entries;
    const std::vector<Bytes> ids = {id};
    ENTRYLIST list = AsList(ids, entries);
    EXPECT_EQ(inbox->SetReadFlags(&list, 0, nullptr, CLEAR_RN_PENDING | CLEAR_NRN_PENDING), S_OK);
    EXPECT_EQ(open->SaveChanges(0), S_OK);
    EXPECT_EQ(Get(*OpenMessage(id), tag::MessageFlags).Number() & LONG(MSGFLAG_RN_PENDING | MSGFLAG_NRN_PENDING), 0);
}

TEST_F(FolderTest, AnEmbeddedMessageIsReachedThroughItsAttachmentOnly)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"outer");
    Ptr<IAttach> attach;
    Ptr<IMessage> inner;
    ULONG num = 0;
    const auto openInner = [&](ULONG flags) {
        return attach->OpenProperty(tag::AttachDataObj, &IID_IMessage, 0, flags,
                                    reinterpret_cast<LPUNKNOWN*>(Out(inner)));
    };
    ASSERT_EQ(message->CreateAttach(nullptr, 0, &num, Out(attach)), S_OK);
    Set(*attach, {Long(tag::AttachMethod, ATTACH_EMBEDDED_MSG)});
    ASSERT_EQ(openInner(MAPI_CREATE | MAPI_MODIFY), S_OK);
    Set(*inner, {Text(tag::Subject, u"inner"), Long(tag::MessageFlags, 0)});
    EXPECT_EQ(inner->SaveChanges(0), S_OK);
    EXPECT_EQ(attach->SaveChanges(0), S_OK);
    const Bytes outer = Save(*message);
    const std::vector<Bytes> ids = {
        FStoreFile->EntryIdOf(EntryKind::Message, Db().Scalar("SELECT embedded FROM attachments"))};
    std::vector<SBinary> entries;
    ENTRYLIST list = AsList(ids, entries);
    const auto size = static_cast<ULONG>(ids[0].size());
    EXPECT_EQ(inbox->DeleteMessages(&list, 0, nullptr, 0), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(inbox->SetReadFlags(&list, 0, nullptr, 0), MAPI_W_PARTIAL_COMPLETION);
    ULONG status = 0;
    EXPECT_EQ(inbox->GetMessageStatus(size, AsEntry(ids[0]), 0, &status), MAPI_E_NOT_FOUND);
    EXPECT_EQ(inbox->SetMessageStatus(size, AsEntry(ids[0]), 1, 1, nullptr), MAPI_E_NOT_FOUND);
    ULONG type = 0;
    Ptr<IMessage> none;
    EXPECT_EQ(FStore->OpenEntry(size, AsEntry(ids[0]), nullptr, 0, &type, reinterpret_cast<LPUNKNOWN*>(Out(none))),
              MAPI_E_NOT_FOUND);

    message = OpenMessage(outer);
    ASSERT_EQ(message->OpenAttach(num, nullptr, MAPI_MODIFY, Out(attach)), S_OK);
    ASSERT_EQ(openInner(MAPI_MODIFY), S_OK);
    EXPECT_EQ(Get(*inner, tag::MessageFlags).Number() & LONG(MSGFLAG_READ), 0);
    // There its flags change as well.
    EXPECT_EQ(inner->SetReadFlag(0), S_OK);
    EXPECT_EQ(inner->SaveChanges(0), S_OK);
    EXPECT_EQ(attach->SaveChanges(0), S_OK);
    EXPECT_EQ(message->SaveChanges(0), S_OK);
    message = OpenMessage(outer);
    ASSERT_EQ(message->OpenAttach(num, nullptr, 0, Out(attach)), S_OK);
    ASSERT_EQ(openInner(0), S_OK);
    EXPECT_NE(Get(*inner, tag::MessageFlags).Number() & LONG(MSGFLAG_READ), 0);
}

} // namespace
} // namespace deftmapi::client::test
