// Filter expressions: which record each kind of node lays out, who keeps whom alive, and what is refused.
#include "mapi/headers/uKwMAPITableConstantsH.hpp"
#include "tests/table/RestrictionFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

// Enumerations are copied into records as they are; the other kinds and operators are seen in the records below.
static_assert(oSmallerThan == mapi::RELOP_LT && oSmallerOrEqual == mapi::RELOP_LE && oGreaterThan == mapi::RELOP_GT &&
              bmoEqualsZero == mapi::BMR_EQZ);

using TRestrictionTest = TRestrictionFixture;

TEST_F(TRestrictionTest, KindsWithoutAValue)
{
    const auto compare = Make<IKwMAPIRestrictionCompareProps>(rtCompareProps);
    compare->Set_PropDef1(PR_CLIENT_SUBMIT_TIME);
    compare->Set_PropDef2(PR_MESSAGE_DELIVERY_TIME);
    compare->Set_Operator(oGreaterOrEqual);
    EXPECT_EQ(Record(compare), "compare(3,0x00390040,0x0E060040)");
    EXPECT_EQ(compare->Get_PropDef1(), PR_CLIENT_SUBMIT_TIME);
    EXPECT_EQ(compare->Get_PropDef2(), PR_MESSAGE_DELIVERY_TIME);
    EXPECT_EQ(compare->Get_Operator(), oGreaterOrEqual);
    EXPECT_EQ(compare->Get_RestrictionType(), rtCompareProps);

    const auto mask = Make<IKwMAPIRestrictionBitMask>(rtBitmask);
    mask->Set_PropDef(PR_MESSAGE_FLAGS);
    mask->Set_Operator(bmoNotZero);
    mask->Set_BitMask(-2);
    EXPECT_EQ(Record(mask), "bitmask(1,0x0E070003,0xFFFFFFFE)");
    EXPECT_EQ(mask->Get_BitMask(), -2);
    EXPECT_EQ(mask->Get_Operator(), bmoNotZero);
    EXPECT_EQ(mask->Get_PropDef(), PR_MESSAGE_FLAGS);
    EXPECT_EQ(mask->Get_RestrictionType(), rtBitmask);

    const auto size = Make<IKwMAPIRestrictionSize>(rtSize);
    size->Set_PropDef(PR_BODY);
    size->Set_Operator(oLike);
    size->Set_Size(4096);
    EXPECT_EQ(Record(size), "size(6,0x1000001F,4096)");
    EXPECT_EQ(size->Get_Size(), 4096);
    EXPECT_EQ(size->Get_Operator(), oLike);
    EXPECT_EQ(size->Get_PropDef(), PR_BODY);
    EXPECT_EQ(size->Get_RestrictionType(), rtSize);

    EXPECT_EQ(Record(Exists(PR_SUBJECT)), "exist(0x0037001F)");
    EXPECT_EQ(Exists(PR_SUBJECT)->Get_PropDef(), PR_SUBJECT);
    EXPECT_EQ(Exists(PR_SUBJECT)->Get_RestrictionType(), rtExists);

    const auto content = Make<IKwMAPIRestrictionContent>(rtContent);
    content->Set_PropDef(PR_SUBJECT);
    content->Set_MatchType(smtPrefix);
    EXPECT_EQ(content->Get_PropDef(), PR_SUBJECT);
    EXPECT_EQ(content->Get_MatchType(), smtPrefix);
    EXPECT_EQ(content->Get_RestrictionType(), rtContent);
    const auto property = Make<IKwMAPIRestrictionProperty>(rtProperty);
    property->Set_PropDef(PR_IMPORTANCE);
    property->Set_Operator(oNotEqual);
    property->Set_Value(2);
    EXPECT_EQ(property->Get_Operator(), oNotEqual);
    EXPECT_EQ(property->Get_Value(), TKwVariant(2));
    EXPECT_EQ(property->Get_RestrictionType(), rtProperty);
}

