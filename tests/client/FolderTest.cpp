// Folders: the ones every store has, creating, renaming, copying, moving, deleting, and their messages in bulk.
#include "tests/client/FolderFixture.hpp"

namespace deftmapi::client::test
{
namespace
{

using FolderTest = FolderCalls;

TEST_F(FolderTest, EveryStoreHasItsSpecialFolders)
{
    const std::tuple<IMAPIProp*, ULONG, const char*> special[] = {
        {FStore.Get(), tag::IpmSubtree, "Top of Personal Folders|IPF.Note"},
        {FStore.Get(), tag::IpmOutbox, "Outbox|IPF.Note"},
        {FStore.Get(), tag::IpmWastebasket, "Deleted Items|IPF.Note"},
        {FStore.Get(), tag::IpmSentMail, "Sent Items|IPF.Note"},
        {FStore.Get(), tag::Finder, "Search Root|-"},
        {FStore.Get(), tag::CommonViews, "Common Views|-"},
        {FStore.Get(), tag::Views, "Views|-"},
        {FInbox.Get(), tag::IpmContact, "Contacts|IPF.Contact"},
        {FInbox.Get(), tag::IpmAppointment, "Calendar|IPF.Appointment"},
        {FInbox.Get(), tag::IpmJournal, "Journal|IPF.Journal"},
        {FInbox.Get(), tag::IpmNote, "Notes|IPF.StickyNote"},
        {FInbox.Get(), tag::IpmTask, "Tasks|IPF.Task"},
        {FInbox.Get(), tag::IpmDrafts, "Drafts|IPF.Note"}};
    for (const auto& [object, property, shown] : special)
        EXPECT_EQ(Say(*OpenFolder(Get(*object, property).Blob()), {tag::DisplayName, tag::ContainerClass}), shown);
    EXPECT_EQ(Say(*FInbox, {tag::DisplayName}), "Inbox");
    const Got more = Get(*FInbox, tag::AdditionalRen);
    ASSERT_EQ(more.value->Value.MVbin.cValues, 5u);
    const SBinary& junk = more.value->Value.MVbin.lpbin[4];
    EXPECT_EQ(Say(*OpenFolder(Bytes(junk.lpb, junk.lpb + junk.cb)), {tag::DisplayName}), "Junk E-mail");
    EXPECT_EQ(Get(*FStore, tag::ValidFolderMask).Number(), 0xFF);
    EXPECT_EQ(Get(*FStore, tag::StoreSupportMask).Number() & LONG(STORE_NOTIFY_OK | STORE_SUBMIT_OK),
              LONG(STORE_NOTIFY_OK));
    // An empty identifier is the root folder, its own parent.
    auto root = OpenFolder({});
    EXPECT_EQ(Get(*root, tag::FolderType).Number(), LONG(FOLDER_ROOT));
    EXPECT_EQ(Get(*root, tag::ParentEntryId).Blob(), IdOf(*root));
    EXPECT_EQ(Delete(*OpenFolder(Get(*FStore, tag::IpmSubtree).Blob()), InboxId(), 0), MAPI_E_NO_ACCESS);
}

TEST_F(FolderTest, NamesAreUniqueWithoutRegardToCase)
{
    auto folder = Create(*FInbox, u"\u00c4rger \u041f\u0440\u043e\u0435\u043a\u0442");
    Create(*FInbox, u"\u00e4RGER \u043f\u0440\u043e\u0435\u043a\u0442", 0, MAPI_E_COLLISION);
    auto same = Create(*FInbox, u"\u00e4rger \u043f\u0440\u043e\u0435\u043a\u0442", OPEN_IF_EXISTS);
    EXPECT_EQ(IdOf(*same), IdOf(*folder));
    Create(*FInbox, u"", 0, MAPI_E_INVALID_PARAMETER);
    auto other = Create(*FInbox, u"Other");
    std::vector<SPropValue> taken = {Text(tag::DisplayName, u"\u00c4RGER \u041f\u0440\u043e\u0435\u043a\u0442")};
    EXPECT_EQ(other->SetProps(1, taken.data(), nullptr), MAPI_E_COLLISION);
    EXPECT_EQ(Say(*other, {tag::DisplayName}), "Other");
    Set(*other, {Text(tag::DisplayName, u"Renamed"), Text(tag::Comment, u"why")});
    EXPECT_EQ(Say(*OpenFolder(IdOf(*other)), {tag::DisplayName, tag::Comment}), "Renamed|why");
}

TEST_F(FolderTest, WhatIsDeletedIsGoneForThoseWhoHaveItOpen)
{
    auto folder = Create(*FInbox, u"Project");
    const Bytes id = IdOf(*folder);
    auto sub = Create(*folder, u"Sub");
    Save(*NewMessage(*sub, u"in sub"));
    auto message = NewMessage(*folder, u"too late");
    EXPECT_EQ(Delete(*OpenFolder({}), id, DEL_FOLDERS | DEL_MESSAGES), MAPI_E_NOT_FOUND); // not its subfolder
    EXPECT_EQ(Delete(*FInbox, id, DEL_FOLDERS), MAPI_E_HAS_MESSAGES);                     // though they lie deeper
    EXPECT_EQ(Delete(*FInbox, id, DEL_FOLDERS | DEL_MESSAGES), S_OK);
    EXPECT_EQ(Delete(*FInbox, id, DEL_FOLDERS), MAPI_E_NOT_FOUND);
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
    EXPECT_EQ(sub->GetProps(nullptr, 0, &count, values.Out()), MAPI_E_OBJECT_DELETED);
    EXPECT_EQ(message->SaveChanges(0), MAPI_E_OBJECT_DELETED);
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM messages"), 0);
}

class HierarchyTableTest : public FolderCalls
{
protected:
    void SetUp() override
    {
        FolderCalls::SetUp();
        ASSERT_EQ(FInbox->GetHierarchyTable(MAPI_UNICODE, Out(FTable)), S_OK);
    }
    void TearDown() override
    {
        FTable.Reset();
        FolderCalls::TearDown();
    }
    [[nodiscard]] ULONG Count() const { return RowCount(*FTable); }

