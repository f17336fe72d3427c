// Copying and moving between two stores, copies of whole folders through CopyTo, and what the progress object is told.
#include "tests/client/FolderFixture.hpp"

#include <thread>

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

constexpr GUID Set1 = {0x11111111, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

class FolderCopyTest : public FolderCalls
{
protected:
    /// The tag of a named text property in the object's store.
    static ULONG Named(IMAPIProp& object, const char16_t* name)
    {
        MAPINAMEID id{};
        id.lpguid = const_cast<GUID*>(&Set1);
        id.ulKind = MNID_STRING;
        id.Kind.lpwstrName = const_cast<char16_t*>(name);
        LPMAPINAMEID one = &id;
        MapiBuffer<SPropTagArray> tags;
        EXPECT_EQ(object.GetIDsFromNames(1, &one, MAPI_CREATE, tags.Out()), S_OK);
        return CHANGE_PROP_TYPE(tags->aulPropTag[0], PT_UNICODE);
    }
    /// A message with all that a message can have: names, recipients, a large body, an attachment with a message in it.
    static Bytes SaveRich(IMAPIFolder& folder, const char16_t* subject, ULONG flags = 0)
    {
        Ptr<IMessage> message;
        EXPECT_EQ(folder.CreateMessage(nullptr, flags, Out(message)), S_OK);
        Set(*message, {Text(tag::Subject, subject), Text(Named(*message, u"Colour"), u"blue"),
                       Binary(tag::Html, Pattern(200000)), Long(tag::MessageFlags, 0)});
        EXPECT_EQ(Modify(*message, MODRECIP_ADD, {{u"Ann", u"ann@example.com"}, {u"Bob", u"bob@example.com"}}), S_OK);
        Ptr<IAttach> attach;
        ULONG num = 0;
        EXPECT_EQ(message->CreateAttach(nullptr, 0, &num, Out(attach)), S_OK);
        Set(*attach, {Long(tag::AttachMethod, ATTACH_EMBEDDED_MSG)});
        Ptr<IMessage> inner;
        EXPECT_EQ(attach->OpenProperty(tag::AttachDataObj, &IID_IMessage, 0, MAPI_CREATE | MAPI_MODIFY,
                                       reinterpret_cast<LPUNKNOWN*>(Out(inner))),
                  S_OK);
        Set(*inner, {Text(tag::Subject, u"inner"), Text(Named(*inner, u"Shape"), u"round")});
        EXPECT_EQ(inner->SaveChanges(0), S_OK);
        EXPECT_EQ(attach->SaveChanges(0), S_OK);
        return Save(*message);
    }
    /// The first attachment of a message.
    static HRESULT AttachmentOf(IMessage& message, Ptr<IAttach>& attachment)
    {
        Ptr<IMAPITable> table;
        EXPECT_EQ(message.GetAttachmentTable(0, Out(table)), S_OK);
        const auto rows = Rows(*table, {tag::AttachNum});
        EXPECT_FALSE(rows.empty());
        return message.OpenAttach(static_cast<ULONG>(NumberAt(rows.at(0), 0)), nullptr, MAPI_MODIFY, Out(attachment));
    }
    static Ptr<IMessage> Open(IMAPIFolder& folder, const Bytes& id)
    {
        ULONG type = 0;
        Ptr<IMessage> message;
        EXPECT_EQ(folder.OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, 0, &type,
                                   reinterpret_cast<LPUNKNOWN*>(Out(message))),
                  S_OK);
        return message;
    }
    static void ExpectRich(IMAPIFolder& folder, const Bytes& id)
    {
        auto message = Open(folder, id);
        EXPECT_EQ(Get(*message, Named(*message, u"Colour")).Wide(), u"blue");
        EXPECT_EQ(Get(*message, tag::DisplayTo).Wide(), u"Ann; Bob");
        Bytes html(200000);
        ULONG got = 0;
        EXPECT_EQ(OpenStream(*message, tag::Html, 0)->Read(html.data(), 200000, &got), S_OK);
        html.resize(got);
        EXPECT_EQ(html, Pattern(200000));
        Ptr<IAttach> attach;
        Ptr<IMessage> inner;
        ASSERT_EQ(message->OpenAttach(0, nullptr, 0, Out(attach)), S_OK);
        ASSERT_EQ(
            attach->OpenProperty(tag::AttachDataObj, &IID_IMessage, 0, 0, reinterpret_cast<LPUNKNOWN*>(Out(inner))),
            S_OK);
        EXPECT_EQ(Get(*inner, tag::Subject).Wide(), u"inner");
        EXPECT_EQ(Get(*inner, Named(*inner, u"Shape")).Wide(), u"round");
    }
};

