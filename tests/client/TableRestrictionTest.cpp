// Restrictions decided by the database and by the evaluator in memory must agree: thousands of random ones over random
// messages, with a fixed seed. Subobjects, text flags and refusals besides.
#include "client/store/MessageRecords.hpp"
#include "client/table/Restriction.hpp"
#include "tests/client/StoreFixture.hpp"

#include <algorithm>
#include <cstring>
#include <deque>
#include <random>
#include <set>

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

constexpr ULONG BagText = 0x6700001F;
constexpr ULONG BagNumber = 0x67010003;
constexpr ULONG BagTexts = 0x6702101F;
constexpr ULONG BagNumbers = 0x67031003;
constexpr ULONG BagReal = 0x67040005;
constexpr ULONG BagBytes = 0x67050102;
constexpr ULONG BagFlag = 0x6706000B;
constexpr ULONG Missing = 0x6707001F;

/// Restrictions and all that they point to.
class Maker
{
public:
    explicit Maker(std::uint32_t seed) : FRandom(seed) {}

    ULONG Number(ULONG below) { return static_cast<ULONG>(FRandom() % below); }
    template <typename T, std::size_t N>
    const T& Pick(const T (&items)[N])
    {
        return items[Number(N)];
    }
    const std::u16string& Word()
    {
        static const std::u16string words[] = {
            u"",    u"a",      u"A",      u"ab",         u"AB C", u"Straße", u"ÉTÉ",
            u"été", u"Ete",    u"report", u"RE: report", u"日本", u"日本語", u"\xD83D\xDE00 smile",
            u"Re",  u"z\u0301"};
        return Pick(words);
    }
    std::u16string Long() { return std::u16string(200 + Number(3000), u'x') + Word(); }

    SPropValue Value(ULONG tag)
    {
        SPropValue value{};
        value.ulPropTag = tag;
        switch (tag & 0xFFFF) {
        case PT_UNICODE:
            FTexts.push_back(Number(8) ? Word() : Long());
            value.Value.lpszW = FTexts.back().data();
            break;
        case PT_BINARY:
            FBytes.emplace_back(1 + Number(3), static_cast<std::uint8_t>(Number(3)));
            value.Value.bin = {static_cast<ULONG>(FBytes.back().size()), FBytes.back().data()};
            break;
        case PT_SYSTIME:
            value.Value.ft = {Number(4), 0x01DA0000};
            break;
        case PT_DOUBLE:
            value.Value.dbl = Number(4) / 2.0;
            break;
        case PT_BOOLEAN:
            value.Value.b = static_cast<std::uint16_t>(Number(2));
            break;
        case PT_MV_UNICODE: {
            auto& list = FPointers.emplace_back();
            for (ULONG i = Number(3) + 1; i > 0; --i) {
                FTexts.push_back(Word());
                list.push_back(FTexts.back().data());
            }
            value.Value.MVszW = {static_cast<ULONG>(list.size()), list.data()};
            break;
        }
        case PT_MV_LONG: {
            auto& list = FNumbers.emplace_back();
            for (ULONG i = Number(3) + 1; i > 0; --i)
                list.push_back(static_cast<LONG>(Number(4)));
            value.Value.MVl = {static_cast<ULONG>(list.size()), list.data()};
            break;
        }
        default:
            value.Value.l = static_cast<LONG>(Number(4)) - 1;
        }
        return value;
    }
    SPropValue* Kept(SPropValue value) { return &FValues.emplace_back(value); }

    SRestriction Leaf()
    {
        static const ULONG tags[] = {tag::Subject,    tag::SenderName,   tag::DeliveryTime, tag::MessageFlags,
                                     tag::Importance, tag::SearchKey,    tag::HasAttach,    tag::ConversationIndex,
                                     tag::DisplayTo,  tag::MessageClass, BagText,           BagNumber,
                                     BagTexts,        BagNumbers,        BagReal,           BagBytes,
                                     BagFlag,         Missing,           tag::ObjectType,   tag::NormalizedSubject};
        SRestriction leaf{};
        const ULONG tag = Pick(tags);
        // Mostly of the type of the property, a single value for a multiple one; sometimes of another.
        const ULONG type = Number(12) ? tag & ~MV_FLAG : Pick(tags) & ~MV_FLAG;
        switch (Number(7)) {
        case 0: {
            static const ULONG levels[] = {FL_FULLSTRING, FL_SUBSTRING, FL_PREFIX};
            static const ULONG flags[] = {0, FL_IGNORECASE, FL_IGNORENONSPACE, FL_LOOSE,
                                          FL_IGNORECASE | FL_IGNORENONSPACE};
            leaf.rt = RES_CONTENT;
            leaf.res.resContent = {Pick(levels) | Pick(flags), tag, Kept(Value(type))};
            break;
        }
        case 1:
        case 2:
            leaf.rt = RES_PROPERTY;
            leaf.res.resProperty = {Number(6), tag, Kept(Value(Number(5) ? type : tag))};
            break;
        case 3:
            leaf.rt = RES_COMPAREPROPS;
            leaf.res.resCompareProps = {Number(6), tag, Pick(tags)};
            break;
        case 4:
            leaf.rt = RES_BITMASK;
            leaf.res.resBitMask = {Number(2), tag, Number(2) ? 1 : 1 + Number(15)};
            break;
        case 5:
            leaf.rt = RES_SIZE;
            leaf.res.resSize = {Number(6), tag, Number(20)};
            break;
        default:
            leaf.rt = RES_EXIST;
            leaf.res.resExist = {0, tag, 0};
        }
        return leaf;
    }