    Ptr<IMAPITable> FTable;
};

TEST_F(HierarchyTableTest, IsSortedAndDeep)
{
    auto b = Create(*FInbox, u"beta");
    Create(*FInbox, u"Alpha");
    Create(*b, u"inner");
    Save(*NewMessage(*b, u"one"));
    EXPECT_EQ(Say(Children(*FInbox, CONVENIENT_DEPTH)), "Alpha|1|0|0; beta|1|1|1; inner|2|0|0");
    EXPECT_EQ(Count(), 2u); // a table opened earlier sees them, too
}

TEST_F(HierarchyTableTest, SeesAFolderGoWhateverItsCountersWere)
{
    auto folder = Create(*FInbox, u"Short-lived");
    const Bytes id = IdOf(*folder);
    Save(*NewMessage(*folder, u"its only change"));
    FTable.Reset();
    ASSERT_EQ(FInbox->GetHierarchyTable(MAPI_UNICODE, Out(FTable)), S_OK);
    EXPECT_EQ(Count(), 1u);
    folder.Reset();
    ASSERT_EQ(Delete(*FInbox, id, DEL_MESSAGES), S_OK);
    EXPECT_EQ(Count(), 0u);
}

TEST_F(HierarchyTableTest, ForgetsWhatWasTakenBack)
{
    {
        Transaction given(Db()); // up
        Create(*FInbox, u"never");
        EXPECT_EQ(Count(), 1u);
        Create(*FInbox, u"nor this");
        EXPECT_EQ(Count(), 2u);
    }
    auto folder = Create(*FInbox, u"real"); // as many entries of the journal, with the same numbers
    Set(*folder, {Text(tag::Comment, u"changed")});
    EXPECT_EQ(Count(), 1u);
    EXPECT_EQ(Say(Rows(*FTable, {tag::DisplayName})), "real");
}

TEST_F(FolderTest, AFolderThatMovesKeepsItsIdentifier)
{
    auto source = Create(*FInbox, u"source");
    auto sub = Create(*source, u"sub");
    auto target = Create(*FInbox, u"target");
    Save(*NewMessage(*sub, u"deep"));
    const Bytes id = IdOf(*source);
    EXPECT_EQ(Copy(*source, *sub, nullptr, FOLDER_MOVE), MAPI_E_FOLDER_CYCLE);
    EXPECT_EQ(Copy(*source, *FInbox, nullptr, COPY_SUBFOLDERS), MAPI_E_COLLISION);
    EXPECT_EQ(Copy(*source, *target, u"copied", COPY_SUBFOLDERS), S_OK);
    EXPECT_EQ(Copy(*source, *target, nullptr, FOLDER_MOVE), S_OK);
    EXPECT_EQ(Say(Children(*target, CONVENIENT_DEPTH)), "copied|1|1|0; sub|2|0|1; source|1|1|0; sub|2|0|1");
    EXPECT_EQ(Get(*OpenFolder(id), tag::ParentEntryId).Blob(), IdOf(*target));
}

TEST_F(FolderTest, CopiedMessagesAreTheirOwnAndMovedOnesTheSame)
{
    auto target = Create(*FInbox, u"target");
    std::vector<Bytes> ids;
    for (int i = 0; i < 5; ++i) {
        auto message = NewMessage(*FInbox, u"bulk");
        Set(*message, {Binary(tag::Html, Pattern(20000))});
        ids.push_back(Save(*message));
    }
    EXPECT_EQ(CopyMessages(*FInbox, {ids[0], ids[1], ids[2]}, *target, 0), S_OK);
    EXPECT_EQ(CopyMessages(*FInbox, {ids[3]}, *target, MESSAGE_MOVE), S_OK);
    EXPECT_EQ(Get(*OpenMessage(ids[3], 0), tag::ParentEntryId).Blob(), IdOf(*target));
    EXPECT_EQ(FInbox->DeleteMessages(Ids(ids), 0, nullptr, 0), S_OK); // the moved one, too
    EXPECT_EQ(Contents(*FInbox).size(), 0u);
    const auto copies = Contents(*target);
    EXPECT_EQ(copies.size(), 3u);
    for (const Props& row : copies)
        EXPECT_TRUE(Whole(*OpenMessage(BytesAt(row, 1)), tag::Html) == Pattern(20000));
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM large_values"), 3);
}

TEST_F(FolderTest, TheStatusOfAMessageChangesBitByBit)
{
    const Bytes id = Save(*NewMessage(*FInbox, u"marked"));
    const auto size = static_cast<ULONG>(id.size());
    ULONG status = 0;
    const std::tuple<ULONG, ULONG, ULONG> steps[] = {
        {MSGSTATUS_TAGGED, MSGSTATUS_TAGGED, 0},
        {MSGSTATUS_HIDDEN | MSGSTATUS_DELMARKED, MSGSTATUS_HIDDEN, MSGSTATUS_TAGGED},
        {0, MSGSTATUS_TAGGED, MSGSTATUS_TAGGED | MSGSTATUS_HIDDEN},
        {0, 0, MSGSTATUS_HIDDEN}};
    for (const auto& [now, mask, before] : steps) {
        EXPECT_EQ(FInbox->GetMessageStatus(size, AsEntry(id), 0, &status), S_OK);
        EXPECT_EQ(status, before);
        EXPECT_EQ(FInbox->SetMessageStatus(size, AsEntry(id), now, mask, &status), S_OK);
        EXPECT_EQ(status, before);
    }
}

TEST_F(FolderTest, ReceiveFoldersFollowTheLongestClass)
{
    auto reports = Create(*FInbox, u"Reports");
    const auto set = [&](const char16_t* messageClass, const Bytes& id) {
        return FStore->SetReceiveFolder(const_cast<char16_t*>(messageClass), MAPI_UNICODE,
                                        static_cast<ULONG>(id.size()), id.empty() ? nullptr : AsEntry(id));
    };
    ASSERT_EQ(set(u"IPM.Report", IdOf(*reports)), S_OK);
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
    EXPECT_EQ(set(u"", {}), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(set(u"ipm.report", {}), S_OK);
    EXPECT_EQ(find(u"IPM.Report.Delivery"), u"");
    for (const char16_t* bad : {u"IPM.", u"IPM.N\u00F6te", u".", u"IPM..Note"})
        EXPECT_EQ(set(bad, IdOf(*reports)), MAPI_E_INVALID_PARAMETER);
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
    const ULONG pending = MSGFLAG_RN_PENDING | MSGFLAG_NRN_PENDING;
    auto message = NewMessage(*FInbox, u"asks for a receipt");
    Set(*message, {Long(tag::MessageFlags, static_cast<LONG>(pending))});
    const Bytes id = Save(*message);
    Ids list({id});
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
        EXPECT_EQ(FInbox->SetReadFlags(list, 0, nullptr, flags), result) << flags;
        EXPECT_EQ(static_cast<ULONG>(Get(*OpenMessage(id, 0), tag::MessageFlags).Number()) & (pending | MSGFLAG_READ),
                  after)
            << flags;
    }
    EXPECT_EQ(Get(*FInbox, tag::ContentUnread).Number(), 1);
}

TEST_F(FolderTest, AnOpenMessageDoesNotBringBackAReceiptThatWasCleared)
{
    auto message = NewMessage(*FInbox, u"receipt");
    Set(*message, {Long(tag::MessageFlags, MSGFLAG_RN_PENDING | MSGFLAG_NRN_PENDING)});
    const Bytes id = Save(*message);
    auto open = OpenMessage(id);
    Set(*open, {Text(tag::Subject, u"changed")});
    EXPECT_EQ(FInbox->SetReadFlags(Ids({id}), 0, nullptr, CLEAR_RN_PENDING | CLEAR_NRN_PENDING), S_OK);
    EXPECT_EQ(open->SaveChanges(0), S_OK);
    EXPECT_EQ(Get(*OpenMessage(id), tag::MessageFlags).Number() & LONG(MSGFLAG_RN_PENDING | MSGFLAG_NRN_PENDING), 0);
}

TEST_F(FolderTest, AnEmbeddedMessageIsReachedThroughItsAttachmentOnly)
{
    auto message = NewMessage(*FInbox, u"outer");
    Embed(*message, u"inner", [](IMessage& inner) { Set(inner, {Long(tag::MessageFlags, 0)}); });
    const Bytes outer = Save(*message);
    const Bytes id = FStoreFile->EntryIdOf(EntryKind::Message, Db().Scalar("SELECT embedded FROM attachments"));
    const auto size = static_cast<ULONG>(id.size());
    EXPECT_EQ(FInbox->DeleteMessages(Ids({id}), 0, nullptr, 0), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(FInbox->SetReadFlags(Ids({id}), 0, nullptr, 0), MAPI_W_PARTIAL_COMPLETION);
    ULONG status = 0;
    EXPECT_EQ(FInbox->GetMessageStatus(size, AsEntry(id), 0, &status), MAPI_E_NOT_FOUND);
    EXPECT_EQ(FInbox->SetMessageStatus(size, AsEntry(id), 1, 1, nullptr), MAPI_E_NOT_FOUND);
    ULONG type = 0;
    Ptr<IMessage> none;
    EXPECT_EQ(FStore->OpenEntry(size, AsEntry(id), nullptr, 0, &type, reinterpret_cast<LPUNKNOWN*>(Out(none))),
              MAPI_E_NOT_FOUND);

    message = OpenMessage(outer);
    auto attach = OpenAttachment(*message, 0);
    auto inner = Embedded(*attach, MAPI_MODIFY);
    EXPECT_EQ(Get(*inner, tag::MessageFlags).Number() & LONG(MSGFLAG_READ), 0);
    // There its flags change as well.
    EXPECT_EQ(inner->SetReadFlag(0), S_OK);
    EXPECT_EQ(inner->SaveChanges(0), S_OK);
    EXPECT_EQ(attach->SaveChanges(0), S_OK);
    EXPECT_EQ(message->SaveChanges(0), S_OK);
    inner = Embedded(*OpenAttachment(*OpenMessage(outer), 0, 0), 0);
    EXPECT_NE(Get(*inner, tag::MessageFlags).Number() & LONG(MSGFLAG_READ), 0);
}

} // namespace
} // namespace deftmapi::client::test