TEST_F(FolderCopyTest, MessagesGoToAnotherStoreWithAllThatTheyHave)
{
    auto inbox = Inbox();
    auto other = OtherInbox();
    Named(*other, u"Something else"); // the same names have other identifiers there
    const std::vector<Bytes> ids = {SaveRich(*inbox, u"one"), SaveRich(*inbox, u"hidden", MAPI_ASSOCIATED)};
    EXPECT_EQ(CopyMessages(*inbox, ids, *other, 0), S_OK);
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 1);
    EXPECT_EQ(Get(*other, tag::ContentUnread).Number(), 1);
    ASSERT_EQ(Contents(*other, MAPI_ASSOCIATED).size(), 1u);
    ExpectRich(*other, BytesAt(Contents(*other).at(0), 1));
    ExpectRich(*other, BytesAt(Contents(*other, MAPI_ASSOCIATED).at(0), 1));

    // What is not there, or lies elsewhere, is missed; the others move.
    EXPECT_EQ(CopyMessages(*inbox, {ids[0], ids[1], BytesAt(Contents(*other).at(0), 1)}, *other, MESSAGE_MOVE),
              MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Contents(*inbox).size() + Contents(*inbox, MAPI_ASSOCIATED).size(), 0u);
    EXPECT_EQ(Contents(*other).size(), 2u);
    EXPECT_EQ(CopyMessages(*inbox, ids, *other, MESSAGE_MOVE), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM chunks"), 0);
    // Into a folder that was opened for reading nothing goes.
    EXPECT_EQ(CopyMessages(*other, {}, *Inbox(0), 0), MAPI_E_NO_ACCESS);
}

TEST_F(FolderCopyTest, FoldersGoToAnotherStoreWithAllBelowThem)
{
    auto inbox = Inbox();
    auto other = OtherInbox();
    auto project = Create(*inbox, u"Project");
    Set(*project, {Text(tag::Comment, u"why"), Text(Named(*project, u"Owner"), u"Cem")});
    auto sub = Create(*project, u"Sub");
    SaveRich(*sub, u"deep");
    SaveRich(*project, u"hidden", MAPI_ASSOCIATED);
    EXPECT_EQ(Copy(*project, *other, u"Flat", 0), S_OK);
    EXPECT_EQ(Copy(*project, *other, nullptr, COPY_SUBFOLDERS), S_OK);
    EXPECT_EQ(Copy(*project, *other, u"PROJECT", COPY_SUBFOLDERS), MAPI_E_COLLISION);
    EXPECT_EQ(Copy(*project, *other, u"Moved", FOLDER_MOVE), S_OK);
    EXPECT_EQ(Children(*inbox).size(), 0u);
    EXPECT_EQ(Copy(*inbox, *other, nullptr, FOLDER_MOVE), MAPI_E_NO_ACCESS);
    const auto rows = Children(*other, CONVENIENT_DEPTH);
    ASSERT_EQ(rows.size(), 5u); // Flat, Moved, Sub, Project, Sub
    EXPECT_EQ(WideAt(rows[1], 0), u"Moved");
    EXPECT_EQ(NumberAt(rows[2], 3), 1);
    auto moved = OpenFolderRow(FOther, FOther->Db().Scalar("SELECT id FROM folders WHERE name = 'Moved'"), true);
    EXPECT_EQ(Get(*moved, tag::Comment).Wide(), u"why");
    EXPECT_EQ(Get(*moved, Named(*moved, u"Owner")).Wide(), u"Cem");
    EXPECT_EQ(Contents(*moved, MAPI_ASSOCIATED).size(), 1u);
}

