// Restrictions decided by the database and by the evaluator in memory must agree: thousands of random ones over random
// messages, with a fixed seed. Subobjects, text flags and refusals besides.
#include "client/store/MessageRecords.hpp"
#include "client/table/Restriction.hpp"
#include "tests/client/TableConditions.hpp"

#include <algorithm>
#include <cstring>
#include <deque>
#include <random>
#include <set>

namespace deftmapi::client::test
{
namespace
{

constexpr ULONG BagText = 0x6700001F;
constexpr ULONG BagNumber = 0x67010003;
constexpr ULONG BagTexts = 0x6702101F;
constexpr ULONG BagNumbers = 0x67031003;
constexpr ULONG BagReal = 0x67040005;
constexpr ULONG BagBytes = 0x67050102;
constexpr ULONG BagFlag = 0x6706000B;
constexpr ULONG Missing = 0x6707001F;

/// Random restrictions and the values in them, which it keeps.
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

    Condition Leaf()
    {
        static const ULONG tags[] = {tag::Subject,    tag::SenderName,   tag::DeliveryTime, tag::MessageFlags,
                                     tag::Importance, tag::SearchKey,    tag::HasAttach,    tag::ConversationIndex,
                                     tag::DisplayTo,  tag::MessageClass, BagText,           BagNumber,
                                     BagTexts,        BagNumbers,        BagReal,           BagBytes,
                                     BagFlag,         Missing,           tag::ObjectType,   tag::NormalizedSubject};
        static const ULONG levels[] = {FL_FULLSTRING, FL_SUBSTRING, FL_PREFIX};
        static const ULONG flags[] = {0, FL_IGNORECASE, FL_IGNORENONSPACE, FL_LOOSE, FL_IGNORECASE | FL_IGNORENONSPACE};
        // Now and then in a type that the property does not have.
        const ULONG tag = Number(15) ? Pick(tags) : CHANGE_PROP_TYPE(Pick(tags), PROP_TYPE(Pick(tags)));
        // Mostly of the type of the property, a single value for a multiple one; sometimes of another.
        const ULONG type = Number(12) ? tag & ~MV_FLAG : Pick(tags) & ~MV_FLAG;
        const ULONG kind = Number(7);
        const ULONG relation = Number(6);
        switch (kind) {
        case 0: {
            const ULONG level = Pick(levels);
            const Condition content = Has(Value(type), level | Pick(flags));
            content->res.resContent.ulPropTag = tag;
            return content;
        }
        case 1:
        case 2:
            return Is(Value(Number(5) ? type : tag), relation, tag);
        case 3:
            return Compare(relation, tag, Pick(tags));
        case 4:
            return Bits(relation % 2, tag, relation % 3 ? 1 : 1 + Number(15));
        case 5:
            return Size(relation, tag, Number(20));
        default:
            return Exists(tag);
        }
    }