TEST_F(TRestrictionTest, CombiningKinds)
{
    const auto both = Make<IKwMAPIRestrictionAnd>(rtAnd);
    const auto either = Make<IKwMAPIRestrictionOr>(rtOr);
    EXPECT_EQ(Record(both), "and()");
    EXPECT_EQ(Record(either), "or()");
    const auto subject = Exists(PR_SUBJECT);
    const auto body = Exists(PR_BODY);
    both->AddRestriction(subject);
    both->AddRestriction(body);
    either->AddRestriction(body);
    either->AddRestriction(body);
    both->AddRestriction(either);
    EXPECT_EQ(Record(both), "and(exist(0x0037001F),exist(0x1000001F),or(exist(0x1000001F),exist(0x1000001F)))");
    both->RemoveRestriction(body);
    either->RemoveRestriction(body); // one of the two
    either->RemoveRestriction(subject);
    EXPECT_EQ(Record(both), "and(exist(0x0037001F),or(exist(0x1000001F)))");

    const auto none = Make<IKwMAPIRestrictionNot>(rtNot);
    none->SetRestriction(both);
    EXPECT_EQ(Record(none), "not(and(exist(0x0037001F),or(exist(0x1000001F))))");

    const auto sub = Make<IKwMAPIRestrictionSub>(rtSub);
    sub->SetRestriction(subject);
    EXPECT_EQ(Record(sub), "sub(0x0E12000D,exist(0x0037001F))");
    EXPECT_EQ(sub->Get_SubObjectType(), rsotRecipients);
    sub->Set_SubObjectType(rsotAttachments);
    EXPECT_EQ(sub->Get_SubObjectType(), rsotAttachments);
    EXPECT_EQ(Record(sub), "sub(0x0E13000D,exist(0x0037001F))");
    sub->Set_SubObjectType(static_cast<TKwMAPIRestrictionSubObjectType>(7)); // leaves the field as it is
    EXPECT_EQ(Record(sub), "sub(0x0E13000D,exist(0x0037001F))");
}

TEST_F(TRestrictionTest, TreesOfDepth200)
{
    WideString value = u"a text too long to be kept in place: Größe";
    const auto content = Make<IKwMAPIRestrictionContent>(rtContent);
    content->Set_PropDef(PR_SUBJECT);
    content->Set_MatchType(smtSubString);
    content->Set_Value(value);
    const auto property = Make<IKwMAPIRestrictionProperty>(rtProperty);
    property->Set_PropDef(PR_BODY);
    property->Set_Operator(oNotEqual);
    property->Set_Value(value);
    value.assign(value.size(), u'-'); // records point to the copies of their nodes
    const std::string shown = "\"a text too long to be kept in place: Größe\"";

    const std::pair<TKwRef<IKwMAPIRestriction>, std::string> leaves[] = {
        {Exists(PR_SUBJECT), "exist(0x0037001F)"},
        {content, "content(0x00000001,0x0037001F,0x0037001F=" + shown + ")"},
        {property, "property(5,0x1000001F,0x1000001F=" + shown + ")"}};
    using TNode = TKwRef<IKwMAPIRestriction>;
    const std::pair<std::string, std::function<TNode(const TNode&)>> kinds[] = {
        {"not(", [&](auto& child) { return Over(rtNot, &IKwMAPIRestrictionNot::SetRestriction, child); }},
        {"and(", [&](auto& child) { return Over(rtAnd, &IKwMAPIRestrictionAnd::AddRestriction, child); }},
        {"or(", [&](auto& child) { return Over(rtOr, &IKwMAPIRestrictionOr::AddRestriction, child); }},
        {"sub(0x0E12000D,", [&](auto& child) { return Over(rtSub, &IKwMAPIRestrictionSub::SetRestriction, child); }}};
    for (const auto& leaf : leaves) {
        std::vector<TNode> nodes{leaf.first};
        std::string text = leaf.second;
        for (std::size_t depth = 1; depth < 200; ++depth) { // each over the one before
            const auto& [name, over] = kinds[depth % std::size(kinds)];
            nodes.push_back(over(nodes.back()));
            text = name + text + ")";
        }
        EXPECT_EQ(Record(nodes.back()), text);
        EXPECT_EQ(Record(nodes.back()), text); // building again gives the same record
    }
}