TEST_F(FolderCopyTest, ACopyOfTheFileIsAnotherStore)
{
    auto inbox = Inbox();
    const Bytes old = Save(*NewMessage(*inbox, u"in both"));
    Db().Execute("VACUUM INTO '" + (FFolder.Path() / "other.store").string() + "'");
    FOther = StoreFile::Open(FFolder.Path() / "other.store");
    ASSERT_EQ(FOther->Id(), FStoreFile->Id());
    auto other = OtherInbox();
    auto folder = Create(*inbox, u"new");
    Create(*folder, u"below");
    const Bytes id = SaveRich(*folder, u"here only");
    Create(*other, u"has the row of the new folder");
    EXPECT_EQ(CopyMessages(*folder, {id}, *other, 0), S_OK);
    EXPECT_EQ(Copy(*folder, *other, nullptr, FOLDER_MOVE), S_OK);
    EXPECT_EQ(CopyMessages(*inbox, {old}, *other, MESSAGE_MOVE), S_OK);
    EXPECT_EQ(Children(*inbox).size() + Contents(*inbox).size(), 0u);
    EXPECT_EQ(Children(*other, CONVENIENT_DEPTH).size(), 3u);
    ASSERT_EQ(Contents(*other).size(), 3u);
    Save(*NewMessage(*inbox, u"to the same folder of the other"));
    EXPECT_EQ(inbox->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMAPIFolder, other.Get(), 0, nullptr), S_OK);
    EXPECT_EQ(Contents(*other).size(), 4u);
    // Another connection to the same file is the same store.
    auto again = OpenFolderRow(StoreFile::Open(File()), static_cast<std::int64_t>(SpecialFolder::Drafts), true);
    const Bytes kept = Save(*NewMessage(*inbox, u"moves"));
    EXPECT_EQ(CopyMessages(*inbox, {kept}, *again, MESSAGE_MOVE), S_OK);
    EXPECT_EQ(IdOf(*Open(*again, kept)), kept);
}

TEST_F(FolderCopyTest, TwoUsersMoveBetweenTwoStoresInOppositeDirections)
{
    constexpr int Messages = 40;
    constexpr auto InboxRow = static_cast<std::int64_t>(SpecialFolder::Inbox);
    constexpr auto OutboxRow = static_cast<std::int64_t>(SpecialFolder::Outbox);
    OtherInbox();
    for (const StorePtr& store : {FStoreFile, FOther})
        for (int i = 0; i < Messages; ++i)
            Save(*NewMessage(*OpenFolderRow(store, InboxRow, true), u"m"));
    const auto user = [&](bool there, bool ownConnections) {
        return std::thread([this, there, ownConnections] {
            const StorePtr one = ownConnections ? StoreFile::Open(File()) : FStoreFile;
            const StorePtr two = ownConnections ? StoreFile::Open(FFolder.Path() / "other.store") : FOther;
            auto from = OpenFolderRow(there ? one : two, InboxRow, true);
            auto to = OpenFolderRow(there ? two : one, OutboxRow, true);
            const auto rows = Contents(*from);
            ASSERT_GE(rows.size(), static_cast<std::size_t>(Messages));
            for (int i = 0; i < Messages; ++i) {
                const auto at = static_cast<std::size_t>(i);
                EXPECT_EQ(CopyMessages(*from, {BytesAt(rows[at], 1)}, *to, MESSAGE_MOVE), S_OK);
            }
        });
    };
    for (const bool own : {false, true}) {
        std::thread users[] = {user(true, own), user(false, own)};
        for (auto& one : users)
            one.join();
        for (const StorePtr& store : {FStoreFile, FOther}) {
            EXPECT_EQ(Contents(*OpenFolderRow(store, InboxRow, true)).size(), 0u);
            auto outbox = OpenFolderRow(store, OutboxRow, true);
            std::vector<Bytes> ids;
            for (const Props& row : Contents(*outbox))
                ids.push_back(BytesAt(row, 1));
            EXPECT_EQ(ids.size(), static_cast<std::size_t>(Messages));
            EXPECT_EQ(CopyMessages(*outbox, ids, *OpenFolderRow(store, InboxRow, true), MESSAGE_MOVE), S_OK);
        }
    }
}