    SRestriction Tree(int depth)
    {
        if (depth == 0 || Number(3) == 0)
            return Leaf();
        SRestriction tree{};
        auto& children = FChildren.emplace_back();
        switch (Number(5)) {
        case 0:
            children.push_back(Tree(depth - 1));
            tree.rt = RES_NOT;
            tree.res.resNot = {0, children.data()};
            break;
        case 1:
            children.push_back(Tree(depth - 1));
            tree.rt = RES_COMMENT;
            tree.res.resComment = {0, children.data(), nullptr};
            break;
        default:
            for (ULONG i = Number(4); i > 0; --i)
                children.push_back(Tree(depth - 1));
            tree.rt = Number(2) ? RES_AND : RES_OR;
            tree.res.resAnd = {static_cast<ULONG>(children.size()), children.data()};
        }
        return tree;
    }

private:
    std::mt19937 FRandom;
    std::deque<std::u16string> FTexts;
    std::deque<Bytes> FBytes;
    std::deque<std::vector<LPWSTR>> FPointers;
    std::deque<std::vector<LONG>> FNumbers;
    std::deque<SPropValue> FValues;
    std::deque<std::vector<SRestriction>> FChildren;
};

class TableRestrictionTest : public ContentsTest
{
protected:
    /// The rows of the table by row identifier, in its order.
    std::vector<std::int64_t> RowIds()
    {
        std::vector<std::int64_t> ids;
        for (const Props& row : Rows(*FTable, {tag::InstanceKey}, 50)) {
            std::int64_t id = 0;
            std::memcpy(&id, std::get<Bytes>(row[0].data).data(), sizeof id);
            ids.push_back(id);
        }
        return ids;
    }
    ULONG Count(const SRestriction& restriction)
    {
        EXPECT_EQ(FTable->Restrict(const_cast<SRestriction*>(&restriction), 0), S_OK);
        ULONG count = 0;
        EXPECT_EQ(FTable->GetRowCount(0, &count), S_OK);
        EXPECT_EQ(RowIds().size(), count);
        return count;
    }
    static SRestriction Content(ULONG level, ULONG tag, SPropValue& value)
    {
        SRestriction restriction{};
        restriction.rt = RES_CONTENT;
        restriction.res.resContent = {level, tag, &value};
        return restriction;
    }
};

TEST_F(TableRestrictionTest, WhatAllMessagesOfAFolderShareNamesNoneOfThem)
{
    for (int i = 0; i < 5; ++i) {
        Ptr<IMessage> message;
        ASSERT_EQ(FInbox->CreateMessage(nullptr, 0, Out(message)), S_OK);
        Save(*message);
    }
    Ptr<IMAPITable> table;
    ASSERT_EQ(FInbox->GetContentsTable(MAPI_UNICODE, Out(table)), S_OK);
    for (const ULONG tag : {tag::ParentEntryId, tag::StoreEntryId, tag::StoreRecordKey}) {
        const Got shared = Get(*FInbox, tag == tag::ParentEntryId ? tag::EntryId : tag);
        SPropValue value = *shared.value.Get();
        value.ulPropTag = tag;
        SRestriction equal{};
        equal.rt = RES_PROPERTY;
        equal.res.resProperty = {RELOP_EQ, tag, &value};
        ASSERT_EQ(table->Restrict(&equal, 0), S_OK);
        ULONG count = 0;
        ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
        EXPECT_EQ(count, 5u) << std::hex << tag;
    }
}