TEST_F(TRestrictionTest, AndAndOrDoNotKeepTheirChildren)
{
    const auto both = Make<IKwMAPIRestrictionAnd>(rtAnd);
    auto subject = Exists(PR_SUBJECT);
    const auto body = Exists(PR_BODY);
    both->AddRestriction(subject);
    both->AddRestriction(body);
    both->AddRestriction(subject);
    subject.Reset();
    EXPECT_EQ(Record(both), "and(exist(0x1000001F))");
    {
        const auto passing = Make<IKwMAPIRestrictionOr>(rtOr);
        passing->AddRestriction(body); // the list may go before its child
    }
    EXPECT_EQ(Record(body), "exist(0x1000001F)");
}

TEST_F(TRestrictionTest, NotAndSubKeepTheirChild)
{
    const auto none = Make<IKwMAPIRestrictionNot>(rtNot);
    auto subject = Exists(PR_SUBJECT);
    none->SetRestriction(subject);
    const auto* seen = subject.Get();
    subject.Reset();
    EXPECT_EQ(Record(none), "not(exist(0x0037001F))");
    EXPECT_EQ(dynamic_cast<const TKwAutoIntfObject*>(seen)->RefCount(), 1u);
    none->SetRestriction(Exists(PR_BODY));
    EXPECT_EQ(Record(none), "not(exist(0x1000001F))");
    none->SetRestriction(nullptr);
    const TCaught nothing = Failure("EMAPI_INVALID_PARAMETER", 0x80070057, "No restriction has been set yet!");
    EXPECT_EQ(Catch([&] { return Record(none); }), nothing);
    EXPECT_EQ(Catch([&] { return Record(Make<IKwMAPIRestrictionSub>(rtSub)); }), nothing);
}

TEST_F(TRestrictionTest, NodesOfAnotherTableAreRefused)
{
    const auto other = KwMake<TKwMAPITable>(*Prop, Object.Get(), nullptr);
    const auto stranger = other->CreateRestriction(rtExists);
    const TCaught refused = Failure("EMAPI_INVALID_PARAMETER", 0x80070057,
                                    "The table the restriction belongs too is different than the table of this "
                                    "restriction!");
    EXPECT_EQ(Catch([&] { Make<IKwMAPIRestrictionAnd>(rtAnd)->AddRestriction(stranger); }), refused);
    EXPECT_EQ(Catch([&] { Make<IKwMAPIRestrictionOr>(rtOr)->RemoveRestriction(stranger); }), refused);
    EXPECT_EQ(Catch([&] { Make<IKwMAPIRestrictionNot>(rtNot)->SetRestriction(stranger); }), refused);
    EXPECT_EQ(Catch([&] { Make<IKwMAPIRestrictionSub>(rtSub)->SetRestriction(stranger); }), refused);
    EXPECT_EQ(Catch([&] { Make<IKwMAPIRestrictionAnd>(rtAnd)->AddRestriction(nullptr); }), refused);
}

TEST_F(TRestrictionTest, NodesThatContainThemselves)
{
    const auto both = Make<IKwMAPIRestrictionAnd>(rtAnd);
    const auto none = Make<IKwMAPIRestrictionNot>(rtNot);
    none->SetRestriction(both);
    both->AddRestriction(none); // And keeps nobody alive, so this is found when it is built
    EXPECT_EQ(Catch([&] { return Record(both); }).Code, 0x80070057u);
    both->RemoveRestriction(none);
    EXPECT_EQ(Record(none), "not(and())");

    const auto outer = Make<IKwMAPIRestrictionNot>(rtNot);
    outer->SetRestriction(none);
    EXPECT_EQ(Catch([&] { none->SetRestriction(outer); }).Code, 0x80070057u); // they would never be destroyed
    EXPECT_EQ(Catch([&] { none->SetRestriction(none); }).Code, 0x80070057u);
    EXPECT_EQ(Record(outer), "not(not(and()))");
}