TEST_F(FolderCopyTest, WhatSomebodyChangesWhileItMovesToAnotherStoreStays)
{
    auto inbox = Inbox();
    auto other = OtherInbox();
    auto folder = Create(*inbox, u"moving");
    const std::vector<Bytes> ids = {Save(*NewMessage(*folder, u"one")), Save(*NewMessage(*folder, u"two"))};
    auto second = OpenAnother(); // somebody else, who writes while the copy is under way
    Ptr<RecordingProgress> progress(new RecordingProgress);
    progress->onReport = [&](std::size_t number) {
        ULONG type = 0;
        Ptr<IMessage> message;
        if (number != 2)
            return;
        ASSERT_EQ(second->OpenEntry(static_cast<ULONG>(ids[0].size()), AsEntry(ids[0]), nullptr, MAPI_MODIFY, &type,
                                    reinterpret_cast<LPUNKNOWN*>(Out(message))),
                  S_OK);
        Set(*message, {Text(tag::Subject, u"changed")});
        EXPECT_EQ(message->SaveChanges(0), S_OK);
    };
    EXPECT_EQ(Copy(*folder, *other, nullptr, FOLDER_MOVE, progress.Get()), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Contents(*folder).size(), 2u);
    EXPECT_EQ(Children(*other).size(), 1u);
    progress->reports.clear();
    EXPECT_EQ(CopyMessages(*folder, ids, *other, MESSAGE_MOVE, progress.Get()), MAPI_W_PARTIAL_COMPLETION);
    ASSERT_EQ(Contents(*folder).size(), 1u);
    EXPECT_EQ(WideAt(Contents(*folder)[0], 0), u"changed");
    EXPECT_EQ(Contents(*other).size(), 2u);
}

TEST_F(FolderCopyTest, ReadFlagsThatChangeWhileMessagesMoveAreNotLost)
{
    auto inbox = Inbox();
    auto other = OtherInbox();
    std::vector<Bytes> ids;
    for (int i = 0; i < 3; ++i) {
        auto message = NewMessage(*inbox, u"unread");
        Set(*message, {Long(tag::MessageFlags, 0)});
        ids.push_back(Save(*message));
    }
    auto second = OpenAnother();
    Ptr<RecordingProgress> progress(new RecordingProgress);
    progress->onReport = [&](std::size_t number) { // when all have been copied, but not yet removed
        if (number != 4)
            return;
        ULONG type = 0;
        Ptr<IMAPIFolder> folder;
        const Bytes id = IdOf(*inbox);
        ASSERT_EQ(second->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, MAPI_MODIFY, &type,
                                    reinterpret_cast<LPUNKNOWN*>(Out(folder))),
                  S_OK);
        std::vector<SBinary> entries;
        const std::vector<Bytes> read = {ids[0]};
        ENTRYLIST list = AsList(read, entries);
        EXPECT_EQ(folder->SetReadFlags(&list, 0, nullptr, 0), S_OK);
        EXPECT_EQ(folder->SetMessageStatus(static_cast<ULONG>(ids[1].size()), AsEntry(ids[1]), MSGSTATUS_TAGGED,
                                           MSGSTATUS_TAGGED, nullptr),
                  S_OK);
    };
    EXPECT_EQ(CopyMessages(*inbox, ids, *other, MESSAGE_MOVE, progress.Get()), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Contents(*inbox).size(), 2u);
    EXPECT_EQ(Get(*inbox, tag::ContentUnread).Number(), 1);
    EXPECT_EQ(Contents(*other).size(), 3u);
}

TEST_F(FolderCopyTest, WhatCannotBeRemovedAfterItWasCopiedIsToldAsDoneInPart)
{
    auto inbox = Inbox();
    auto other = OtherInbox();
    auto folder = Create(*inbox, u"stays");
    const std::vector<Bytes> ids = {Save(*NewMessage(*folder, u"one")), Save(*NewMessage(*folder, u"two"))};
    Db().Prepare("CREATE TEMP TRIGGER refuse BEFORE DELETE ON bags BEGIN SELECT raise(ABORT, 'no'); END").Run();
    EXPECT_EQ(CopyMessages(*folder, ids, *other, MESSAGE_MOVE), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Copy(*folder, *other, nullptr, FOLDER_MOVE), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Contents(*folder).size(), 2u);
    EXPECT_EQ(Contents(*other).size(), 2u);
    EXPECT_EQ(Children(*other).size(), 1u);
    Db().Prepare("DROP TRIGGER refuse").Run();
    // A message that is named twice moves once.
    EXPECT_EQ(CopyMessages(*folder, {ids[0], ids[1], ids[0]}, *other, MESSAGE_MOVE), S_OK);
    EXPECT_EQ(Contents(*folder).size(), 0u);
    EXPECT_EQ(Contents(*other).size(), 4u);
}

