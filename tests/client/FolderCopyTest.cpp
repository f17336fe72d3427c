// Copying and moving between two stores, copies of whole folders through CopyTo, and what the progress object is told.
#include "tests/client/FolderFixture.hpp"

#include <mutex>
#include <thread>

namespace deftmapi::client::test
{
namespace
{

constexpr GUID Set1 = {0x11111111, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

class FolderCopyTest : public FolderCalls
{
protected:
    static HRESULT TagOf(IMAPIProp& object, const char16_t* name, ULONG flags, ULONG& tag)
    {
        MAPINAMEID id{const_cast<GUID*>(&Set1), MNID_STRING, {}};
        id.Kind.lpwstrName = const_cast<char16_t*>(name);
        LPMAPINAMEID one = &id;
        MapiBuffer<SPropTagArray> tags;
        const HRESULT result = object.GetIDsFromNames(1, &one, flags, tags.Out());
        tag = CHANGE_PROP_TYPE(tags->aulPropTag[0], PT_UNICODE);
        return result;
    }
    /// The tag of a named text property in the object's store.
    static ULONG Named(IMAPIProp& object, const char16_t* name)
    {
        ULONG tag = 0;
        EXPECT_EQ(TagOf(object, name, MAPI_CREATE, tag), S_OK);
        return tag;
    }
    /// A message with all that a message can have: names, recipients, a large body, an attachment with a message in it.
    static Bytes SaveRich(IMAPIFolder& folder, const char16_t* subject, ULONG flags = 0)
    {
        auto message = EmptyMessage(folder, flags);
        Set(*message, {Text(tag::Subject, subject), Text(Named(*message, u"Colour"), u"blue"),
                       Binary(tag::Html, Pattern(200000)), Long(tag::MessageFlags, 0)});
        EXPECT_EQ(Modify(*message, MODRECIP_ADD, {{u"Ann", u"ann@example.com"}, {u"Bob", u"bob@example.com"}}), S_OK);
        Embed(*message, u"inner", [](IMessage& inner) { Set(inner, {Text(Named(inner, u"Shape"), u"round")}); });
        return Save(*message);
    }
    static void ExpectRich(IMAPIFolder& folder, const Bytes& id)
    {
        auto message = Opened<IMessage>(folder, id, 0);
        EXPECT_EQ(Say(*message, {Named(*message, u"Colour"), tag::DisplayTo}), "blue|Ann; Bob");
        EXPECT_EQ(Whole(*message, tag::Html), Pattern(200000));
        auto inner = Embedded(*OpenAttachment(*message, 0, 0), 0);
        EXPECT_EQ(Say(*inner, {tag::Subject, Named(*inner, u"Shape")}), "inner|round");
    }
    static HRESULT CopySome(IMAPIProp& from, std::initializer_list<ULONG> tags, const IID& iid, IMAPIProp& to,
                            ULONG flags)
    {
        return from.CopyProps(Tags(tags), 0, nullptr, &iid, &to, flags, nullptr);
    }
    static std::size_t ContentsOfBothKinds(IMAPIFolder& folder)
    {
        return Contents(folder).size() + Contents(folder, MAPI_ASSOCIATED).size();
    }
};

TEST_F(FolderCopyTest, MessagesGoToAnotherStoreWithAllThatTheyHave)
{
    auto other = OtherInbox();
    Named(*other, u"Something else"); // the same names have other identifiers there
    const std::vector<Bytes> ids = {SaveRich(*FInbox, u"one"), SaveRich(*FInbox, u"hidden", MAPI_ASSOCIATED)};
    EXPECT_EQ(CopyMessages(*FInbox, ids, *other, 0), S_OK);
    EXPECT_EQ(Get(*FInbox, tag::ContentCount).Number(), 1);
    EXPECT_EQ(Get(*other, tag::ContentUnread).Number(), 1);
    ASSERT_EQ(Contents(*other, MAPI_ASSOCIATED).size(), 1u);
    ExpectRich(*other, BytesAt(Contents(*other).at(0), 1));
    ExpectRich(*other, BytesAt(Contents(*other, MAPI_ASSOCIATED).at(0), 1));

    // What is not there, or lies elsewhere, is missed; the others move.
    EXPECT_EQ(CopyMessages(*FInbox, {ids[0], ids[1], BytesAt(Contents(*other).at(0), 1)}, *other, MESSAGE_MOVE),
              MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(ContentsOfBothKinds(*FInbox), 0u);
    EXPECT_EQ(Contents(*other).size(), 2u);
    EXPECT_EQ(CopyMessages(*FInbox, ids, *other, MESSAGE_MOVE), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM chunks"), 0);
    // Into a folder that was opened for reading nothing goes.
    EXPECT_EQ(CopyMessages(*other, {}, *Inbox(0), 0), MAPI_E_NO_ACCESS);
}

TEST_F(FolderCopyTest, FoldersGoToAnotherStoreWithAllBelowThem)
{
    auto other = OtherInbox();
    auto project = Create(*FInbox, u"Project");
    Set(*project, {Text(tag::Comment, u"why"), Text(Named(*project, u"Owner"), u"Cem")});
    auto sub = Create(*project, u"Sub");
    SaveRich(*sub, u"deep");
    SaveRich(*project, u"hidden", MAPI_ASSOCIATED);
    EXPECT_EQ(Copy(*project, *other, u"Flat", 0), S_OK);
    EXPECT_EQ(Copy(*project, *other, nullptr, COPY_SUBFOLDERS), S_OK);
    EXPECT_EQ(Copy(*project, *other, u"PROJECT", COPY_SUBFOLDERS), MAPI_E_COLLISION);
    EXPECT_EQ(Copy(*project, *other, u"Moved", FOLDER_MOVE), S_OK);
    EXPECT_EQ(Children(*FInbox).size(), 0u);
    EXPECT_EQ(Copy(*FInbox, *other, nullptr, FOLDER_MOVE), MAPI_E_NO_ACCESS);
    EXPECT_EQ(Say(Children(*other, CONVENIENT_DEPTH)), "Flat|1|0|0; Moved|1|1|0; Sub|2|0|1; Project|1|1|0; Sub|2|0|1");
    auto moved = OpenFolderRow(FOther, FOther->Db().Scalar("SELECT id FROM folders WHERE name = 'Moved'"), true);
    EXPECT_EQ(Say(*moved, {tag::Comment, Named(*moved, u"Owner")}), "why|Cem");
    EXPECT_EQ(Contents(*moved, MAPI_ASSOCIATED).size(), 1u);
}

TEST_F(FolderCopyTest, ACopyOfTheFileIsAnotherStore)
{
    const Bytes old = Save(*NewMessage(*FInbox, u"in both"));
    Db().Execute("VACUUM INTO '" + OtherFile().string() + "'");
    FOther = StoreFile::Open(OtherFile());
    ASSERT_EQ(FOther->Id(), FStoreFile->Id());
    auto other = OtherInbox();
    auto folder = Create(*FInbox, u"new");
    Create(*folder, u"below");
    const Bytes id = SaveRich(*folder, u"here only");
    Create(*other, u"has the row of the new folder");
    EXPECT_EQ(CopyMessages(*folder, {id}, *other, 0), S_OK);
    EXPECT_EQ(Copy(*folder, *other, nullptr, FOLDER_MOVE), S_OK);
    EXPECT_EQ(CopyMessages(*FInbox, {old}, *other, MESSAGE_MOVE), S_OK);
    EXPECT_EQ(Children(*FInbox).size() + Contents(*FInbox).size(), 0u);
    EXPECT_EQ(Children(*other, CONVENIENT_DEPTH).size(), 3u);
    ASSERT_EQ(Contents(*other).size(), 3u);
    Save(*NewMessage(*FInbox, u"to the same folder of the other"));
    EXPECT_EQ(CopyAll(*FInbox, IID_IMAPIFolder, *other, 0), S_OK);
    EXPECT_EQ(Contents(*other).size(), 4u);
    // Another connection to the same file is the same store.
    auto again = OpenSpecial(StoreFile::Open(File()), SpecialFolder::Drafts);
    const Bytes kept = Save(*NewMessage(*FInbox, u"moves"));
    EXPECT_EQ(CopyMessages(*FInbox, {kept}, *again, MESSAGE_MOVE), S_OK);
    EXPECT_EQ(IdOf(*Opened<IMessage>(*again, kept)), kept);
}

TEST_F(FolderCopyTest, TwoUsersMoveBetweenTwoStoresInOppositeDirections)
{
    static constexpr std::size_t Messages = 40;
    OtherInbox();
    for (const StorePtr& store : {FStoreFile, FOther})
        for (std::size_t i = 0; i < Messages; ++i)
            Save(*NewMessage(*OpenSpecial(store), u"m"));
    const auto user = [&](bool there, bool ownConnections) {
        return std::thread([this, there, ownConnections] {
            const StorePtr one = ownConnections ? StoreFile::Open(File()) : FStoreFile;
            const StorePtr two = ownConnections ? StoreFile::Open(OtherFile()) : FOther;
            const auto open = [](const StorePtr& store, SpecialFolder which) {
                const std::lock_guard lock(store->Lock()); // the other user may have the same connection
                return OpenSpecial(store, which);
            };
            auto from = open(there ? one : two, SpecialFolder::Inbox);
            auto to = open(there ? two : one, SpecialFolder::Outbox);
            const auto rows = Contents(*from);
            ASSERT_GE(rows.size(), Messages);
            for (std::size_t i = 0; i < Messages; ++i)
                EXPECT_EQ(CopyMessages(*from, {BytesAt(rows[i], 1)}, *to, MESSAGE_MOVE), S_OK);
        });
    };
    for (const bool own : {false, true}) {
        std::thread users[] = {user(true, own), user(false, own)};
        for (auto& one : users)
            one.join();
        for (const StorePtr& store : {FStoreFile, FOther}) {
            EXPECT_EQ(Contents(*OpenSpecial(store)).size(), 0u);
            auto outbox = OpenSpecial(store, SpecialFolder::Outbox);
            std::vector<Bytes> ids;
            for (const Props& row : Contents(*outbox))
                ids.push_back(BytesAt(row, 1));
            EXPECT_EQ(ids.size(), Messages);
            EXPECT_EQ(CopyMessages(*outbox, ids, *OpenSpecial(store), MESSAGE_MOVE), S_OK);
        }
    }
}

TEST_F(FolderCopyTest, WhatSomebodyChangesWhileItMovesToAnotherStoreStays)
{
    auto other = OtherInbox();
    auto folder = Create(*FInbox, u"moving");
    const std::vector<Bytes> ids = {Save(*NewMessage(*folder, u"one")), Save(*NewMessage(*folder, u"two"))};
    auto second = OpenAnother(); // somebody else, who writes while the copy is under way
    Ptr<RecordingProgress> progress(new RecordingProgress);
    progress->onReport = [&](std::size_t number) {
        if (number != 2)
            return;
        auto message = Opened<IMessage>(*second, ids[0]);
        Set(*message, {Text(tag::Subject, u"changed")});
        EXPECT_EQ(message->SaveChanges(0), S_OK);
    };
    EXPECT_EQ(Copy(*folder, *other, nullptr, FOLDER_MOVE, progress.Get()), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Contents(*folder).size(), 2u);
    EXPECT_EQ(Children(*other).size(), 1u);
    progress->reports.clear();
    EXPECT_EQ(CopyMessages(*folder, ids, *other, MESSAGE_MOVE, progress.Get()), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_TRUE(Say(Contents(*folder)).starts_with("changed|")) << Say(Contents(*folder));
    EXPECT_EQ(Contents(*folder).size(), 1u);
    EXPECT_EQ(Contents(*other).size(), 2u);
}

TEST_F(FolderCopyTest, ReadFlagsThatChangeWhileMessagesMoveAreNotLost)
{
    auto other = OtherInbox();
    std::vector<Bytes> ids;
    for (int i = 0; i < 3; ++i) {
        auto message = NewMessage(*FInbox, u"unread");
        Set(*message, {Long(tag::MessageFlags, 0)});
        ids.push_back(Save(*message));
    }
    auto second = OpenAnother();
    Ptr<RecordingProgress> progress(new RecordingProgress);
    progress->onReport = [&](std::size_t number) { // when all have been copied, but not yet removed
        if (number != 4)
            return;
        auto folder = Opened<IMAPIFolder>(*second, IdOf(*FInbox));
        EXPECT_EQ(folder->SetReadFlags(Ids({ids[0]}), 0, nullptr, 0), S_OK);
        EXPECT_EQ(folder->SetMessageStatus(static_cast<ULONG>(ids[1].size()), AsEntry(ids[1]), MSGSTATUS_TAGGED,
                                           MSGSTATUS_TAGGED, nullptr),
                  S_OK);
    };
    EXPECT_EQ(CopyMessages(*FInbox, ids, *other, MESSAGE_MOVE, progress.Get()), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Contents(*FInbox).size(), 2u);
    EXPECT_EQ(Get(*FInbox, tag::ContentUnread).Number(), 1);
    EXPECT_EQ(Contents(*other).size(), 3u);
}

TEST_F(FolderCopyTest, WhatCannotBeRemovedAfterItWasCopiedIsToldAsDoneInPart)
{
    auto other = OtherInbox();
    auto folder = Create(*FInbox, u"stays");
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
    auto other = OtherInbox();
    const Bytes drafts = Get(*FInbox, tag::IpmDrafts).Blob();
    const Bytes otherDrafts = Get(*other, tag::IpmDrafts).Blob();
    ASSERT_FALSE(drafts.empty());
    Set(*FInbox, {Text(tag::Comment, u"travels")});
    EXPECT_EQ(CopyAll(*FInbox, IID_IMAPIFolder, *other, MAPI_MOVE), S_OK);
    EXPECT_EQ(Get(*other, tag::Comment).Wide(), u"travels");
    EXPECT_EQ(Get(*other, tag::IpmDrafts).Blob(), otherDrafts);
    EXPECT_EQ(Get(*FInbox, tag::IpmDrafts).Blob(), drafts);
    EXPECT_FALSE(Get(*FInbox, tag::AdditionalRen).IsError());
    auto parent = Create(*OpenFolder(Get(*FStore, tag::IpmSubtree).Blob()), u"parent");
    for (IMAPIFolder* target : {parent.Get(), other.Get()}) {
        EXPECT_EQ(Copy(*FInbox, *target, u"copy", 0), S_OK);
        const StorePtr& store = target == other.Get() ? FOther : FStoreFile;
        auto copy = OpenFolderRow(store, store->Db().Scalar("SELECT id FROM folders WHERE name = 'copy'"), true);
        EXPECT_EQ(Say(*copy, {tag::IpmDrafts, tag::IpmTask, tag::AdditionalRen}), "-|-|-");
    }
    // The same of the store itself.
    auto otherStore = OpenStoreObject(FOther, true, false);
    const Bytes subtree = Get(*otherStore, tag::IpmSubtree).Blob();
    EXPECT_EQ(CopyAll(*FStore, IID_IMsgStore, *otherStore, 0), S_OK);
    EXPECT_EQ(Get(*otherStore, tag::IpmSubtree).Blob(), subtree);
}

TEST_F(FolderCopyTest, CopyToTakesContentsAndSubfoldersButNoName)
{
    for (const bool across : {false, true}) {
        auto from = Create(*FInbox, across ? u"from again" : u"from");
        auto to = Create(across ? *OtherInbox() : *FInbox, u"to");
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
        EXPECT_EQ(Say(*to, {tag::DisplayName, tag::Comment, tag::ContainerClass}), "to|old|IPF.Task");
        EXPECT_EQ(Contents(*to).size(), 1u);
        EXPECT_EQ(Contents(*to, MAPI_ASSOCIATED).size() + Children(*to).size(), 0u);
        EXPECT_EQ(copy(nullptr, *to, MAPI_MOVE), S_OK);
        EXPECT_EQ(Contents(*to).size(), 2u);
        EXPECT_EQ(Contents(*to, MAPI_ASSOCIATED).size(), 1u);
        EXPECT_GE(Children(*to).size(), 1u);
        EXPECT_EQ(ContentsOfBothKinds(*from) + Children(*from).size(), 0u);
        EXPECT_EQ(Say(*to, {tag::Comment}) + Say(*from, {tag::Comment}), "new-"); // moved away
    }
}

TEST_F(FolderCopyTest, WhatTheDestinationKeepsIsNotTakenFromTheSource)
{
    auto from = NewMessage(*FInbox, u"source");
    auto to = NewMessage(*FInbox, u"target");
    Set(*from, {Text(tag::Body, u"text"), Text(tag::InternetMessageId, u"<1>")});
    const auto shown = [](IMessage& message) {
        return Say(message, {tag::Subject, tag::Body, tag::InternetMessageId});
    };
    EXPECT_EQ(CopySome(*from, {tag::Subject, tag::Body}, IID_IMessage, *to, MAPI_MOVE | MAPI_NOREPLACE), S_OK);
    EXPECT_EQ(shown(*to), "target|text|-");
    EXPECT_EQ(shown(*from), "source|-|<1>"); // the subject was not replaced there, so it is not lost here
    EXPECT_EQ(CopyAll(*from, IID_IMessage, *to, MAPI_MOVE | MAPI_NOREPLACE), S_OK);
    EXPECT_EQ(shown(*to), "target|text|<1>");
    EXPECT_EQ(shown(*from), "source|-|-");
}

TEST_F(FolderCopyTest, EmbeddedMessagesMoveOnlyWhereTheyAreTaken)
{
    auto message = OpenMessage(SaveRich(*FInbox, u"source"));
    auto to = NewMessage(*FInbox, u"target");
    auto source = OpenAttachment(*message, 0);
    auto target = NewAttachment(*to);
    Set(*target, {Binary(tag::AttachDataBin, {1})});
    constexpr ULONG DataOfAnyType = PROP_TAG(PT_UNSPECIFIED, PROP_ID(tag::AttachDataObj));
    EXPECT_EQ(source->CopyTo(1, &IID_IMessage, nullptr, 0, nullptr, &IID_IAttachment, target.Get(), MAPI_MOVE, nullptr),
              S_OK);
    EXPECT_EQ(CopyAll(*source, IID_IMessage, *to, MAPI_MOVE), S_OK);
    EXPECT_EQ(CopySome(*source, {tag::AttachDataBin}, IID_IMessage, *to, MAPI_MOVE), S_OK);
    for (const ULONG tag : {DataOfAnyType, tag::AttachDataObj, tag::AttachDataBin})
        EXPECT_EQ(CopySome(*source, {tag}, IID_IAttachment, *target, MAPI_MOVE | MAPI_NOREPLACE), S_OK);
    EXPECT_EQ(Get(*target, tag::AttachDataBin).Blob(), Bytes{1});
    EXPECT_EQ(Get(*source, tag::AttachDataObj).value->ulPropTag, tag::AttachDataObj);
    EXPECT_EQ(CopySome(*source, {DataOfAnyType}, IID_IAttachment, *target, MAPI_MOVE), S_OK);
    EXPECT_EQ(Get(*source, tag::AttachDataObj).Error(), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Get(*target, tag::AttachDataObj).value->ulPropTag, tag::AttachDataObj);
}

TEST_F(FolderCopyTest, ValuesOfAnotherTypeAreKeptAndMissingOnesNameNothing)
{
    auto from = NewMessage(*FInbox, u"source");
    auto to = NewMessage(*OtherInbox(), u"target");
    constexpr ULONG Number = PROP_TAG(PT_LONG, 0x6601);
    constexpr ULONG Words = CHANGE_PROP_TYPE(Number, PT_UNICODE);
    Set(*from, {Text(Words, u"text")});
    Set(*to, {Long(Number, 7)});
    ULONG missing = Named(*from, u"Nobody has set it");
    EXPECT_EQ(CopySome(*from, {Words, missing}, IID_IMessage, *to, MAPI_MOVE | MAPI_NOREPLACE), S_OK);
    EXPECT_EQ(Say(*to, {Number}) + Say(*from, {Words}), "7text");
    // Asked with another type it is not found, and nothing is taken either.
    EXPECT_EQ(CopySome(*from, {Number}, IID_IMessage, *to, MAPI_MOVE), S_OK);
    EXPECT_EQ(Say(*from, {Words}), "text");
    EXPECT_EQ(TagOf(*to, u"Nobody has set it", 0, missing), MAPI_W_ERRORS_RETURNED);
}

TEST_F(FolderCopyTest, RecipientsAndAttachmentsAreKeptReplacedOrMoved)
{
    const Bytes ids[] = {SaveRich(*FInbox, u"source"), SaveRich(*FInbox, u"target")};
    auto from = OpenMessage(ids[0]);
    auto to = OpenMessage(ids[1]);
    ASSERT_EQ(Modify(*to, 0, {{u"Cid", u"cid@example.com"}}), S_OK);
    const auto copy = [&](ULONG flags, IMAPIProgress* progress = nullptr) {
        return CopyAll(*from, IID_IMessage, *to, flags, progress);
    };
    const auto shown = [&] {
        const auto of = [](IMessage& message) {
            return Say(message, {tag::DisplayTo, tag::HasAttach}) + "|" + std::to_string(Files(message).size());
        };
        return of(*from) + " > " + of(*to);
    };
    EXPECT_EQ(copy(MAPI_MOVE | MAPI_NOREPLACE), S_OK);
    EXPECT_EQ(shown(), "Ann; Bob|1|1 > Cid|1|1");

    Ptr<RecordingProgress> progress(new RecordingProgress);
    for (int twice = 0; twice < 2; ++twice) {
        progress->reports.clear();
        EXPECT_EQ(copy(0, progress.Get()), S_OK);
        EXPECT_EQ(shown(), "Ann; Bob|1|1 > Ann; Bob|1|1");
        EXPECT_EQ(progress->reports.back().count, progress->reports.size() - 1);
        EXPECT_EQ(progress->reports.back().count, progress->reports.back().total);
    }
    progress->cancelAfter = 4;
    progress->reports.clear();
    EXPECT_EQ(copy(MAPI_MOVE, progress.Get()), MAPI_E_USER_CANCEL);
    EXPECT_EQ(Files(*from).size(), 1u);
    EXPECT_EQ(copy(MAPI_MOVE), S_OK);
    EXPECT_EQ(shown(), "|0|0 > Ann; Bob|1|1");
    Save(*from);
    Save(*to);
    // The same of an attachment whose message moves to another one.
    auto source = OpenAttachment(*to, static_cast<ULONG>(NumberAt(Files(*to).at(0), 1)));
    auto target = NewAttachment(*from);
    EXPECT_EQ(CopyAll(*source, IID_IAttachment, *target, MAPI_MOVE), S_OK);
    EXPECT_EQ(Get(*source, tag::AttachDataObj).Error(), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Get(*target, tag::AttachDataObj).value->ulPropTag, tag::AttachDataObj);
    EXPECT_EQ(source->SaveChanges(0), S_OK);
    Save(*to);
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM messages WHERE folder IS NULL"), 0) << "the other is not saved yet";
}

TEST_F(FolderCopyTest, ProgressIsToldItemByItemAndCancelsAll)
{
    auto folder = Create(*FInbox, u"Folder");
    auto target = Create(*FInbox, u"Target");
    auto child = Create(*folder, u"Child");
    std::vector<Bytes> ids;
    for (int i = 0; i < 9; ++i)
        ids.push_back(Save(*NewMessage(*(i < 6 ? folder : child), u"m")));
    ids.resize(6);
    Ids list(ids);
    auto other = OtherInbox();
    auto second = Create(*FInbox, u"Second");
    const std::tuple<const char*, ULONG, std::function<HRESULT(IMAPIProgress*)>> calls[] = {
        {"SetReadFlags", 1, [&](auto* p) { return folder->SetReadFlags(list, 0, p, 0); }},
        {"SetReadFlags of all", 1, [&](auto* p) { return folder->SetReadFlags(nullptr, 0, p, CLEAR_READ_FLAG); }},
        {"CopyMessages", 6, [&](auto* p) { return CopyMessages(*folder, ids, *target, 0, p); }},
        {"CopyMessages there", 6, [&](auto* p) { return CopyMessages(*folder, ids, *other, 0, p); }},
        {"CopyFolder", 11, [&](auto* p) { return Copy(*folder, *target, nullptr, COPY_SUBFOLDERS, p); }},
        {"CopyTo", 10, [&](auto* p) { return CopyAll(*folder, IID_IMAPIFolder, *second, 0, p); }},
        {"CopyFolder there", 11, [&](auto* p) { return Copy(*folder, *other, nullptr, FOLDER_MOVE, p); }},
        {"EmptyFolder", 17, [&](auto* p) { return target->EmptyFolder(0, p, 0); }},
        {"DeleteFolder", 1, [&](auto* p) { return Delete(*FInbox, IdOf(*target), 0, p); }}};
    const auto states = [&] {
        const auto sum = "SELECT sum(content_count * 100 + unread_count) + count(*) * 10000 FROM folders";
        return std::pair(Db().Scalar(sum), FOther->Db().Scalar(sum));
    };
    for (const auto& [name, items, call] : calls) {
        SCOPED_TRACE(name);
        Ptr<RecordingProgress> cancelling(new RecordingProgress);
        cancelling->cancelAfter = items > 1 ? 3 : 1;
        const auto before = states();
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
            for (IMAPIFolder* store : {FInbox.Get(), across ? other.Get() : FInbox.Get()}) {
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
