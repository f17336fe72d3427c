// Search folders: what they show and how they keep up with changes, what they refuse, and what is said of them.
#include "tests/client/FolderFixture.hpp"
#include "tests/client/TableConditions.hpp"

#include <random>

namespace deftmapi::client::test
{
namespace
{

class SearchFolderTest : public FolderCalls
{
protected:
    static Condition SubjectHas(const char16_t* text) { return Has(Text(tag::Subject, text)); }
    static HRESULT Search(IMAPIFolder& search, LPSRestriction wanted, const std::vector<Bytes>& folders, ULONG flags)
    {
        Ids list(folders);
        return search.SetSearchCriteria(wanted, folders.empty() ? nullptr : static_cast<LPENTRYLIST>(list), flags);
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
    auto sub = Create(*FInbox, u"sub");
    auto outside = Create(*OpenFolder(Get(*FStore, tag::IpmSubtree).Blob()), u"outside");
    Save(*NewUnread(*FInbox, u"red one"));
    auto second = NewUnread(*sub, u"two RED");
    const Bytes id = Save(*second);
    Save(*NewUnread(*sub, u"blue"));
    Save(*NewUnread(*outside, u"red elsewhere"));
    auto search = NewSearch(u"Red");
    EXPECT_EQ(Get(*search, tag::FolderType).Number(), LONG(FOLDER_SEARCH));
    EXPECT_EQ(Search(*search, SubjectHas(u"red"), {IdOf(*FInbox)}, RECURSIVE_SEARCH), S_OK);
    auto table = ContentsTable(*search);
    EXPECT_EQ(Shown(*search), (Subjects{u"red one", u"two RED"}));
    EXPECT_EQ(Get(*search, tag::ContentUnread).Number(), 2);
    for (const Props& row : Rows(*table, {tag::Subject, tag::ParentEntryId, tag::EntryId})) {
        const bool first = WideAt(row, 0) == u"red one";
        EXPECT_EQ(BytesAt(row, 1), first ? IdOf(*FInbox) : IdOf(*sub)); // where it really lies
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
    EXPECT_EQ(CopyMessages(*sub, {id}, *FInbox, 0), S_OK);
    expect({u"red one", u"two red", u"two red"}, 1);
    EXPECT_EQ(CopyMessages(*sub, {id}, *outside, MESSAGE_MOVE), S_OK);
    expect({u"red one", u"two red"}, 1);
    EXPECT_EQ(Copy(*outside, *sub, nullptr, FOLDER_MOVE), S_OK); // what lies in it comes along
    expect({u"red elsewhere", u"red one", u"two red", u"two red"}, 2);
    const auto changes = [&] { return Db().Scalar("SELECT changes FROM folders WHERE name = 'Red'"); };
    const std::int64_t before = changes();
    EXPECT_EQ(Copy(*outside, *FInbox, u"still inside", FOLDER_MOVE), S_OK);
    EXPECT_EQ(Copy(*outside, *sub, nullptr, FOLDER_MOVE), S_OK);
    EXPECT_EQ(changes(), before); // nothing is looked at again for that
    EXPECT_EQ(sub->SetReadFlags(nullptr, 0, nullptr, 0), S_OK);
    EXPECT_EQ(search->SetReadFlags(nullptr, 0, nullptr, 0), S_OK); // all that it shows
    expect({u"red elsewhere", u"red one", u"two red", u"two red"}, 0);
    EXPECT_EQ(Get(*FInbox, tag::ContentUnread).Number(), 0);
    EXPECT_EQ(Delete(*FInbox, IdOf(*sub), DEL_FOLDERS | DEL_MESSAGES), S_OK);
    expect({u"red one", u"two red"}, 0);
    // Deleting what it shows deletes the message where it lies.
    EXPECT_EQ(search->DeleteMessages(Ids({BytesAt(Contents(*search).at(0), 1)}), 0, nullptr, 0), S_OK);
    EXPECT_EQ(Contents(*FInbox).size(), 1u);
    expect({u"two red"}, 0);
    // Reopened, sorted and restricted further.
    const Bytes searchId = IdOf(*search);
    search.Reset();
    EXPECT_EQ(table->SortTable(SortKeys{{tag::Subject, TABLE_SORT_DESCEND}}, 0), S_OK);
    EXPECT_EQ(table->Restrict(SubjectHas(u"TWO"), 0), S_OK);
    EXPECT_EQ(Rows(*table, {tag::Subject}).size(), 1u);
    table.Reset();
    Reopen();
    FInbox = Inbox();
    Save(*NewUnread(*FInbox, u"another red one"));
    EXPECT_EQ(Shown(*OpenFolder(searchId)), (Subjects{u"another red one", u"two red"}));
    EXPECT_NE(Get(*FStore, tag::StoreState).Number() & LONG(STORE_HAS_SEARCHES), 0);
    EXPECT_EQ(Delete(*Finder(), searchId, 0), S_OK); // the messages are not its own
    EXPECT_EQ(Contents(*FInbox).size(), 2u);
    EXPECT_EQ(Db().Scalar("SELECT (SELECT count(*) FROM search_links) + (SELECT count(*) FROM searches)"), 0);
}

TEST_F(SearchFolderTest, CriteriaComeBackAsTheyWereGiven)
{
    auto sub = Create(*FInbox, u"sub");
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
    EXPECT_EQ(Search(*search, nullptr, {IdOf(*FInbox)}, 0), MAPI_E_NOT_INITIALIZED);
    EXPECT_EQ(FInbox->GetSearchCriteria(0, nullptr, nullptr, nullptr), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Search(*FInbox, SubjectHas(u"x"), {IdOf(*sub)}, 0), MAPI_E_NO_SUPPORT);

    // Of each kind one, and values of several types.
    const Bytes key = Pattern(300);
    SPropValue comment[] = {Long(0x80010003, 7), Text(tag::Comment, u"why"), Binary(tag::SearchKey, key)};
    const Condition bits = Bits(BMR_EQZ, tag::MessageFlags, MSGFLAG_ASSOCIATED);
    const Condition commentedBits(RES_COMMENT, {bits});
    commentedBits->res.resComment = {3, commentedBits.Child(), comment};
    const Condition all = Or({SubjectHas(u"\u00C4rger"), bits, Compare(RELOP_EQ, tag::SenderName, tag::SentRepName),
                              Size(RELOP_GT, tag::Body, 10),
                              AnyRow(tag::MessageAttachments, Exists(tag::AttachFileName)), Not(commentedBits)});
    EXPECT_EQ(Search(*search, all, {IdOf(*FInbox), IdOf(*sub)}, FOREGROUND_SEARCH | SHALLOW_SEARCH), S_OK);
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
    SPropValue narrow{};
    narrow.ulPropTag = CHANGE_PROP_TYPE(tag::Subject, PT_STRING8);
    narrow.Value.lpszA = const_cast<char*>("\xC4rger");
    EXPECT_EQ(Search(*search, Is(narrow), {}, 0), S_OK);
    for (const ULONG flags : {ULONG{0}, ULONG{MAPI_UNICODE}}) {
        ASSERT_EQ(get(flags), S_OK);
        const auto& property = restriction->res.resProperty;
        EXPECT_EQ(property.ulPropTag, property.lpProp->ulPropTag);
        EXPECT_EQ(PROP_TYPE(property.ulPropTag), flags ? PT_UNICODE : PT_STRING8);
        freeAll();
    }

    // The rest stays when one is left out; a deleted folder falls out.
    EXPECT_EQ(Search(*search, nullptr, {}, RECURSIVE_SEARCH | BACKGROUND_SEARCH | STOP_SEARCH), S_OK);
    EXPECT_EQ(Delete(*FInbox, IdOf(*sub), 0), S_OK);
    ASSERT_EQ(get(MAPI_UNICODE), S_OK);
    EXPECT_EQ(state, SEARCH_RECURSIVE);
    EXPECT_EQ(folders->cValues, 1u);
    freeAll();
    for (const ULONG flags :
         {STOP_SEARCH | RESTART_SEARCH, RECURSIVE_SEARCH | SHALLOW_SEARCH, FOREGROUND_SEARCH | BACKGROUND_SEARCH})
        EXPECT_EQ(Search(*search, nullptr, {}, flags), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(Search(*search, nullptr, {}, 0x80), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(Search(*search, nullptr, {IdOf(*search)}, 0), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Search(*search, Condition(RES_COUNT), {}, 0), MAPI_E_TOO_COMPLEX);
}

TEST_F(SearchFolderTest, KeepsNothingOfItsOwn)
{
    auto search = NewSearch(u"s");
    ASSERT_EQ(Search(*search, SubjectHas(u""), {IdOf(*FInbox)}, SHALLOW_SEARCH), S_OK);
    const std::vector<Bytes> ids = {Save(*NewMessage(*FInbox, u"m"))};
    auto sub = Create(*FInbox, u"sub");
    Ptr<IMessage> message;
    EXPECT_EQ(search->CreateMessage(nullptr, 0, Out(message)), MAPI_E_NO_ACCESS);
    EXPECT_EQ(CopyMessages(*FInbox, ids, *search, 0), MAPI_E_NO_ACCESS);
    EXPECT_EQ(CopyMessages(*FInbox, ids, *search, MESSAGE_MOVE), MAPI_E_NO_ACCESS);
    EXPECT_EQ(Copy(*sub, *search, nullptr, FOLDER_MOVE), MAPI_E_NO_ACCESS);
    Create(*search, u"child", 0, MAPI_E_NO_ACCESS);
    EXPECT_EQ(search->EmptyFolder(0, nullptr, 0), MAPI_E_NO_ACCESS);
    EXPECT_EQ(Get(*search, tag::Access).Number() & LONG(MAPI_ACCESS_CREATE_CONTENTS | MAPI_ACCESS_CREATE_HIERARCHY), 0);
    EXPECT_EQ(Shown(*search), (Subjects{u"m"}));
    // A copy looks for the same; into another store it cannot go.
    EXPECT_EQ(Copy(*search, *FInbox, u"copy", 0), S_OK);
    const auto copy = OpenFolderRow(FStoreFile, Db().Scalar("SELECT id FROM folders WHERE name = 'copy'"), true);
    Save(*NewMessage(*FInbox, u"n"));
    EXPECT_EQ(Shown(*copy), (Subjects{u"m", u"n"}));
    EXPECT_EQ(Copy(*search, *OtherInbox(), nullptr, 0), MAPI_E_NO_SUPPORT);
    // Stopped, or made once for all, it shows what it has for as long as that is there.
    EXPECT_EQ(Search(*search, nullptr, {}, STOP_SEARCH), S_OK);
    EXPECT_EQ(Search(*copy, nullptr, {}, RESTART_SEARCH | STATIC_SEARCH), S_OK);
    Save(*NewMessage(*FInbox, u"o"));
    EXPECT_EQ(FInbox->DeleteMessages(Ids(ids), 0, nullptr, 0), S_OK);
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
    std::vector<Bytes> ids;
    for (const char16_t* subject : {u"whole", u"no pieces", u"no list"}) {
        auto message = NewUnread(*FInbox, subject);
        Set(*message, {Text(tag::Body, (std::u16string(20000, u'.') + u"needle").c_str())});
        ids.push_back(Save(*message));
    }
    std::vector<Ptr<IMAPIFolder>> searches;
    for (const bool opposite : {false, true}) {
        const Condition content = Has(Text(tag::Body, opposite ? u"nowhere" : u"needle"), FL_SUBSTRING);
        searches.push_back(NewSearch(opposite ? u"without" : u"with"));
        ASSERT_EQ(Search(*searches.back(), opposite ? Not(content) : content, {IdOf(*FInbox)}, 0), S_OK);
        EXPECT_EQ(Shown(*searches.back()).size(), 3u);
    }
    const auto row = [&](std::size_t i) { return std::to_string(ParseEntryId(ids[i])->row); };
    Db().Execute("CREATE TEMP TABLE kept AS SELECT message, props FROM bags");
    Db().Execute("DELETE FROM chunks WHERE id >> 20 IN (SELECT id FROM large_values WHERE owner = 4 * " + row(1) + ")");
    Db().Execute("UPDATE bags SET props = x'01FFFFFFFF02' WHERE message = " + row(2));
    EXPECT_EQ(FInbox->SetReadFlags(nullptr, 0, nullptr, 0), S_OK);
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
    std::vector<Ptr<IMAPIFolder>> folders = {Create(*FInbox, u"a"), Create(*FInbox, u"b"), Create(*FInbox, u"c")};
    auto search = NewSearch(u"followed");
    auto fresh = NewSearch(u"fresh");
    const std::vector<Bytes> scope = {IdOf(*folders[0]), IdOf(*folders[1])};
    const char16_t* subjects[] = {u"yes", u"no", u"yes and no"};
    ASSERT_EQ(Search(*search, SubjectHas(u"yes"), scope, RECURSIVE_SEARCH), S_OK);
    for (int step = 0; step < 250; ++step) {
        IMAPIFolder& folder = *folders[pick(3)];
        std::vector<Bytes> ids;
        for (const Props& row : Contents(folder))
            if (pick(3) == 0)
                ids.push_back(BytesAt(row, 1));
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
            EXPECT_EQ(folder.DeleteMessages(Ids(ids), 0, nullptr, 0), S_OK);
            break;
        case 6:
            EXPECT_EQ(folder.SetReadFlags(Ids(ids), 0, nullptr, pick(2) ? CLEAR_READ_FLAG : 0), S_OK);
            break;
        default:
            static_cast<void>(Copy(*folders[2], pick(2) ? *folders[0] : *FInbox, nullptr, FOLDER_MOVE));
        }
        if (step % 10 != 9)
            continue;
        ASSERT_EQ(Search(*fresh, SubjectHas(u"yes"), scope, RECURSIVE_SEARCH | STATIC_SEARCH), S_OK);
        ASSERT_EQ(Shown(*search), Shown(*fresh)) << step;
        ASSERT_EQ(Get(*search, tag::ContentCount).Number(), Get(*fresh, tag::ContentCount).Number()) << step;
        ASSERT_EQ(Get(*search, tag::ContentUnread).Number(), Get(*fresh, tag::ContentUnread).Number()) << step;
    }
}

TEST_F(SearchFolderTest, ACopyShowsWhatTheOriginalShows)
{
    Save(*NewUnread(*FInbox, u"red one"));
    auto search = NewSearch(u"Red");
    EXPECT_EQ(Search(*search, SubjectHas(u"red"), {IdOf(*FInbox)}, 0), S_OK);
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
    Save(*NewUnread(*FInbox, u"red two"));
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