TEST_F(FolderCopyTest, WhatNamesTheSpecialFoldersIsNotCopied)
{
    auto inbox = Inbox();
    auto other = OtherInbox();
    const Bytes drafts = Get(*inbox, tag::IpmDrafts).Blob();
    const Bytes otherDrafts = Get(*other, tag::IpmDrafts).Blob();
    ASSERT_FALSE(drafts.empty());
    Set(*inbox, {Text(tag::Comment, u"travels")});
    EXPECT_EQ(inbox->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMAPIFolder, other.Get(), MAPI_MOVE, nullptr), S_OK);
    EXPECT_EQ(Get(*other, tag::Comment).Wide(), u"travels");
    EXPECT_EQ(Get(*other, tag::IpmDrafts).Blob(), otherDrafts);
    EXPECT_EQ(Get(*inbox, tag::IpmDrafts).Blob(), drafts);
    EXPECT_FALSE(Get(*inbox, tag::AdditionalRen).IsError());
    auto parent = Create(*OpenFolder(Get(*FStore, tag::IpmSubtree).Blob()), u"parent");
    for (IMAPIFolder* target : {parent.Get(), other.Get()}) {
        EXPECT_EQ(Copy(*inbox, *target, u"copy", 0), S_OK);
        const StorePtr& store = target == other.Get() ? FOther : FStoreFile;
        auto copy = OpenFolderRow(store, store->Db().Scalar("SELECT id FROM folders WHERE name = 'copy'"), true);
        for (const ULONG tag : {tag::IpmDrafts, tag::IpmTask, tag::AdditionalRen})
            EXPECT_EQ(Get(*copy, tag).Error(), MAPI_E_NOT_FOUND);
    }
    // The same of the store itself.
    auto otherStore = OpenStoreObject(FOther, true, false);
    const Bytes subtree = Get(*otherStore, tag::IpmSubtree).Blob();
    EXPECT_EQ(FStore->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMsgStore, otherStore.Get(), 0, nullptr), S_OK);
    EXPECT_EQ(Get(*otherStore, tag::IpmSubtree).Blob(), subtree);
}

TEST_F(FolderCopyTest, CopyToTakesContentsAndSubfoldersButNoName)
{
    auto inbox = Inbox();
    for (const bool across : {false, true}) {
        auto from = Create(*inbox, across ? u"from again" : u"from");
        auto to = Create(across ? *OtherInbox() : *inbox, u"to");
        Set(*from, {Text(tag::Comment, u"new"), Text(tag::ContainerClass, u"IPF.Task")});
        Set(*to, {Text(tag::Comment, u"old")});
        Create(*from, u"child");
        SaveRich(*from, u"one");
        SaveRich(*from, u"two", MAPI_ASSOCIATED);
        const auto copy = [&](LPSPropTagArray excluded, IMAPIFolder& target, ULONG flags) {
            MapiBuffer<SPropProblemArray> problems;
            const HRESULT result =
                from->CopyTo(0, nullptr, excluded, 0, nullptr, &IID_IMAPIFolder, &target, flags, problems.Out());
            EXPECT_FALSE(problems);
            return result;
        };
        EXPECT_EQ(copy(nullptr, *from, 0), MAPI_E_FOLDER_CYCLE);
        if (!across) {
            EXPECT_EQ(copy(nullptr, *Create(*Create(*from, u"a"), u"b"), 0), MAPI_E_FOLDER_CYCLE);
        }
        EXPECT_EQ(copy(Tags{tag::ContainerHierarchy, tag::AssociatedContents}, *to, MAPI_NOREPLACE), S_OK);
        EXPECT_EQ(Get(*to, tag::DisplayName).Wide(), u"to");
        EXPECT_EQ(Get(*to, tag::Comment).Wide(), u"old");
        EXPECT_EQ(Get(*to, tag::ContainerClass).Wide(), u"IPF.Task");
        EXPECT_EQ(Contents(*to).size(), 1u);
        EXPECT_EQ(Contents(*to, MAPI_ASSOCIATED).size() + Children(*to).size(), 0u);
        EXPECT_EQ(copy(nullptr, *to, MAPI_MOVE), S_OK);
        EXPECT_EQ(Contents(*to).size(), 2u);
        EXPECT_EQ(Contents(*to, MAPI_ASSOCIATED).size(), 1u);
        EXPECT_GE(Children(*to).size(), 1u);
        EXPECT_EQ(Contents(*from).size() + Contents(*from, MAPI_ASSOCIATED).size() + Children(*from).size(), 0u);
        EXPECT_EQ(Get(*to, tag::Comment).Wide(), u"new");
        EXPECT_TRUE(Get(*from, tag::Comment).IsError()); // moved away
    }
}

