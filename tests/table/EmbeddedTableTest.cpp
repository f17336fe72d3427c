// Searches and events against the embedded client: what comes out, not how it is asked for.
#include "mapi/core/uKwMAPIxH.hpp"
#include "mapi/headers/uKwMAPIConstantsH.hpp"
#include "mapi/table/uKwMAPITableEvents.hpp"
#include "tests/session/EmbeddedFixture.hpp"

#include <future>
#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TEmbeddedTableTest : public TEmbeddedTest
{
protected:
    void TearDown() override
    {
        Subject.Reset();
        Table.Reset();
        Inbox.Reset();
        TEmbeddedTest::TearDown();
    }
    void OpenTable()
    {
        Inbox = OpenInbox();
        Table = Inbox->GetContentsTable();
        Subject = Table->Get_Fields()->Add(PR_SUBJECT);
        Table->Get_Fields()->Add(PR_INSTANCE_KEY);
        Table->Get_Fields()->Add(PR_ENTRYID);
    }
    TKwRef<IKwMAPIMessage> AddMessage(const char16_t* subject)
    {
        const auto message = Inbox->CreateMessage(u"IPM.Note");
        message->Set_Subject(subject);
        message->SaveChanges();
        return message;
    }
    [[nodiscard]] TKwRef<IKwMAPIRestriction> StartsWith(const char16_t* text)
    {
        const auto node = KwAs<IKwMAPIRestrictionContent>(Table->CreateRestriction(rtContent));
        node->Set_PropDef(PR_SUBJECT);
        node->Set_MatchType(smtPrefix);
        node->Set_CaseInsensitive(true);
        node->Set_Value(text);
        return node;
    }

    TKwRef<IKwMAPIFolder> Inbox;
    TKwRef<IKwMAPITable> Table;
    TKwRef<IKwMAPITableField> Subject;
};

TEST_F(TEmbeddedTableTest, Searches)
{
    OpenTable();
    for (const char16_t* subject : {u"a1", u"b1", u"a2", u"b2", u"a3"})
        AddMessage(subject);
    Table->Sort(PR_SUBJECT, false); // a1 a2 a3 b1 b2
    const auto node = StartsWith(u"b");
    WordBool found = false;
    std::string texts;
    for (Table->FindRow(node, tbkBeginning, true, found); found; Table->FindRow(node, tbkCurrentRelative, true, found))
        texts += KwToUtf8(Subject->Get_AsString());
    EXPECT_EQ(texts, "b1b2");
    Table->FindFirst(node, found);
    Table->Next();
    EXPECT_EQ(Subject->Get_AsString(), u"b2");
    Table->FindFirst(StartsWith(u"c"), found);
    EXPECT_FALSE(found);
    EXPECT_TRUE(Table->Get_EOF());
}

TEST_F(TEmbeddedTableTest, SearchesGoOnWhereAFoundRowWasDeleted)
{
    OpenTable();
    Table->Sort(PR_SUBJECT, false);
    const auto deletedBy = [this](auto&& first, auto&& next) {
        for (const char16_t* subject : {u"a1", u"b1", u"b2", u"b3", u"c1"})
            AddMessage(subject);
        const auto node = StartsWith(u"b");
        std::string texts;
        WordBool found = false;
        for (first(node, found); found; next(node, found)) {
            texts += KwToUtf8(Subject->Get_AsString());
            Inbox->DeleteMessage(Table->GetFieldValue(PR_ENTRYID));
        }
        return texts;
    };
    IKwMAPITable& table = *Table;
    EXPECT_EQ(deletedBy([&](auto& node, WordBool& found) { table.FindLast(node, found); },
                        [&](auto& node, WordBool& found) { table.FindPrevious(node, found); }),
              "b3b2b1");
    EXPECT_EQ(deletedBy([&](auto& node, WordBool& found) { table.FindFirst(node, found); },
                        [&](auto& node, WordBool& found) { table.FindNext(node, found); }),
              "b1b2b3");
    EXPECT_EQ(deletedBy([&](auto& node, WordBool& found) { table.FindRow(node, tbkEnd, false, found); },
                        [&](auto& node, WordBool& found) { table.FindRow(node, tbkCurrentRelative, false, found); }),
              "b3b2b1");
}

TEST_F(TEmbeddedTableTest, EventsOfRows)
{
    OpenTable();
    Table->First();
    std::vector<std::string> seen;
    TKwBytes lastKey;
    TKwMAPITableEvents events;
    events.OnRowAdded = [&](IKwMAPITable&, const TKwBytes& key, IKwMAPIMemoryTable& row) {
        seen.push_back("added " + KwToUtf8(row.GetFieldValue(PR_SUBJECT).AsStringW()));
        EXPECT_EQ(row.GetFieldValue(PR_INSTANCE_KEY).AsBytes(), key);
        lastKey = key;
    };
    events.OnRowModified = [&](IKwMAPITable&, const TKwBytes& key, IKwMAPIMemoryTable& row) {
        seen.push_back("modified " + KwToUtf8(row.GetFieldValue(PR_SUBJECT).AsStringW()));
        EXPECT_EQ(key, lastKey);
    };
    events.Start(*Table);
    EXPECT_EQ(events.GetFolder(), Inbox);
    const auto dispatched = [&] {
        seen.clear();
        EXPECT_EQ(HrDispatchNotifications(0), mapi::S_OK);
        return seen;
    };

    const auto message = AddMessage(u"first");
    EXPECT_EQ(dispatched(), std::vector<std::string>{"added first"});
    message->Set_Subject(u"second");
    message->SaveChanges();
    EXPECT_EQ(dispatched(), std::vector<std::string>{"modified second"});
    AddMessage(u"unseen");
    events.Stop(); // before it is delivered
    EXPECT_TRUE(dispatched().empty());
}

TEST_F(TEmbeddedTableTest, EventsOnTheThreadOfTheClient)
{
    Session->Get_LogonInfo()->Set_MultiThreadedNotifications(true);
    OpenTable();
    Table->First();
    TKwMAPITableEvents events;
    std::promise<TKwRef<IKwMAPIMemoryTable>> added;
    events.OnRowAdded = [&](IKwMAPITable&, const TKwBytes&, IKwMAPIMemoryTable& row) {
        added.set_value(TKwRef<IKwMAPIMemoryTable>(&row));
    };
    events.Start(*Table);
    AddMessage(u"from elsewhere");
    const auto row = added.get_future().get();
    EXPECT_EQ(row->GetFieldValue(PR_SUBJECT).AsStringW(), u"from elsewhere");
}

} // namespace
} // namespace deftmapi::test