    Condition Tree(int depth)
    {
        if (depth == 0 || Number(3) == 0)
            return Leaf();
        const ULONG kind = Number(5);
        if (kind == 0)
            return Not(Tree(depth - 1));
        if (kind == 1) {
            const Condition comment(RES_COMMENT, {Tree(depth - 1)});
            comment->res.resComment = {0, comment.Child(), nullptr};
            return comment;
        }
        std::vector<Condition> parts;
        for (ULONG i = Number(4); i > 0; --i)
            parts.push_back(Tree(depth - 1));
        return Number(2) ? And(parts) : Or(parts);
    }

private:
    std::mt19937 FRandom;
    std::deque<std::u16string> FTexts;
    std::deque<Bytes> FBytes;
    std::deque<std::vector<LPWSTR>> FPointers;
    std::deque<std::vector<LONG>> FNumbers;
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
    ULONG CountOf(const Condition& condition)
    {
        EXPECT_EQ(FTable->Restrict(condition, 0), S_OK);
        const ULONG count = Count();
        EXPECT_EQ(RowIds().size(), count);
        return count;
    }
    void ExpectRefused(const Condition& condition, HRESULT result)
    {
        EXPECT_EQ(FTable->Restrict(condition, 0), result) << condition->rt;
        EXPECT_EQ(FTable->FindRow(condition, BOOKMARK_BEGINNING, 0), result) << condition->rt;
    }
};

TEST_F(TableRestrictionTest, WhatAllMessagesOfAFolderShareNamesNoneOfThem)
{
    for (int i = 0; i < 5; ++i)
        Save(*EmptyMessage(*FInbox));
    for (const ULONG tag : {tag::ParentEntryId, tag::StoreEntryId, tag::StoreRecordKey}) {
        const Got shared = Get(*FInbox, tag == tag::ParentEntryId ? tag::EntryId : tag);
        SPropValue value = *shared.value.Get();
        value.ulPropTag = tag;
        EXPECT_EQ(CountOf(Is(value)), 5u) << std::hex << tag;
    }
}

TEST_F(TableRestrictionTest, TheDatabaseAndTheEvaluatorAgree)
{
    constexpr int Messages = 60;
    constexpr int Restrictions = 2000;
    Maker maker(20240229);
    for (int i = 0; i < Messages; ++i) {
        auto message = EmptyMessage(*FInbox);
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
        const Condition condition = maker.Tree(i % 50 == 0 ? 20 : 3);
        const Restriction restriction = Restriction::Parse(*condition);
        std::vector<std::int64_t> expected;
        for (const Row& row : rows) {
            const auto lookup = [&](ULONG tag) -> const Prop& {
                const Prop* prop = row.props.Find(tag >> 16);
                return tag >> 16 == tag::ObjectType >> 16 ? objectType : (prop ? *prop : missing);
            };
            if (restriction.Matches(lookup))
                expected.push_back(row.id);
        }
        ASSERT_EQ(FTable->Restrict(condition, 0), S_OK) << i;
        ASSERT_EQ(RowIds(), expected) << "restriction " << i << " of kind " << condition->rt;
        some += !expected.empty() && expected.size() < rows.size();
        ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
        const HRESULT found = FTable->FindRow(condition, BOOKMARK_END, DIR_BACKWARD);
        ASSERT_EQ(found, expected.empty() ? MAPI_E_NOT_FOUND : S_OK) << i;
        if (!expected.empty()) {
            ASSERT_EQ(rows[Position()].id, expected.back()) << i;
        }
    }
    EXPECT_GT(some, Restrictions / 4) << "most restrictions decide nothing";
}

TEST_F(TableRestrictionTest, APropertyIsThereInItsOwnTypeOnly)
{
    auto message = NewMessage(*FInbox, u"any");
    Set(*message, {Binary(tag::Html, {'<', 'p', '>'})});
    Save(*message);
    for (const ULONG property : {tag::Html, tag::Subject, tag::MessageFlags}) {
        const ULONG other = CHANGE_PROP_TYPE(property, property == tag::Subject ? PT_BINARY : PT_UNICODE);
        for (const ULONG asked : {property, CHANGE_PROP_TYPE(property, PT_UNSPECIFIED), other}) {
            SCOPED_TRACE(asked);
            const std::size_t rows = asked == other ? 0 : 1;
            EXPECT_EQ(CountOf(Exists(asked)), rows);
            EXPECT_EQ(CountOf(Size(RELOP_GT, asked, 1)), rows);
            EXPECT_EQ(CountOf(Not(Exists(asked))), 1 - rows);
            EXPECT_EQ(CountOf(Compare(RELOP_EQ, asked, asked)), rows);
        }
    }
    EXPECT_EQ(CountOf(Exists(CHANGE_PROP_TYPE(tag::Subject, PT_STRING8))), 1u) << "both forms of a text are one";
    // A value that says nothing about the property, though it has its bytes.
    ASSERT_EQ(FTable->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
    const std::vector<Props> rows = Rows(*FTable, {tag::SearchKey, tag::EntryId, tag::InstanceKey});
    for (const Prop& own : rows.at(0)) {
        const ULONG property = own.tag;
        Bytes bytes = std::get<Bytes>(own.data);
        EXPECT_EQ(CountOf(Is(Binary(property, bytes))), 1u);
        bytes.resize(std::max(bytes.size(), sizeof(GUID)));
        SPropValue guid{};
        guid.ulPropTag = CHANGE_PROP_TYPE(property, PT_CLSID);
        guid.Value.lpguid = reinterpret_cast<LPGUID>(bytes.data());
        EXPECT_EQ(CountOf(Is(guid, RELOP_EQ, property)), 0u) << std::hex << property;
    }
}

TEST_F(TableRestrictionTest, APropertyMustBeNamed)
{
    Save(*NewMessage(*FInbox, u"any"));
    const Condition content = Has(Text(tag::Subject, u"any"), FL_FULLSTRING);
    content->res.resContent.ulPropTag = 0;
    const Condition property = Is(Text(tag::Subject, u"any"));
    property->res.resProperty.ulPropTag = 0;
    for (const Condition& nameless :
         {content, property, Compare(RELOP_EQ, tag::Subject, 0), Bits(BMR_EQZ, 0, 1), Size(RELOP_EQ, 0, 1), Exists(0)})
        ExpectRefused(nameless, MAPI_E_INVALID_PARAMETER);
}

TEST_F(TableRestrictionTest, ExpressionsAndMembershipsAreRefusedWhereverTheyStand)
{
    for (const ULONG relation : {RELOP_RE, RELOP_MEMBER_OF_DL}) {
        for (const Condition& refused :
             {Is(Text(tag::Subject, u"a.*"), relation), Compare(relation, tag::Subject, tag::NormalizedSubject),
              Size(relation, tag::Subject, 1)})
        {
            SCOPED_TRACE(refused->rt);
            ExpectRefused(refused, MAPI_E_TOO_COMPLEX);
            ExpectRefused(Not(refused), MAPI_E_TOO_COMPLEX);
        }
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
        ASSERT_EQ(CountOf(Is(Binary(tag::SearchKey, key))), 1u) << size;
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

    const Condition anna = Has(Text(tag::DisplayName, u"ANNA"), FL_FULLSTRING | FL_IGNORECASE);
    const Condition annaIsTo = And({anna, Is(Long(tag::RecipientType, MAPI_TO))});
    EXPECT_EQ(CountOf(AnyRow(tag::MessageRecipients, anna)), 2u);
    EXPECT_EQ(CountOf(AnyRow(tag::MessageRecipients, annaIsTo)), 1u) << "both are about the same recipient";
    const SPropValue pdf = Text(tag::AttachLongFileName, u".pdf");
    const Condition name = Has(pdf, FL_SUBSTRING);
    EXPECT_EQ(CountOf(AnyRow(tag::MessageAttachments, name)), 1u);
    EXPECT_EQ(CountOf(Not(AnyRow(tag::MessageAttachments, name))), 1u);
    for (const ULONG shown : {tag::RecordKey, tag::InstanceKey, tag::AttachSize}) // as their table shows them
        EXPECT_EQ(CountOf(AnyRow(tag::MessageAttachments, Exists(shown))), 1u) << std::hex << shown;
    EXPECT_EQ(CountOf(AnyRow(tag::MessageRecipients, Exists(tag::InstanceKey))), 2u);
    ExpectRefused(AnyRow(tag::ContainerContents, name), MAPI_E_TOO_COMPLEX);
    ExpectRefused(Has(pdf, FL_PREFIX_ON_ANY_WORD), MAPI_E_TOO_COMPLEX);
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
    EXPECT_EQ(CountOf(Has(Text(tag::DisplayTo, u"last ONE"))), 1u);
    EXPECT_EQ(CountOf(Size(RELOP_GT, tag::DisplayTo, 10000)), 1u);
    // A NUL in front does not make the rest of it shorter.
    std::u16string name = std::u16string(3000, u'x') + u"far behind";
    name[1] = u'\0';
    auto streamed = NewMessage(*FInbox, u"streamed");
    ASSERT_EQ(OpenStream(*streamed, tag::SenderName, MAPI_CREATE | MAPI_MODIFY)
                  ->Write(name.data(), static_cast<ULONG>(name.size() * 2), nullptr),
              S_OK);
    Save(*streamed);
    EXPECT_EQ(CountOf(Has(Text(tag::SenderName, u"FAR behind"))), 1u);
}

} // namespace
} // namespace deftmapi::client::test