TEST_F(FolderCopyTest, WhatTheDestinationKeepsIsNotTakenFromTheSource)
{
    auto inbox = Inbox();
    auto from = NewMessage(*inbox, u"source");
    auto to = NewMessage(*inbox, u"target");
    Set(*from, {Text(tag::Body, u"text"), Text(tag::InternetMessageId, u"<1>")});
    const auto move = [&](bool all) {
        return all ? from->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, to.Get(), MAPI_MOVE | MAPI_NOREPLACE,
                                  nullptr)
                   : from->CopyProps(Tags{tag::Subject, tag::Body}, 0, nullptr, &IID_IMessage, to.Get(),
                                     MAPI_MOVE | MAPI_NOREPLACE, nullptr);
    };
    EXPECT_EQ(move(false), S_OK);
    EXPECT_EQ(Get(*to, tag::Subject).Wide(), u"target");
    EXPECT_EQ(Get(*from, tag::Subject).Wide(), u"source"); // it was not replaced there, so it is not lost here
    EXPECT_EQ(Get(*to, tag::Body).Wide(), u"text");
    EXPECT_TRUE(Get(*from, tag::Body).IsError());
    EXPECT_EQ(move(true), S_OK);
    EXPECT_EQ(Get(*to, tag::InternetMessageId).Wide(), u"<1>");
    EXPECT_TRUE(Get(*from, tag::InternetMessageId).IsError());
    EXPECT_EQ(Get(*from, tag::Subject).Wide(), u"source");
}

TEST_F(FolderCopyTest, EmbeddedMessagesMoveOnlyWhereTheyAreTaken)
{
    auto inbox = Inbox();
    auto message = OpenMessage(SaveRich(*inbox, u"source"));
    auto to = NewMessage(*inbox, u"target");
    Ptr<IAttach> source;
    Ptr<IAttach> target;
    ULONG num = 0;
    ASSERT_EQ(AttachmentOf(*message, source), S_OK);
    ASSERT_EQ(to->CreateAttach(nullptr, 0, &num, Out(target)), S_OK);
    Set(*target, {Binary(tag::AttachDataBin, {1})});
    constexpr ULONG DataOfAnyType = PROP_TAG(PT_UNSPECIFIED, PROP_ID(tag::AttachDataObj));
    const auto props = [&](ULONG tag, ULONG flags) {
        return source->CopyProps(Tags{tag}, 0, nullptr, &IID_IAttachment, target.Get(), flags, nullptr);
    };
    EXPECT_EQ(source->CopyTo(1, &IID_IMessage, nullptr, 0, nullptr, &IID_IAttachment, target.Get(), MAPI_MOVE, nullptr),
              S_OK);
    EXPECT_EQ(source->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, to.Get(), MAPI_MOVE, nullptr), S_OK);
    EXPECT_EQ(source->CopyProps(Tags{tag::AttachDataBin}, 0, nullptr, &IID_IMessage, to.Get(), MAPI_MOVE, nullptr),
              S_OK);
    for (const ULONG tag : {DataOfAnyType, tag::AttachDataObj, tag::AttachDataBin})
        EXPECT_EQ(props(tag, MAPI_MOVE | MAPI_NOREPLACE), S_OK);
    EXPECT_EQ(Get(*target, tag::AttachDataBin).Blob(), Bytes{1});
    EXPECT_EQ(Get(*source, tag::AttachDataObj).value->ulPropTag, tag::AttachDataObj);
    EXPECT_EQ(props(DataOfAnyType, MAPI_MOVE), S_OK);
    EXPECT_EQ(Get(*source, tag::AttachDataObj).Error(), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Get(*target, tag::AttachDataObj).value->ulPropTag, tag::AttachDataObj);
}