TEST_F(TRestrictionTest, OutliveTheirTableAndSaySo)
{
    const auto exists = Exists(PR_SUBJECT);
    const auto none = Make<IKwMAPIRestrictionNot>(rtNot);
    const auto sub = Make<IKwMAPIRestrictionSub>(rtSub);
    sub->SetRestriction(exists);
    Table.Reset();
    const TCaught gone =
        Failure("EMAPI_CALL_FAILED", 0x80004005, "The table this restriction belongs to has been destroyed!");
    EXPECT_EQ(Catch([&] { return Record(exists); }), gone);
    EXPECT_EQ(Catch([&] { return Record(sub); }), gone);
    EXPECT_EQ(Catch([&] { exists->Set_PropDef(PR_BODY); }), gone);
    none->SetRestriction(exists);
    EXPECT_EQ(Catch([&] { return Record(none); }), gone);
}

TEST_F(TRestrictionTest, PropertiesAreResolvedByTheOwnerOfTheTable)
{
    const TKwMAPIPropInfo& info = GetPropInfo(NPR_COMMON_REMINDER_DATE);
    mapi::GUID set = info.PropSet();
    mapi::MAPINAMEID name{&set, mapi::MNID_ID, {}};
    name.Kind.lID = static_cast<mapi::LONG>(info.Identifier());
    const auto named = Exists(NPR_COMMON_REMINDER_DATE);
    EXPECT_EQ(Record(named), "exist(" + Hex(Bag().IdOfName(name) | info.PropType) + ")");
    EXPECT_EQ(Calls->Count("GetIDsFromNames"), 1u); // when the definition is set, not when the record is built

    Prop->SetDisableUnicode(true);
    Table = KwMake<TKwMAPITable>(*Prop, Object.Get(), nullptr);
    EXPECT_EQ(Record(Exists(PR_SUBJECT)), "exist(0x0037001E)");
}

TEST_F(TRestrictionTest, UnknownKindsAndKindsOfTables)
{
    EXPECT_EQ(Catch([&] { return Table->CreateRestriction(static_cast<TKwMAPIRestrictionType>(10)); }),
              Failure("EMAPI_NOT_SUPPORTED", 26, "Unsupported RestrictionType"));
    EXPECT_EQ(Catch([&] { return TKwSimpleMAPIRestrictionBitMask::Create(*Table, rtAnd); }),
              Failure("EMAPI_NOT_SUPPORTED", 26, "Simple MAPI only supports the bitmask filter"));
    const auto simple =
        KwAs<IKwSimpleMAPIRestrictionBitMask>(TKwSimpleMAPIRestrictionBitMask::Create(*Table, rtBitmask));
    EXPECT_EQ(Catch([&] { simple->Set_BitMask(2); }),
              Failure("EMAPI_NOT_SUPPORTED", 26, "Only the mmfRead bitmask is supported by Simple MAPI!"));
    EXPECT_EQ(Catch([&] { simple->Set_PropDef(PR_IMPORTANCE); }),
              Failure("EMAPI_NOT_SUPPORTED", 26, "Only the PR_MESSAGE_FLAGS property is supported by Simple MAPI!"));
    EXPECT_EQ(simple->Get_BitMask(), 1) << "there is no other";
    EXPECT_EQ(simple->Get_PropDef(), PR_MESSAGE_FLAGS);
    simple->Set_BitMask(1);
    simple->Set_PropDef(PR_MESSAGE_FLAGS);
    simple->Set_Operator(bmoNotZero);
    EXPECT_EQ(simple->Get_Operator(), bmoNotZero);
}

} // namespace
} // namespace deftmapi::test
