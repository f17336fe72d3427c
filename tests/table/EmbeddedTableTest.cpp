// Restrictions, sort orders, searches and events against the embedded client: what comes out, not how it is asked for.
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
    TKwRef<IKwMAPIMessage> AddMessage(const char16_t* subject, std::int32_t importance)
    {
        const auto message = Inbox->CreateMessage(u"IPM.Note");
        message->Set_Subject(subject);
        message->PropByName(PR_IMPORTANCE)->Set_AsInteger(importance);
        message->SaveChanges();
        return message;
    }
    template <typename Interface>
    [[nodiscard]] TKwRef<Interface> Make(TKwMAPIRestrictionType type)
    {
        return KwAs<Interface>(Table->CreateRestriction(type));
    }
    [[nodiscard]] TKwRef<IKwMAPIRestriction> StartsWith(const char16_t* text)
    {
        const auto node = Make<IKwMAPIRestrictionContent>(rtContent);
        node->Set_PropDef(PR_SUBJECT);
        node->Set_MatchType(smtPrefix);
        node->Set_CaseInsensitive(WordTrue);
        node->Set_Value(text);
        return node;
    }
    [[nodiscard]] TKwRef<IKwMAPIRestriction> Importance(TKwMAPIOperator comparison, std::int32_t value)
    {
        const auto node = Make<IKwMAPIRestrictionProperty>(rtProperty);
        node->Set_PropDef(PR_IMPORTANCE);
        node->Set_Operator(comparison);
        node->Set_Value(value);
        return node;
    }
    /// The subjects of the rows that satisfy the restriction.
    [[nodiscard]] std::string Shown(const TKwRef<IKwMAPIRestriction>& restriction)
    {
        Table->Filter(restriction);
        std::string texts;
        for (Table->First(); !Table->Get_EOF(); Table->Next())
            texts += (texts.empty() ? "" : " ") + KwToUtf8(Subject->Get_AsString());
        return texts;
    }

    TKwRef<IKwMAPIFolder> Inbox;
    TKwRef<IKwMAPITable> Table;
    TKwRef<IKwMAPITableField> Subject;
};

TEST_F(TEmbeddedTableTest, FiltersAndSortOrders)
{
    OpenTable();
    AddMessage(u"beta", 1);
    AddMessage(u"Alpha", 2);
    AddMessage(u"alpine", 0);
    Table->Sort(PR_SUBJECT, false);
    EXPECT_EQ(Shown(nullptr), "Alpha alpine beta");
    EXPECT_EQ(Shown(StartsWith(u"ALP")), "Alpha alpine");
    EXPECT_EQ(Shown(Importance(oGreaterOrEqual, 1)), "Alpha beta");
    const auto importance = Importance(oEqual, 1);
    const auto prefix = StartsWith(u"alp");
    const auto either = Make<IKwMAPIRestrictionOr>(rtOr);
    either->AddRestriction(importance);
    either->AddRestriction(prefix);
    EXPECT_EQ(Shown(either), "Alpha alpine beta");
    const auto both = Make<IKwMAPIRestrictionAnd>(rtAnd);
    const auto high = Importance(oNotEqual, 0);
    both->AddRestriction(prefix);
    both->AddRestriction(high);
    EXPECT_EQ(Shown(both), "Alpha");
    const auto none = Make<IKwMAPIRestrictionNot>(rtNot);
    none->SetRestriction(both);
    EXPECT_EQ(Shown(none), "alpine beta");
    const auto mask = Make<IKwMAPIRestrictionBitMask>(rtBitmask);
    mask->Set_PropDef(PR_IMPORTANCE);
    mask->Set_Operator(bmoNotZero);
    mask->Set_BitMask(2);
    EXPECT_EQ(Shown(mask), "Alpha");
    const auto exists = Make<IKwMAPIRestrictionExists>(rtExists);
    exists->Set_PropDef(PR_SENSITIVITY);
    none->SetRestriction(exists);
    EXPECT_EQ(Shown(exists) + Shown(none), "Alpha alpine beta");
    const auto like = Importance(oLike, 1);
    EXPECT_EQ(Catch([&] { Table->Filter(like); }).ClassName, "EMAPI_TOO_COMPLEX");

    AddMessage(u"alpine", 2);
    Table->Sort({{PR_SUBJECT, true}, {PR_IMPORTANCE, false}});
    Table->Get_Fields()->Add(PR_IMPORTANCE);
    Table->Close();
    Table->MoveBy(tbkBeginning, 0);
    Table->Next();
    EXPECT_EQ(Subject->Get_AsString(), u"alpine");
    EXPECT_EQ(Table->GetFieldValue(PR_IMPORTANCE).AsInteger(), 0);
}