TEST_F(TableRestrictionTest, TheDatabaseAndTheEvaluatorAgree)
{
    constexpr int Messages = 60;
    constexpr int Restrictions = 2000;
    Maker maker(20240229);
    for (int i = 0; i < Messages; ++i) {
        Ptr<IMessage> message;
        ASSERT_EQ(FInbox->CreateMessage(nullptr, 0, Out(message)), S_OK);
        std::vector<SPropValue> values;
        for (const ULONG tag :
             {tag::Subject, tag::SenderName, tag::DeliveryTime, tag::MessageFlags, tag::Importance, tag::SearchKey,
              tag::ConversationIndex, BagText, BagNumber, BagTexts, BagNumbers, BagReal, BagBytes, BagFlag})
            if (maker.Number(4))
                values.push_back(maker.Value(tag));
        if (!values.empty())
            Set(*message, values);
        Save(*message);
    }
    struct Row
    {
        std::int64_t id;
        PropertyBag props;
    };
    std::vector<Row> rows;
    for (const std::int64_t id : RowIds())
        rows.push_back({id, LoadMessage(*FStoreFile, id).props});
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(Messages));

    const Prop missing = ErrorProp(0, MAPI_E_NOT_FOUND);
    const Prop objectType = LongProp(tag::ObjectType, MAPI_MESSAGE);
    int some = 0;
    for (int i = 0; i < Restrictions; ++i) {
        // Now and then so deep that the database leaves a branch to the evaluator.
        const SRestriction structure = maker.Tree(i % 50 == 0 ? 20 : 3);
        const Restriction restriction = Restriction::Parse(structure);
        std::vector<std::int64_t> expected;
        for (const Row& row : rows) {
            const auto lookup = [&](ULONG tag) -> const Prop& {
                const Prop* prop = row.props.Find(tag >> 16);
                return tag == tag::ObjectType ? objectType : (prop ? *prop : missing);
            };
            if (restriction.Matches(lookup))
                expected.push_back(row.id);
        }
        ASSERT_EQ(FTable->Restrict(const_cast<SRestriction*>(&structure), 0), S_OK) << i;
        ASSERT_EQ(RowIds(), expected) << "restriction " << i << " of kind " << structure.rt;
        some += !expected.empty() && expected.size() < rows.size();
        ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
        const HRESULT found = FTable->FindRow(const_cast<SRestriction*>(&structure), BOOKMARK_END, DIR_BACKWARD);
        ASSERT_EQ(found, expected.empty() ? MAPI_E_NOT_FOUND : S_OK) << i;
        if (expected.empty())
            continue;
        ULONG row = 0;
        ULONG ignored = 0;
        ASSERT_EQ(FTable->QueryPosition(&row, &ignored, &ignored), S_OK);
        ASSERT_EQ(rows[row].id, expected.back()) << i;
    }
    EXPECT_GT(some, Restrictions / 4) << "most restrictions decide nothing";
}

TEST_F(TableRestrictionTest, APropertyMustBeNamed)
{
    Save(*NewMessage(*FInbox, u"any"));
    SPropValue text = Text(tag::Subject, u"any");
    SRestriction nameless[6]{};
    nameless[0].rt = RES_CONTENT;
    nameless[0].res.resContent = {FL_FULLSTRING, 0, &text};
    nameless[1].rt = RES_PROPERTY;
    nameless[1].res.resProperty = {RELOP_EQ, 0, &text};
    nameless[2].rt = RES_COMPAREPROPS;
    nameless[2].res.resCompareProps = {RELOP_EQ, tag::Subject, 0};
    nameless[3].rt = RES_BITMASK;
    nameless[3].res.resBitMask = {BMR_EQZ, 0, 1};
    nameless[4].rt = RES_SIZE;
    nameless[4].res.resSize = {RELOP_EQ, 0, 1};
    nameless[5].rt = RES_EXIST;
    for (SRestriction& restriction : nameless) {
        EXPECT_EQ(FTable->Restrict(&restriction, 0), MAPI_E_INVALID_PARAMETER) << restriction.rt;
        EXPECT_EQ(FTable->FindRow(&restriction, BOOKMARK_BEGINNING, 0), MAPI_E_INVALID_PARAMETER) << restriction.rt;
    }
}

TEST_F(TableRestrictionTest, BytesWrittenThroughAStreamAreFoundAndShown)
{
    for (const std::size_t size : {16, 3000}) { // within a column's limit, and what a row still shows
        auto message = NewMessage(*FInbox, u"streamed");
        const Bytes key = Pattern(size);
        ASSERT_EQ(OpenStream(*message, tag::SearchKey, MAPI_CREATE | MAPI_MODIFY)
                      ->Write(key.data(), static_cast<ULONG>(key.size()), nullptr),
                  S_OK);
        Save(*message);
        SPropValue value = Binary(tag::SearchKey, key);
        SRestriction equal{};
        equal.rt = RES_PROPERTY;
        equal.res.resProperty = {RELOP_EQ, tag::SearchKey, &value};
        ASSERT_EQ(Count(equal), 1u) << size;
        EXPECT_EQ(std::get<Bytes>(Rows(*FTable, {tag::SearchKey}).front()[0].data), key);
    }
}

