// Searches inside subjects: what the packed subjects say must be what the rows say, for few rows that fit and for many,
// in every order, after an upgrade, inside a transaction and after it was given up.
#include "client/store/MessageRecords.hpp"
#include "client/store/SchemaVersions.hpp"
#include "client/table/Restriction.hpp"
#include "tests/client/TableConditions.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::client::test
{
namespace
{

class SubjectSearchTest : public ContentsTest
{
protected:
    static constexpr auto InboxRow = static_cast<std::int64_t>(SpecialFolder::Inbox);

    /// Rows of messages as another program would leave them; the first has the given row identifier.
    void AddRows(const std::vector<std::u16string>& subjects, std::int64_t first)
    {
        Transaction transaction(Db());
        for (std::size_t i = 0; i < subjects.size(); ++i) {
            const std::int64_t row = first + static_cast<std::int64_t>(i);
            Query insert = Db().Prepare("INSERT INTO messages (id, folder, subject, flags, delivery_time, version) "
                                        "VALUES (?1, ?2, ?3, ?4, ?5, 1)");
            insert.Bind(1, row).Bind(2, InboxRow).BindText(3, PackText(subjects[i]));
            insert.Bind(4, row % 3 != 0).Bind(5, row * 7919 % 1009).Run();
            Db().Prepare("INSERT INTO bags (message, props) VALUES (?1, x'')").Bind(1, row).Run();
        }
        FillIndexes(Db());
        Db().Execute("UPDATE folders SET changes = changes + 1, content_count = content_count + " +
                     std::to_string(subjects.size()) + " WHERE id = " + std::to_string(InboxRow));
        transaction.Commit();
    }
    /// What the evaluator says of every row, by identifier.
    std::vector<std::int64_t> Expected(const Condition& condition)
    {
        const Restriction restriction = Restriction::Parse(*condition);
        const Prop missing = ErrorProp(0, MAPI_E_NOT_FOUND);
        std::vector<std::int64_t> rows;
        Query query = Db().Prepare("SELECT id FROM messages WHERE folder = ?1 AND associated = 0");
        query.Bind(1, InboxRow);
        while (query.Step()) {
            const PropertyBag props = LoadMessage(*FStoreFile, query.Number(0)).props;
            if (restriction.Matches([&](ULONG tag) -> const Prop& {
                    const Prop* prop = props.Find(tag >> 16);
                    return prop ? *prop : missing;
                }))
                rows.push_back(query.Number(0));
        }
        std::sort(rows.begin(), rows.end());
        return rows;
    }
    static std::int64_t RowOf(const std::uint8_t* key)
    {
        std::int64_t row = 0;
        std::memcpy(&row, key, sizeof row);
        return row;
    }
    std::vector<std::int64_t> TableRows()
    {
        std::vector<std::int64_t> ids;
        for (const Props& row : Rows(*FTable, {tag::InstanceKey}, 500))
            ids.push_back(RowOf(std::get<Bytes>(row[0].data).data()));
        std::sort(ids.begin(), ids.end());
        return ids;
    }
    void ExpectRows(std::size_t count)
    {
        EXPECT_EQ(Count(), count);
        EXPECT_EQ(TableRows().size(), count);
    }
    /// All rows that FindRow comes to, one after the other.
    std::vector<std::int64_t> Found(const Condition& wanted, bool backward, std::size_t most)
    {
        std::vector<std::int64_t> ids;
        EXPECT_EQ(FTable->SetColumns(Tags{tag::InstanceKey}, 0), S_OK);
        BOOKMARK from = backward ? BOOKMARK_END : BOOKMARK_BEGINNING;
        while (ids.size() < most && FTable->FindRow(wanted, from, backward ? DIR_BACKWARD : 0) == S_OK) {
            RowSet rows;
            EXPECT_EQ(FTable->QueryRows(1, backward ? TBL_NOADVANCE : 0, rows.Out()), S_OK);
            ids.push_back(RowOf(rows->aRow[0].lpProps[0].Value.bin.lpb));
            from = BOOKMARK_CURRENT;
        }
        return ids;
    }
};

TEST_F(SubjectSearchTest, FewRowsAndManyAreFoundInEveryOrder)
{
    const std::u16string words[] = {u"Grüße aus",    u"ПРИВЕТ мир",         u"Straße",     u"ΣΊΣΥΦΟΣ",
                                    u"日本語の件名", u"\xD83D\xDE00 smile", u"İstanbul ı", u"plain text"};
    std::vector<std::u16string> subjects;
    for (int i = 0; i < 3000; ++i) {
        const std::string digits = std::to_string(i);
        std::u16string subject = words[i % 8] + u" " + std::u16string(digits.begin(), digits.end());
        if (i % 101 == 0) // too long for a page
            subject = std::u16string(static_cast<std::size_t>(i % 300), u'ü') + subject;
        subjects.push_back(i % 97 == 0 ? u"" : subject);
    }
    AddRows(subjects, 1000);
    // One whose column has the beginning only, and one that has no subject.
    Save(*NewMessage(*FInbox, (std::u16string(3000, u'x') + u"grüsse AM ENDE").c_str()));
    Save(*EmptyMessage(*FInbox));

    SortKeys sorts[] = {{},
                        {{tag::DeliveryTime, TABLE_SORT_DESCEND}},
                        {{tag::DeliveryTime, TABLE_SORT_DESCEND}, {tag::Importance, TABLE_SORT_ASCEND}},
                        {{tag::Subject, TABLE_SORT_DESCEND}}};
    // Two subjects side by side, or a number and a text, must not make one: "1\u6587", "0GRÜSSE".
    for (const std::u16string text :
         {u"grüße", u"GRÜSSE", u"привет", u"σίσυφος", u"本語", u"smile 2", u"\xD83D\xDE00", u"ı", u"i", u"12", u" ",
          u"text 7", u"7plain", u"am ende", u"\xDE00 smile", u"nowhere at all", u"e", u"xxxxxxxx"})
    {
        for (const ULONG level : {ULONG{FL_IGNORECASE}, ULONG{0}, ULONG{FL_LOOSE}}) {
            const Condition part = Has(Text(tag::Subject, text.c_str()), FL_SUBSTRING | level);
            for (const Condition& both : {And({part}), And({part, Is(Long(tag::MessageFlags, 0))})}) {
                const auto expected = Expected(both);
                for (SortKeys& sort : sorts) {
                    ASSERT_EQ(FTable->SortTable(sort, 0), S_OK);
                    ASSERT_EQ(FTable->Restrict(both, 0), S_OK);
                    ASSERT_EQ(Count(), expected.size()) << level << " " << PackText(text);
                    ASSERT_EQ(TableRows(), expected) << level << " " << PackText(text);
                    ASSERT_EQ(Count(), expected.size());
                    ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
                    constexpr std::size_t Steps = 5;
                    const auto forward = Found(both, false, Steps);
                    const auto backward = Found(both, true, expected.size() <= Steps ? Steps + 1 : Steps);
                    ASSERT_EQ(forward.size(), std::min(expected.size(), Steps)) << level << " " << PackText(text);
                    ASSERT_EQ(backward.size(), std::min(expected.size(), Steps)) << level << " " << PackText(text);
                    for (const auto& found : {forward, backward})
                        for (const std::int64_t row : found)
                            ASSERT_TRUE(std::binary_search(expected.begin(), expected.end(), row));
                }
            }
        }
    }
}

TEST_F(SubjectSearchTest, AnOpenTableFollowsItsPart)
{
    AddRows(std::vector<std::u16string>(500, u"something else"), 1000);
    ASSERT_EQ(FTable->Restrict(Has(Text(tag::Subject, u"needle")), 0), S_OK);
    EXPECT_EQ(Count(), 0u);
    const Bytes id = Save(*NewMessage(*FInbox, u"a NEEDLE in it"));
    ExpectRows(1);
    {
        Transaction given(Db()); // up: what it wrote and found is forgotten
        MessageState another = client::NewMessage(InboxRow, false);
        another.props.Set(TextProp(tag::Subject, u"another needle"));
        SaveMessage(*FStoreFile, another, false);
        ExpectRows(2);
    }
    ExpectRows(1);
    auto theirs = Opened<IMessage>(*OpenAnother(), id); // another user takes the word out and puts it in
    for (const auto& [subject, count] : {std::pair{u"nothing", 0u}, std::pair{u"Needles", 1u}}) {
        Set(*theirs, {Text(tag::Subject, subject)});
        Save(*theirs);
        ExpectRows(count);
    }
    Save(*NewMessage(*Opened<IMAPIFolder>(*OpenAnother(), InboxId()), u"needle from elsewhere"));
    ExpectRows(2);
}

TEST_F(SubjectSearchTest, AFileWithoutPagesGetsThem)
{
    FTable.Reset();
    FInbox.Reset();
    Close();
    std::filesystem::remove(File());
    CreateStoreFileOfVersion(File(), ToBytes(NewUid()), u"Old store", 5);
    {
        // More than are kept in memory at once; the last one is associated. Damaged text is no reason not to open it.
        Database old(File(), Database::Mode::Open);
        old.Execute("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 20000) "
                    "INSERT INTO messages (id, folder, associated, flags, version, subject) "
                    "SELECT 5000 + i, 3, i = 20000, 1, 1, CASE WHEN i = 1 THEN CAST(x'61F0' AS TEXT) "
                    "WHEN i % 500 = 0 THEN 'the Wanted one' ELSE 'an ordinary subject' END FROM n");
        old.Execute("INSERT INTO bags (message, props) SELECT id, x'' FROM messages");
        old.Execute("UPDATE folders SET content_count = 20000, associated_count = 1 WHERE id = 3");
    }
    Reopen();
    FInbox = Inbox();
    FTable = ContentsTable(*FInbox);
    Db().Execute("UPDATE messages SET subject = 'repaired' WHERE id = 5001");
    ASSERT_EQ(FTable->Restrict(Has(Text(tag::Subject, u"wanted")), 0), S_OK);
    ExpectRows(40);
}

TEST_F(SubjectSearchTest, DamagedSubjectsGoWithTheirFolder)
{
    AddRows({u"xa", u"a damaged one", u"X\u00e9", u"x"}, 1);
    Db().Execute("UPDATE messages SET subject = CAST(x'58F0' AS TEXT) WHERE id = 2");
    FillIndexes(Db());
    ASSERT_EQ(FInbox->EmptyFolder(0, nullptr, 0), S_OK);
    EXPECT_EQ(Count(), 0u);
    EXPECT_EQ(Db().Scalar("SELECT (SELECT count(*) FROM subjects) + (SELECT count(*) FROM subject_pages)"), 0);
}

TEST_F(SubjectSearchTest, ADamagedPageIsMadeAnewFromItsMessages)
{
    const Condition part = Has(Text(tag::Subject, u"NEEDLE"));
    for (const char* damage : {"x''", "x'FF'", "x'0101'", "substr(texts, 2)"}) {
        const Bytes first = Save(*NewMessage(*FInbox, u"needle one"));
        const Bytes second = Save(*NewMessage(*FInbox, u"needle two"));
        Save(*NewMessage(*FInbox, (std::u16string(260, u'x') + u"needle").c_str()));
        Db().Execute(std::string("UPDATE subject_pages SET texts = ") + damage);
        ASSERT_EQ(FTable->Restrict(part, 0), S_OK);
        EXPECT_EQ(TableRows(), Expected(part)) << damage; // as long as nobody writes, too
        Delete(first);
        auto message = OpenMessage(second);
        Set(*message, {Text(tag::Subject, u"something else")});
        Save(*message);
        Save(*NewMessage(*FInbox, u"another needle"));
        ASSERT_EQ(FTable->Restrict(part, 0), S_OK);
        EXPECT_EQ(TableRows(), Expected(part)) << damage;
        EXPECT_EQ(Count(), Expected(part).size());
        EXPECT_EQ(FInbox->EmptyFolder(0, nullptr, 0), S_OK);
        EXPECT_EQ(Db().Scalar("SELECT count(*) FROM subject_pages"), 0);
    }
}

} // namespace
} // namespace deftmapi::client::test