TEST_F(TEmbeddedTableTest, Searches)
{
    OpenTable();
    for (const char16_t* subject : {u"a1", u"b1", u"a2", u"b2", u"a3"})
        AddMessage(subject, 1);
    Table->Sort(PR_SUBJECT, false); // a1 a2 a3 b1 b2
    const auto node = StartsWith(u"b");
    bool found = false;
    std::string texts;
    for (Table->FindFirst(node, found); found; Table->FindNext(node, found))
        texts += KwToUtf8(Subject->Get_AsString());
    EXPECT_EQ(texts, "b1b2");
    texts.clear();
    for (Table->FindLast(node, found); found; Table->FindPrevious(node, found))
        texts += KwToUtf8(Subject->Get_AsString());
    EXPECT_EQ(texts, "b2b1");
    texts.clear();
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
            AddMessage(subject, 1);
        const auto node = StartsWith(u"b");
        std::string texts;
        bool found = false;
        for (first(node, found); found; next(node, found)) {
            texts += KwToUtf8(Subject->Get_AsString());
            Inbox->DeleteMessage(Table->GetFieldValue(PR_ENTRYID));
        }
        return texts;
    };
    IKwMAPITable& table = *Table;
    EXPECT_EQ(deletedBy([&](auto& node, bool& found) { table.FindLast(node, found); },
                        [&](auto& node, bool& found) { table.FindPrevious(node, found); }),
              "b3b2b1");
    EXPECT_EQ(deletedBy([&](auto& node, bool& found) { table.FindFirst(node, found); },
                        [&](auto& node, bool& found) { table.FindNext(node, found); }),
              "b1b2b3");
    EXPECT_EQ(deletedBy([&](auto& node, bool& found) { table.FindRow(node, tbkEnd, false, found); },
                        [&](auto& node, bool& found) { table.FindRow(node, tbkCurrentRelative, false, found); }),
              "b3b2b1");
}

TEST_F(TEmbeddedTableTest, EventsOfRows)
{
    OpenTable();
    Table->Get_Fields()->Add(PR_SENDER_NAME);
    Table->Get_Fields()->Add(NPR_NAMEINTERNETKEYWORDS);
    Table->First();
    std::vector<std::string> seen;
    TKwBytes lastKey;
    TKwMAPITableEvents events;
    events.OnRowAdded = [&](IKwMAPITable&, const TKwBytes& key, IKwMAPIMemoryTable& row) {
        seen.push_back("added " + KwToUtf8(row.GetFieldValue(PR_SUBJECT).AsStringW()));
        EXPECT_EQ(row.GetFieldValue(PR_INSTANCE_KEY).AsBytes(), key);
        EXPECT_TRUE(row.GetFieldValue(PR_SENDER_NAME).IsEmpty() &&
                    row.GetFieldValue(NPR_NAMEINTERNETKEYWORDS).IsEmpty());
        lastKey = key;
    };
    events.OnRowModified = [&](IKwMAPITable&, const TKwBytes& key, IKwMAPIMemoryTable& row) {
        seen.push_back("modified " + KwToUtf8(row.GetFieldValue(PR_SUBJECT).AsStringW()));
        EXPECT_EQ(key, lastKey);
    };
    events.OnRowDeleted = [&](IKwMAPITable&, const TKwBytes& key, IKwMAPIMemoryTable&) {
        seen.push_back("deleted");
        EXPECT_EQ(key, lastKey);
    };
    events.Start(*Table);
    EXPECT_EQ(events.GetFolder(), Inbox);
    const auto dispatched = [&] {
        seen.clear();
        EXPECT_EQ(HrDispatchNotifications(0), mapi::S_OK);
        return seen;
    };

    const auto message = AddMessage(u"first", 1);
    EXPECT_EQ(dispatched(), std::vector<std::string>{"added first"});
    message->Set_Subject(u"second");
    message->SaveChanges();
    EXPECT_EQ(dispatched(), std::vector<std::string>{"modified second"});
    Inbox->DeleteMessage(message->Get_EntryID());
    EXPECT_EQ(dispatched(), std::vector<std::string>{"deleted"});
    AddMessage(u"unseen", 1);
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
    AddMessage(u"from elsewhere", 1);
    const auto row = added.get_future().get();
    EXPECT_EQ(row->GetFieldValue(PR_SUBJECT).AsStringW(), u"from elsewhere");
}

} // namespace
} // namespace deftmapi::test
