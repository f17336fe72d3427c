// Search folders: what they show and how they keep up with changes, what they refuse, and what is said of them.
#include "tests/client/FolderFixture.hpp"

#include <random>

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

/// A restriction with what it points to.
struct Wanted
{
    SPropValue value{};
    SRestriction restriction{};
};

class SearchFolderTest : public FolderCalls
{
protected:
    static std::unique_ptr<Wanted> SubjectContains(const char16_t* text)
    {
        auto wanted = std::make_unique<Wanted>();
        wanted->value = Text(tag::Subject, text);
        wanted->restriction.rt = RES_CONTENT;
        wanted->restriction.res.resContent = {FL_SUBSTRING | FL_IGNORECASE, tag::Subject, &wanted->value};
        return wanted;
    }
    static HRESULT Search(IMAPIFolder& search, Wanted* wanted, const std::vector<Bytes>& folders, ULONG flags)
    {
        std::vector<SBinary> entries;
        ENTRYLIST list = AsList(folders, entries);
        return search.SetSearchCriteria(wanted ? &wanted->restriction : nullptr, folders.empty() ? nullptr : &list,
                                        flags);
    }
    [[nodiscard]] Ptr<IMAPIFolder> Finder() const { return OpenFolder(Get(*FStore, tag::Finder).Blob()); }
    [[nodiscard]] Ptr<IMAPIFolder> NewSearch(const char16_t* name) const
    {
        return Create(*Finder(), name, 0, S_OK, FOLDER_SEARCH);
    }
    static std::vector<std::u16string> Shown(IMAPIFolder& folder)
    {
        std::vector<std::u16string> subjects;
        for (const Props& row : Contents(folder))
            subjects.push_back(WideAt(row, 0));
        std::sort(subjects.begin(), subjects.end());
        return subjects;
    }
    static void Rename(IMessage& message, const char16_t* subject)
    {
        Set(message, {Text(tag::Subject, subject)});
        EXPECT_EQ(message.SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    }
    static Ptr<IMessage> NewUnread(IMAPIFolder& folder, const char16_t* subject)
    {
        auto message = NewMessage(folder, subject);
        Set(*message, {Long(tag::MessageFlags, 0)});
        return message;
    }
    using Subjects = std::vector<std::u16string>;
};

TEST_F(SearchFolderTest, FindsWhatIsThereAndFollowsWhatChanges)
{
    auto inbox = Inbox();
    auto sub = Create(*inbox, u"sub");
    auto outside = Create(*OpenFolder(Get(*FStore, tag::IpmSubtree).Blob()), u"outside");
    Save(*NewUnread(*inbox, u"red one"));
    auto second = NewUnread(*sub, u"two RED");
    const Bytes id = Save(*second);
    Save(*NewUnread(*sub, u"blue"));
    Save(*NewUnread(*outside, u"red elsewhere"));
    auto search = NewSearch(u"Red");
    EXPECT_EQ(Get(*search, tag::FolderType).Number(), LONG(FOLDER_SEARCH));
    EXPECT_EQ(Search(*search, SubjectContains(u"red").get(), {IdOf(*inbox)}, RECURSIVE_SEARCH), S_OK);
    Ptr<IMAPITable> table;
    ASSERT_EQ(search->GetContentsTable(MAPI_UNICODE, Out(table)), S_OK);
    EXPECT_EQ(Shown(*search), (Subjects{u"red one", u"two RED"}));
    EXPECT_EQ(Get(*search, tag::ContentUnread).Number(), 2);
    for (const Props& row : Rows(*table, {tag::Subject, tag::ParentEntryId, tag::EntryId})) {
        const bool first = WideAt(row, 0) == u"red one";
        EXPECT_EQ(BytesAt(row, 1), first ? IdOf(*inbox) : IdOf(*sub)); // where it really lies
        EXPECT_EQ(Get(*OpenMessage(BytesAt(row, 2), 0), tag::Subject).Wide(), WideAt(row, 0));
    }
    SSortOrderSet byFolder{1, 0, 0, {{tag::ParentEntryId, TABLE_SORT_DESCEND}}};
    EXPECT_EQ(table->SortTable(&byFolder, 0), S_OK);
    EXPECT_EQ(WideAt(Rows(*table, {tag::Subject}).at(0), 0), u"two RED"); // the folder that was made later
    // Changes of each kind, by this and by another connection.
    auto other = OpenAnother();
    const auto expect = [&](const Subjects& subjects, LONG unread) {
        EXPECT_EQ(Shown(*search), subjects);
        EXPECT_EQ(Get(*search, tag::ContentCount).Number(), static_cast<LONG>(subjects.size()));
        EXPECT_EQ(Get(*search, tag::ContentUnread).Number(), unread);
        ULONG count = 0;
        EXPECT_EQ(table->GetRowCount(0, &count), S_OK); // opened before
        EXPECT_EQ(count, subjects.size());
    };
    Rename(*second, u"two green");
    expect({u"red one"}, 1);
    Rename(*second, u"two red");
    EXPECT_EQ(second->SetReadFlag(0), S_OK);
    expect({u"red one", u"two red"}, 1);
    EXPECT_EQ(CopyMessages(*sub, {id}, *inbox, 0), S_OK);
    expect({u"red one", u"two red", u"two red"}, 1);
    EXPECT_EQ(CopyMessages(*sub, {id}, *outside, MESSAGE_MOVE), S_OK);
    expect({u"red one", u"two red"}, 1);
    EXPECT_EQ(Copy(*outside, *sub, nullptr, FOLDER_MOVE), S_OK); // what lies in it comes along
    expect({u"red elsewhere", u"red one", u"two red", u"two red"}, 2);
    const auto changes = [&] { return Db().Scalar("SELECT changes FROM folders WHERE name = 'Red'"); };
    const std::int64_t before = changes();
    EXPECT_EQ(Copy(*outside, *inbox, u"still inside", FOLDER_MOVE), S_OK);
    EXPECT_EQ(Copy(*outside, *sub, nullptr, FOLDER_MOVE), S_OK);
    EXPECT_EQ(changes(), before); // nothing is looked at again for that
    EXPECT_EQ(sub->SetReadFlags(nullptr, 0, nullptr, 0), S_OK);
    EXPECT_EQ(search->SetReadFlags(nullptr, 0, nullptr, 0), S_OK); // all that it shows
    expect({u"red elsewhere", u"red one", u"two red", u"two red"}, 0);
    EXPECT_EQ(Get(*inbox, tag::ContentUnread).Number(), 0);
    EXPECT_EQ(Delete(*inbox, IdOf(*sub), DEL_FOLDERS | DEL_MESSAGES), S_OK);
    expect({u"red one", u"two red"}, 0);
    // Deleting what it shows deletes the message where it lies.
    std::vector<SBinary> entries;
    const std::vector<Bytes> ids = {BytesAt(Contents(*search).at(0), 1)};
    ENTRYLIST list = AsList(ids, entries);
    EXPECT_EQ(search->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    EXPECT_EQ(Contents(*inbox).size(), 1u);
    expect({u"two red"}, 0);
    // Reopened, sorted and restricted further.
    const Bytes searchId = IdOf(*search);
    search.Reset();
    auto wanted = SubjectContains(u"TWO");
    SSortOrderSet order{1, 0, 0, {{tag::Subject, TABLE_SORT_DESCEND}}};
    EXPECT_EQ(table->SortTable(&order, 0), S_OK);
    EXPECT_EQ(table->Restrict(&wanted->restriction, 0), S_OK);
    EXPECT_EQ(Rows(*table, {tag::Subject}).size(), 1u);
    table.Reset();
    FStore.Reset();
    FStoreFile = StoreFile::Open(File());
    FStore = OpenStoreObject(FStoreFile, true, true);
    inbox = Inbox();
    Save(*NewUnread(*inbox, u"another red one"));
    EXPECT_EQ(Shown(*OpenFolder(searchId)), (Subjects{u"another red one", u"two red"}));
    EXPECT_NE(Get(*FStore, tag::StoreState).Number() & LONG(STORE_HAS_SEARCHES), 0);
    EXPECT_EQ(Delete(*Finder(), searchId, 0), S_OK); // the messages are not its own
    EXPECT_EQ(Contents(*inbox).size(), 2u);
    EXPECT_EQ(Db().Scalar("SELECT (SELECT count(*) FROM search_links) + (SELECT count(*) FROM searches)"), 0);
}

TEST_F(SearchFolderTest, CriteriaComeBackAsTheyWereGiven)
{
    auto inbox = Inbox();
    auto sub = Create(*inbox, u"sub");
    auto search = NewSearch(u"s");
    LPSRestriction restriction = nullptr;
    LPENTRYLIST folders = nullptr;
    ULONG state = 0;
    const auto get = [&](ULONG flags) { return search->GetSearchCriteria(flags, &restriction, &folders, &state); };
    const auto freeAll = [&] {
        FreeBuffer(restriction);
        FreeBuffer(folders);
    };
    EXPECT_EQ(get(0), MAPI_E_NOT_INITIALIZED);
    EXPECT_EQ(Search(*search, nullptr, {IdOf(*inbox)}, 0), MAPI_E_NOT_INITIALIZED);
    EXPECT_EQ(inbox->GetSearchCriteria(0, nullptr, nullptr, nullptr), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Search(*inbox, SubjectContains(u"x").get(), {IdOf(*sub)}, 0), MAPI_E_NO_SUPPORT);

    // Of each kind one, and values of several types.
    auto subject = SubjectContains(u"\u00C4rger");
    const Bytes key = Pattern(300);
    SPropValue comment[] = {Long(0x80010003, 7), Text(tag::Comment, u"why"), Binary(tag::SearchKey, key)};
    SRestriction parts[6]{};
    parts[0] = subject->restriction;
    parts[1].rt = RES_BITMASK;
    parts[1].res.resBitMask = {BMR_EQZ, tag::MessageFlags, MSGFLAG_ASSOCIATED};
    parts[2].rt = RES_COMPAREPROPS;
    parts[2].res.resCompareProps = {RELOP_EQ, tag::SenderName, tag::SentRepName};
    parts[3].rt = RES_SIZE;
    parts[3].res.resSize = {RELOP_GT, tag::Body, 10};
    SRestriction exists{};
    exists.rt = RES_EXIST;
    exists.res.resExist.ulPropTag = tag::AttachFileName;
    parts[4].rt = RES_SUBRESTRICTION;
    parts[4].res.resSub = {tag::MessageAttachments, &exists};
    SRestriction isComment{};
    isComment.rt = RES_COMMENT;
    isComment.res.resComment = {3, &parts[1], comment};
    parts[5].rt = RES_NOT;
    parts[5].res.resNot.lpRes = &isComment;
    Wanted all;
    all.restriction.rt = RES_OR;
    all.restriction.res.resOr = {6, parts};
    EXPECT_EQ(Search(*search, &all, {IdOf(*inbox), IdOf(*sub)}, FOREGROUND_SEARCH | SHALLOW_SEARCH), S_OK);
    ASSERT_EQ(get(MAPI_UNICODE), S_OK);
    EXPECT_EQ(state, SEARCH_RUNNING | SEARCH_FOREGROUND);
    ASSERT_EQ(folders->cValues, 2u);
    ASSERT_EQ(restriction->rt, RES_OR);
    ASSERT_EQ(restriction->res.resOr.cRes, 6u);
    const SRestriction* back = restriction->res.resOr.lpRes;
    EXPECT_EQ(std::u16string(back[0].res.resContent.lpProp->Value.lpszW), u"\u00C4rger");
    EXPECT_EQ(back[1].res.resBitMask.ulMask, MSGFLAG_ASSOCIATED);
    EXPECT_EQ(back[2].res.resCompareProps.ulPropTag2, tag::SentRepName);
    EXPECT_EQ(back[3].res.resSize.cb, 10u);
    EXPECT_EQ(back[4].res.resSub.lpRes->res.resExist.ulPropTag, tag::AttachFileName);
    const auto& commented = back[5].res.resNot.lpRes->res.resComment;
    ASSERT_EQ(commented.cValues, 3u);
    EXPECT_EQ(commented.lpProp[0].Value.l, 7);
    EXPECT_EQ(commented.lpProp[2].Value.bin.cb, 300u);
    EXPECT_EQ(commented.lpRes->rt, RES_BITMASK);
    freeAll();
    ASSERT_EQ(get(0), S_OK); // 8-bit
    EXPECT_EQ(std::string(restriction->res.resOr.lpRes[0].res.resContent.lpProp->Value.lpszA), "\xC4rger");
    EXPECT_EQ(PROP_TYPE(restriction->res.resOr.lpRes[0].res.resContent.ulPropTag), PT_STRING8);
    freeAll();

    // Criteria that were given in 8 bits come back of one piece as well.
    Wanted narrow;
    narrow.value.ulPropTag = CHANGE_PROP_TYPE(tag::Subject, PT_STRING8);
    narrow.value.Value.lpszA = const_cast<char*>("\xC4rger");
    narrow.restriction.rt = RES_PROPERTY;
    narrow.restriction.res.resProperty = {RELOP_EQ, narrow.value.ulPropTag, &narrow.value};
    EXPECT_EQ(Search(*search, &narrow, {}, 0), S_OK);
    for (const ULONG flags : {ULONG{0}, ULONG{MAPI_UNICODE}}) {
        ASSERT_EQ(get(flags), S_OK);
        const auto& property = restriction->res.resProperty;
        EXPECT_EQ(property.ulPropTag, property.lpProp->ulPropTag);
        EXPECT_EQ(PROP_TYPE(property.ulPropTag), flags ? PT_UNICODE : PT_STRING8);
        freeAll();
    }

    // The rest stays when one is left out; a deleted folder falls out.
    EXPECT_EQ(Search(*search, nullptr, {}, RECURSIVE_SEARCH | BACKGROUND_SEARCH | STOP_SEARCH), S_OK);
    EXPECT_EQ(Delete(*inbox, IdOf(*sub), 0), S_OK);
    ASSERT_EQ(get(MAPI_UNICODE), S_OK);
    EXPECT_EQ(state, SEARCH_RECURSIVE);
    EXPECT_EQ(folders->cValues, 1u);
    freeAll();
    for (const ULONG flags :
         {STOP_SEARCH | RESTART_SEARCH, RECURSIVE_SEARCH | SHALLOW_SEARCH, FOREGROUND_SEARCH | BACKGROUND_SEARCH})
        EXPECT_EQ(Search(*search, nullptr, {}, flags), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(Search(*search, nullptr, {}, 0x80), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(Search(*search, nullptr, {IdOf(*search)}, 0), MAPI_E_NO_SUPPORT);
    Wanted bad;
    bad.restriction.rt = RES_COUNT;
    EXPECT_EQ(Search(*search, &bad, {}, 0), MAPI_E_TOO_COMPLEX);
}

TEST_F(SearchFolderTest, KeepsNothingOfItsOwn)
{
    auto inbox = Inbox();
    auto search = NewSearch(u"s");
    ASSERT_EQ(Search(*search, SubjectContains(u"").get(), {IdOf(*inbox)}, SHALLOW_SEARCH), S_OK);
    const std::vector<Bytes> ids = {Save(*NewMessage(*inbox, u"m"))};
    auto sub = Create(*inbox, u"sub");
    Ptr<IMessage> message;
    EXPECT_EQ(search->CreateMessage(nullptr, 0, Out(message)), MAPI_E_NO_ACCESS);
    EXPECT_EQ(CopyMessages(*inbox, ids, *search, 0), MAPI_E_NO_ACCESS);
    EXPECT_EQ(CopyMessages(*inbox, ids, *search, MESSAGE_MOVE), MAPI_E_NO_ACCESS);
    EXPECT_EQ(Copy(*sub, *search, nullptr, FOLDER_MOVE), MAPI_E_NO_ACCESS);
    Create(*search, u"child", 0, MAPI_E_NO_ACCESS);
    EXPECT_EQ(search->EmptyFolder(0, nullptr, 0), MAPI_E_NO_ACCESS);
    EXPECT_EQ(Get(*search, tag::Access).Number() & LONG(MAPI_ACCESS_CREATE_CONTENTS | MAPI_ACCESS_CREATE_HIERARCHY), 0);
    EXPECT_EQ(Shown(*search), (Subjects{u"m"}));
    // A copy looks for the same; into another store it cannot go.
    EXPECT_EQ(Copy(*search, *inbox, u"copy", 0), S_OK);
    const auto copy = OpenFolderRow(FStoreFile, Db().Scalar("SELECT id FROM folders WHERE name = 'copy'"), true);
    Save(*NewMessage(*inbox, u"n"));
    EXPECT_EQ(Shown(*copy), (Subjects{u"m", u"n"}));
    EXPECT_EQ(Copy(*search, *OtherInbox(), nullptr, 0), MAPI_E_NO_SUPPORT);
    // Stopped, or made once for all, it shows what it has for as long as that is there.
    EXPECT_EQ(Search(*search, nullptr, {}, STOP_SEARCH), S_OK);
    EXPECT_EQ(Search(*copy, nullptr, {}, RESTART_SEARCH | STATIC_SEARCH), S_OK);
    Save(*NewMessage(*inbox, u"o"));
    std::vector<SBinary> entries;
    ENTRYLIST list = AsList(ids, entries);
    EXPECT_EQ(inbox->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    EXPECT_EQ(Shown(*search), (Subjects{u"n"}));
    EXPECT_EQ(Shown(*copy), (Subjects{u"n"}));
    EXPECT_EQ(Search(*search, nullptr, {}, RESTART_SEARCH), S_OK);
    EXPECT_EQ(Shown(*search), (Subjects{u"n", u"o"}));
    // What was searched once is not searched again until that is asked for.
    const auto state = [&] {
        ULONG bits = 0;
        EXPECT_EQ(copy->GetSearchCriteria(0, nullptr, nullptr, &bits), S_OK);
        return bits;
    };
    EXPECT_EQ(state(), SEARCH_STATIC);
    EXPECT_EQ(Search(*copy, nullptr, {}, FOREGROUND_SEARCH | RECURSIVE_SEARCH), S_OK);
    EXPECT_EQ(Shown(*copy), (Subjects{u"n"}));
    EXPECT_EQ(state(), SEARCH_STATIC | SEARCH_FOREGROUND | SEARCH_RECURSIVE);
    EXPECT_EQ(Search(*copy, nullptr, {}, RESTART_SEARCH | SHALLOW_SEARCH), S_OK);
    EXPECT_EQ(Shown(*copy), (Subjects{u"n", u"o"}));
    EXPECT_EQ(state(), SEARCH_RUNNING | SEARCH_FOREGROUND);
}

TEST_F(SearchFolderTest, AMessageThatIsDamagedIsNotFoundAndCanStillBeChanged)
{
    auto inbox = Inbox();
    std::vector<Bytes> ids;
    for (const char16_t* subject : {u"whole", u"no pieces", u"no list"}) {
        auto message = NewUnread(*inbox, subject);
        Set(*message, {Text(tag::Body, (std::u16string(20000, u'.') + u"needle").c_str())});
        ids.push_back(Save(*message));
    }
    std::vector<Ptr<IMAPIFolder>> searches;
    for (const bool opposite : {false, true}) {
        Wanted wanted;
        wanted.value = Text(tag::Body, opposite ? u"nowhere" : u"needle");
        SRestriction content{};
        content.rt = RES_CONTENT;
        content.res.resContent = {FL_SUBSTRING, tag::Body, &wanted.value};
        wanted.restriction = content;
        if (opposite) {
            wanted.restriction.rt = RES_NOT;
            wanted.restriction.res.resNot = {0, &content};
        }
        searches.push_back(NewSearch(opposite ? u"without" : u"with"));
        ASSERT_EQ(Search(*searches.back(), &wanted, {IdOf(*inbox)}, 0), S_OK);
        EXPECT_EQ(Shown(*searches.back()).size(), 3u);
    }
    const auto row = [&](std::size_t i) { return std::to_string(ParseEntryId(ids[i])->row); };
    Db().Execute("CREATE TEMP TABLE kept AS SELECT message, props FROM bags");
    Db().Execute("DELETE FROM chunks WHERE id >> 20 IN (SELECT id FROM large_values WHERE owner = 4 * " + row(1) + ")");
    Db().Execute("UPDATE bags SET props = x'01FFFFFFFF02' WHERE message = " + row(2));
    EXPECT_EQ(inbox->SetReadFlags(nullptr, 0, nullptr, 0), S_OK);
    for (const auto& search : searches) {
        EXPECT_EQ(Shown(*search), Subjects{u"whole"});
        EXPECT_EQ(Search(*search, nullptr, {}, RESTART_SEARCH), S_OK);
        EXPECT_EQ(Shown(*search), Subjects{u"whole"});
    }
    Db().Execute("UPDATE bags SET props = (SELECT props FROM kept WHERE kept.message = bags.message)");
}

TEST_F(SearchFolderTest, CountsAreThoseOfAFreshSearchAfterAnything)
{
    std::mt19937 random(3);
    const auto pick = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    auto inbox = Inbox();
    std::vector<Ptr<IMAPIFolder>> folders = {Create(*inbox, u"a"), Create(*inbox, u"b"), Create(*inbox, u"c")};
    auto search = NewSearch(u"followed");
    auto fresh = NewSearch(u"fresh");
    const std::vector<Bytes> scope = {IdOf(*folders[0]), IdOf(*folders[1])};
    const char16_t* subjects[] = {u"yes", u"no", u"yes and no"};
    ASSERT_EQ(Search(*search, SubjectContains(u"yes").get(), scope, RECURSIVE_SEARCH), S_OK);
    for (int step = 0; step < 250; ++step) {
        IMAPIFolder& folder = *folders[pick(3)];
        const auto rows = Contents(folder);
        const auto some = [&] {
            std::vector<Bytes> ids;
            for (const Props& row : rows)
                if (pick(3) == 0)
                    ids.push_back(BytesAt(row, 1));
            return ids;
        };
        const std::vector<Bytes> ids = some();
        std::vector<SBinary> entries;
        ENTRYLIST list = AsList(ids, entries);
        switch (pick(8)) {
        case 0:
        case 1:
        case 2:
            Save(*NewMessage(folder, subjects[pick(3)]));
            break;
        case 3:
            for (const Bytes& id : ids)
                Rename(*OpenMessage(id), subjects[pick(3)]);
            break;
        case 4:
            EXPECT_EQ(CopyMessages(folder, ids, *folders[pick(3)], pick(2) ? MESSAGE_MOVE : 0), S_OK);
            break;
        case 5:
            EXPECT_EQ(folder.DeleteMessages(&list, 0, nullptr, 0), S_OK);
            break;
        case 6:
            EXPECT_EQ(folder.SetReadFlags(&list, 0, nullptr, pick(2) ? CLEAR_READ_FLAG : 0), S_OK);
            break;
        default:
            static_cast<void>(Copy(*folders[2], pick(2) ? *folders[0] : *inbox, nullptr, FOLDER_MOVE));
        }
        if (step % 10 != 9)
            continue;
        ASSERT_EQ(Search(*fresh, SubjectContains(u"yes").get(), scope, RECURSIVE_SEARCH | STATIC_SEARCH), S_OK);
        ASSERT_EQ(Shown(*search), Shown(*fresh)) << step;
        ASSERT_EQ(Get(*search, tag::ContentCount).Number(), Get(*fresh, tag::ContentCount).Number()) << step;
        ASSERT_EQ(Get(*search, tag::ContentUnread).Number(), Get(*fresh, tag::ContentUnread).Number()) << step;
    }
}

TEST_F(SearchFolderTest, ACopyShowsWhatTheOriginalShows)
{
    auto inbox = Inbox();
    Save(*NewUnread(*inbox, u"red one"));
    auto search = NewSearch(u"Red");
    EXPECT_EQ(Search(*search, SubjectContains(u"red").get(), {IdOf(*inbox)}, 0), S_OK);
    const auto expectCopy = [&](const char* name, const Subjects& subjects) {
        EXPECT_EQ(Copy(*search, *Finder(), KwFromUtf8(name).c_str(), 0), S_OK);
        auto copy = OpenFolderRow(FStoreFile,
                                  Db().Scalar("SELECT id FROM folders WHERE name = '" + std::string(name) + "'"), true);
        EXPECT_EQ(Shown(*copy), subjects);
        EXPECT_EQ(Get(*copy, tag::ContentCount).Number(), static_cast<LONG>(subjects.size()));
        EXPECT_EQ(Get(*copy, tag::ContentUnread).Number(), static_cast<LONG>(subjects.size()));
        return copy;
    };
    auto running = expectCopy("running", {u"red one"});
    EXPECT_EQ(Search(*search, nullptr, {}, STOP_SEARCH), S_OK);
    Save(*NewUnread(*inbox, u"red two"));
    EXPECT_EQ(Shown(*running), (Subjects{u"red one", u"red two"}));
    expectCopy("stopped", {u"red one"});
    // Criteria that cannot be read are copied as they are.
    Db().Prepare("UPDATE searches SET restriction = x'01' WHERE state = 0").Run();
    expectCopy("damaged", {u"red one"});
    // A folder that a search shows is not where messages are delivered.
    const Bytes id = IdOf(*search);
    EXPECT_EQ(FStore->SetReceiveFolder(const_cast<char16_t*>(u"IPM"), MAPI_UNICODE, static_cast<ULONG>(id.size()),
                                       AsEntry(id)),
              MAPI_E_NO_ACCESS);
}

} // namespace
} // namespace deftmapi::client::test