TEST_F(FolderCopyTest, ValuesOfAnotherTypeAreKeptAndMissingOnesNameNothing)
{
    auto from = NewMessage(*Inbox(), u"source");
    auto to = NewMessage(*OtherInbox(), u"target");
    constexpr ULONG Number = PROP_TAG(PT_LONG, 0x6601);
    Set(*from, {Text(CHANGE_PROP_TYPE(Number, PT_UNICODE), u"text")});
    Set(*to, {Long(Number, 7)});
    const ULONG missing = Named(*from, u"Nobody has set it");
    EXPECT_EQ(from->CopyProps(Tags{CHANGE_PROP_TYPE(Number, PT_UNICODE), missing}, 0, nullptr, &IID_IMessage, to.Get(),
                              MAPI_MOVE | MAPI_NOREPLACE, nullptr),
              S_OK);
    EXPECT_EQ(Get(*to, Number).Number(), 7);
    EXPECT_EQ(Get(*from, CHANGE_PROP_TYPE(Number, PT_UNICODE)).Wide(), u"text");
    // Asked with another type it is not found, and nothing is taken either.
    EXPECT_EQ(from->CopyProps(Tags{Number}, 0, nullptr, &IID_IMessage, to.Get(), MAPI_MOVE, nullptr), S_OK);
    EXPECT_EQ(Get(*from, CHANGE_PROP_TYPE(Number, PT_UNICODE)).Wide(), u"text");
    MAPINAMEID id{};
    id.lpguid = const_cast<GUID*>(&Set1);
    id.ulKind = MNID_STRING;
    id.Kind.lpwstrName = const_cast<char16_t*>(u"Nobody has set it");
    LPMAPINAMEID one = &id;
    MapiBuffer<SPropTagArray> tags;
    EXPECT_EQ(to->GetIDsFromNames(1, &one, 0, tags.Out()), MAPI_W_ERRORS_RETURNED);
}

TEST_F(FolderCopyTest, RecipientsAndAttachmentsAreKeptReplacedOrMoved)
{
    auto inbox = Inbox();
    const Bytes ids[] = {SaveRich(*inbox, u"source"), SaveRich(*inbox, u"target")};
    auto from = OpenMessage(ids[0]);
    auto to = OpenMessage(ids[1]);
    ASSERT_EQ(Modify(*to, 0, {{u"Cid", u"cid@example.com"}}), S_OK);
    const auto copy = [&](ULONG flags, IMAPIProgress* progress = nullptr) {
        return from->CopyTo(0, nullptr, nullptr, 0, progress, &IID_IMessage, to.Get(), flags, nullptr);
    };
    const auto attachments = [](IMessage& message) {
        Ptr<IMAPITable> table;
        ULONG count = 0;
        EXPECT_EQ(message.GetAttachmentTable(0, Out(table)), S_OK);
        EXPECT_EQ(table->GetRowCount(0, &count), S_OK);
        EXPECT_EQ(Get(message, tag::HasAttach).Flag(), count != 0);
        return count;
    };
    EXPECT_EQ(copy(MAPI_MOVE | MAPI_NOREPLACE), S_OK);
    EXPECT_EQ(Get(*to, tag::DisplayTo).Wide(), u"Cid");
    EXPECT_EQ(Get(*from, tag::DisplayTo).Wide(), u"Ann; Bob");
    EXPECT_EQ(attachments(*from) + attachments(*to), 2u);

    Ptr<RecordingProgress> progress(new RecordingProgress);
    for (int twice = 0; twice < 2; ++twice) {
        progress->reports.clear();
        EXPECT_EQ(copy(0, progress.Get()), S_OK);
        EXPECT_EQ(Get(*to, tag::DisplayTo).Wide(), u"Ann; Bob");
        EXPECT_EQ(attachments(*from) + attachments(*to), 2u);
        EXPECT_EQ(progress->reports.back().count, progress->reports.size() - 1);
        EXPECT_EQ(progress->reports.back().count, progress->reports.back().total);
    }
    progress->cancelAfter = 4;
    progress->reports.clear();
    EXPECT_EQ(copy(MAPI_MOVE, progress.Get()), MAPI_E_USER_CANCEL);
    EXPECT_EQ(attachments(*from), 1u);
    EXPECT_EQ(copy(MAPI_MOVE), S_OK);
    EXPECT_EQ(Get(*to, tag::DisplayTo).Wide(), u"Ann; Bob");
    EXPECT_EQ(Get(*from, tag::DisplayTo).Wide(), u"");
    EXPECT_EQ(attachments(*to), 1u);
    EXPECT_EQ(attachments(*from), 0u);
    Save(*from);
    Save(*to);
    // The same of an attachment whose message moves to another one.
    Ptr<IAttach> source;
    Ptr<IAttach> target;
    ULONG num = 0;
    ASSERT_EQ(AttachmentOf(*to, source), S_OK);
    ASSERT_EQ(from->CreateAttach(nullptr, 0, &num, Out(target)), S_OK);
    EXPECT_EQ(source->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IAttachment, target.Get(), MAPI_MOVE, nullptr),
              S_OK);
    EXPECT_EQ(Get(*source, tag::AttachDataObj).Error(), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Get(*target, tag::AttachDataObj).value->ulPropTag, tag::AttachDataObj);
    EXPECT_EQ(source->SaveChanges(0), S_OK);
    Save(*to);
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM messages WHERE folder IS NULL"), 0) << "the other is not saved yet";
}