TEST_F(TableRestrictionTest, SubobjectsAreRecipientsAndAttachments)
{
    auto both = NewMessage(*FInbox, u"both");
    ASSERT_EQ(Modify(*both, MODRECIP_ADD, {{u"Anna", u"anna@example.org"}, {u"Bert", u"bert@example.org", MAPI_CC}}),
              S_OK);
    ULONG number = 0;
    Ptr<IAttach> attachment;
    ASSERT_EQ(both->CreateAttach(nullptr, 0, &number, Out(attachment)), S_OK);
    Set(*attachment, {Text(tag::AttachLongFileName, u"report.pdf"), Long(tag::AttachMethod, ATTACH_BY_VALUE)});
    ASSERT_EQ(attachment->SaveChanges(0), S_OK);
    Save(*both);
    auto other = NewMessage(*FInbox, u"other");
    ASSERT_EQ(Modify(*other, MODRECIP_ADD, {{u"Anna", u"anna@example.org", MAPI_CC}}), S_OK);
    Save(*other);

    SPropValue anna = Text(tag::DisplayName, u"ANNA");
    SPropValue to = Long(tag::RecipientType, MAPI_TO);
    SRestriction parts[2] = {Content(FL_FULLSTRING | FL_IGNORECASE, tag::DisplayName, anna), {}};
    parts[1].rt = RES_PROPERTY;
    parts[1].res.resProperty = {RELOP_EQ, tag::RecipientType, &to};
    SRestriction annaIsTo{};
    annaIsTo.rt = RES_AND;
    annaIsTo.res.resAnd = {2, parts};
    SRestriction sub{};
    sub.rt = RES_SUBRESTRICTION;
    sub.res.resSub = {tag::MessageRecipients, &parts[0]};
    EXPECT_EQ(Count(sub), 2u);
    sub.res.resSub.lpRes = &annaIsTo;
    EXPECT_EQ(Count(sub), 1u) << "both conditions are about the same recipient";
    SPropValue pdf = Text(tag::AttachLongFileName, u".pdf");
    SRestriction name = Content(FL_SUBSTRING, tag::AttachLongFileName, pdf);
    sub.res.resSub = {tag::MessageAttachments, &name};
    EXPECT_EQ(Count(sub), 1u);
    SRestriction none{};
    none.rt = RES_NOT;
    none.res.resNot = {0, &sub};
    EXPECT_EQ(Count(none), 1u);
    sub.res.resSub.ulSubObject = tag::ContainerContents;
    EXPECT_EQ(FTable->Restrict(&sub, 0), MAPI_E_TOO_COMPLEX);
    parts[1].res.resProperty.relop = RELOP_RE;
    EXPECT_EQ(FTable->Restrict(&parts[1], 0), MAPI_E_TOO_COMPLEX);
    name.res.resContent.ulFuzzyLevel = FL_PREFIX_ON_ANY_WORD;
    EXPECT_EQ(FTable->Restrict(&name, 0), MAPI_E_TOO_COMPLEX);
}

TEST_F(TableRestrictionTest, TextsLongerThanTheirColumnAreSearchedWhole)
{
    std::vector<NewRecipient> many;
    for (int i = 0; i < 300; ++i)
        many.push_back({u"A rather long name", u"someone@example.org"});
    many.push_back({u"The last one", u"last@example.org"});
    auto message = NewMessage(*FInbox, u"many");
    ASSERT_EQ(Modify(*message, MODRECIP_ADD, many), S_OK);
    Save(*message);
    Save(*NewMessage(*FInbox, u"none"));
    SPropValue last = Text(tag::DisplayTo, u"last ONE");
    EXPECT_EQ(Count(Content(FL_SUBSTRING | FL_IGNORECASE, tag::DisplayTo, last)), 1u);
    SRestriction size{};
    size.rt = RES_SIZE;
    size.res.resSize = {RELOP_GT, tag::DisplayTo, 10000};
    EXPECT_EQ(Count(size), 1u);
    // A NUL in front does not make the rest of it shorter.
    std::u16string name = std::u16string(3000, u'x') + u"far behind";
    name[1] = u'\0';
    auto streamed = NewMessage(*FInbox, u"streamed");
    ASSERT_EQ(OpenStream(*streamed, tag::SenderName, MAPI_CREATE | MAPI_MODIFY)
                  ->Write(name.data(), static_cast<ULONG>(name.size() * 2), nullptr),
              S_OK);
    Save(*streamed);
    SPropValue behind = Text(tag::SenderName, u"FAR behind");
    EXPECT_EQ(Count(Content(FL_SUBSTRING | FL_IGNORECASE, tag::SenderName, behind)), 1u);
}

} // namespace
} // namespace deftmapi::client::test