TEST_F(FolderCopyTest, ProgressIsToldItemByItemAndCancelsAll)
{
    auto inbox = Inbox();
    auto folder = Create(*inbox, u"Folder");
    auto target = Create(*inbox, u"Target");
    auto child = Create(*folder, u"Child");
    std::vector<Bytes> ids;
    for (int i = 0; i < 9; ++i)
        ids.push_back(Save(*NewMessage(*(i < 6 ? folder : child), u"m")));
    ids.resize(6);
    std::vector<SBinary> entries;
    ENTRYLIST list = AsList(ids, entries);
    auto other = OtherInbox();
    auto second = Create(*inbox, u"Second");
    const auto copyTo = [&](IMAPIFolder& to, IMAPIProgress* p) {
        return folder->CopyTo(0, nullptr, nullptr, 0, p, &IID_IMAPIFolder, &to, 0, nullptr);
    };
    const std::tuple<const char*, ULONG, std::function<HRESULT(IMAPIProgress*)>> calls[] = {
        {"SetReadFlags", 1, [&](auto* p) { return folder->SetReadFlags(&list, 0, p, 0); }},
        {"SetReadFlags of all", 1, [&](auto* p) { return folder->SetReadFlags(nullptr, 0, p, CLEAR_READ_FLAG); }},
        {"CopyMessages", 6, [&](auto* p) { return CopyMessages(*folder, ids, *target, 0, p); }},
        {"CopyMessages there", 6, [&](auto* p) { return CopyMessages(*folder, ids, *other, 0, p); }},
        {"CopyFolder", 11, [&](auto* p) { return Copy(*folder, *target, nullptr, COPY_SUBFOLDERS, p); }},
        {"CopyTo", 10, [&](auto* p) { return copyTo(*second, p); }},
        {"CopyFolder there", 11, [&](auto* p) { return Copy(*folder, *other, nullptr, FOLDER_MOVE, p); }},
        {"EmptyFolder", 17, [&](auto* p) { return target->EmptyFolder(0, p, 0); }},
        {"DeleteFolder", 1, [&](auto* p) { return Delete(*inbox, IdOf(*target), 0, p); }}};
    const auto states = [&] {
        std::string all;
        for (const auto& store : {FStoreFile, FOther})
            all +=
                std::to_string(store->Db().Scalar("SELECT sum(content_count * 100 + unread_count) + count(*) * 10000 "
                                                  "FROM folders"))
                    .append(" ");
        return all;
    };
    for (const auto& [name, items, call] : calls) {
        SCOPED_TRACE(name);
        Ptr<RecordingProgress> cancelling(new RecordingProgress);
        cancelling->cancelAfter = items > 1 ? 3 : 1;
        const std::string before = states();
        EXPECT_EQ(call(cancelling.Get()), MAPI_E_USER_CANCEL);
        EXPECT_EQ(states(), before);
        Ptr<RecordingProgress> nested(new RecordingProgress);
        nested->flags = 0;
        nested->least = 100;
        nested->most = 200;
        nested->cancelAfter = 0;
        EXPECT_EQ(call(nested.Get()), MAPI_E_USER_CANCEL);
        EXPECT_EQ(nested->reports.at(0).value, 100u);
        EXPECT_EQ(nested->reports.at(0).total, 0u);
        Ptr<RecordingProgress> progress(new RecordingProgress);
        const bool across = std::string_view(name).ends_with("there");
        progress->onReport = [&](std::size_t) { // it may look, but write nothing
            SPropValue comment = Text(tag::Comment, u"from inside");
            for (IMAPIFolder* store : {inbox.Get(), across ? other.Get() : inbox.Get()}) {
                EXPECT_EQ(Get(*store, tag::DisplayName).Wide(), u"Inbox");
                EXPECT_EQ(store->SetProps(1, &comment, nullptr), MAPI_E_BUSY);
            }
        };
        EXPECT_EQ(call(progress.Get()), S_OK);
        EXPECT_EQ(progress->reports.size(), items + 1);
        EXPECT_EQ(progress->reports.back().value, 1000u);
        EXPECT_EQ(progress->reports.back().count, progress->reports.back().total);
        EXPECT_GE(progress->reports.back().total, items);
    }
}

} // namespace
} // namespace deftmapi::client::test
