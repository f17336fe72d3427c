// The language of --where: how it binds, how values are read by the type of their property, and where mistakes are.
#include "tools/Where.hpp"
#include "tools/Command.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace deftmapi;
using namespace deftmapi::tool;

std::string ErrorOf(const std::string& expression)
{
    try {
        (void)ParseWhere(expression);
    } catch (const UsageError& e) {
        return e.what();
    }
    return "no error";
}

TEST(Where, AndBindsTighterThanOrAndNotTightest)
{
    const Condition c = ParseWhere("not PR_HASATTACH and PR_SUBJECT ~ 'a' or (exists PR_BODY or PR_IMPORTANCE = 2)");
    ASSERT_EQ(c.Type, rtOr);
    ASSERT_EQ(c.Children.size(), 2U);
    ASSERT_EQ(c.Children[0].Type, rtAnd);
    EXPECT_EQ(c.Children[0].Children[0].Type, rtNot);
    EXPECT_EQ(c.Children[0].Children[0].Children[0].Prop, PR_HASATTACH);
    EXPECT_EQ(c.Children[0].Children[1].Type, rtContent);
    EXPECT_EQ(c.Children[1].Type, rtOr) << "parentheses stay";
    EXPECT_EQ(c.Children[1].Children[0].Type, rtExists);
}

TEST(Where, EachFormBecomesItsRestriction)
{
    Condition c = ParseWhere(R"(PR_SUBJECT ^ "say \"hi\" \\ ü")");
    EXPECT_EQ(c.Match, smtPrefix);
    EXPECT_EQ(c.Value.AsStringW(), u"say \"hi\" \\ ü");

    c = ParseWhere("PR_MESSAGE_DELIVERY_TIME>=2024-01-01");
    EXPECT_EQ(c.Type, rtProperty);
    EXPECT_EQ(c.Operator, oGreaterOrEqual);
    EXPECT_EQ(c.Value.AsLargeInteger(), 133485408000000000) << "2024-01-01 00:00 UTC in ticks since 1601";
    EXPECT_EQ(ParseWhere("PR_MESSAGE_DELIVERY_TIME < '2024-01-01 00:00:00.0000001'").Value.AsLargeInteger(),
              133485408000000001);

    c = ParseWhere("PR_CREATION_TIME <> PR_LAST_MODIFICATION_TIME");
    EXPECT_EQ(c.Type, rtCompareProps);
    EXPECT_EQ(c.Operator, oNotEqual);
    EXPECT_EQ(c.OtherProp, PR_LAST_MODIFICATION_TIME);

    EXPECT_EQ(ParseWhere("PR_SUBJECT_A = PR_CONVERSATION_TOPIC_W").Type, rtCompareProps) << "both are text";

    EXPECT_EQ(ParseWhere("PR_MESSAGE_FLAGS & 0x80000001").Number, static_cast<std::int32_t>(0x80000001));
    EXPECT_EQ(ParseWhere("PR_MESSAGE_FLAGS & 1").BitOperator, bmoNotZero);
    EXPECT_EQ(ParseWhere("PR_MESSAGE_FLAGS & 1 != 0").BitOperator, bmoNotZero);
    EXPECT_EQ(ParseWhere("PR_MESSAGE_FLAGS & 1 = 0").BitOperator, bmoEqualsZero);

    EXPECT_EQ(ParseWhere("PR_IMPORTANCE = -1").Value.AsInteger(), -1);
    EXPECT_EQ(ParseWhere("PR_SEARCH_KEY = AB01").Value.AsStringW(), u"AB01") << "hexadecimal, not a name";
    EXPECT_TRUE(ParseWhere("PR_HASATTACH").Value.AsBoolean());
    EXPECT_FALSE(ParseWhere("PR_HASATTACH = false").Value.AsBoolean());

    c = ParseWhere("size PR_BODY > 1000");
    EXPECT_EQ(c.Type, rtSize);
    EXPECT_EQ(c.Number, 1000);

    c = ParseWhere("attachments (PR_ATTACH_LONG_FILENAME ~ '.pdf')");
    EXPECT_EQ(c.Type, rtSub);
    EXPECT_EQ(c.SubObject, rsotAttachments);
    EXPECT_EQ(c.Children[0].Prop, PR_ATTACH_LONG_FILENAME);
}

TEST(Where, MistakesNameTheirColumn)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", "column 1: the name of a property expected instead of the end"},
        {"PR_SUBJECT", "column 11: a comparison expected after PR_SUBJECT, instead of the end"},
        {"PR_NO_SUCH = 1", "column 1: there is no property definition named PR_NO_SUCH"},
        {"PR_SUBJECT ~ 'ü' und PR_HASATTACH", "column 18: and, or, or the end expected instead of 'und'"},
        {"PR_SUBJECT ~ report", "column 14: a text in quotes expected instead of 'report'"},
        {"PR_SUBJECT = \"open", "column 14: the text has no closing quote"},
        {"PR_IMPORTANCE ~ 'x'", "column 15: PR_IMPORTANCE is no text"},
        {"PR_IMPORTANCE = high", "column 17: a number expected instead of 'high'"},
        {"PR_IMPORTANCE = 4294967296", "column 17: 4294967296 does not fit into 32 bits"},
        {"PR_MESSAGE_DELIVERY_TIME >= yesterday", "column 29: a time such as 2024-01-31"},
        {"PR_FORM_CLSID = \"x\"", "column 17: a GUID such as"},
        {"PR_SEARCH_KEY = 123", "column 17: bytes as pairs of hexadecimal digits expected"},
        {"PR_MESSAGE_SIZE > 3000000000", "column 19: 3000000000 does not fit into 32 bits"},
        {"PR_SUBJECT & 1", "column 12: only 32-bit numbers have bits"},
        {"PR_MESSAGE_FLAGS & 1 > 0", "column 22: bits are compared with 0"},
        {"PR_MESSAGE_FLAGS & 1 = '0'", "column 22: bits are compared with 0"},
        {"size PR_BODY > -1", "column 16: a number of bytes expected instead of '-1'"},
        {"PR_SUBJECT = PR_IMPORTANCE", "column 14: PR_IMPORTANCE and PR_SUBJECT have values of different types"},
        {"(PR_HASATTACH", "column 14: ) expected instead of the end"},
        {"PR_HASATTACH)", "column 13: and, or, or the end expected instead of ')'"},
        {"PR_HASATTACH = yes", "column 16: true or false expected"},
        {"PR_HASATTACH ? 1", "column 14: this character means nothing here"},
        {"recipients PR_HASATTACH", "column 12: ( expected"},
        {"recipients (not (attachments (PR_SUBJECT = '')))",
         "column 18: recipients and attachments have no attachments"},
        {"PR_HASATTACH and", "column 17: the name of a property expected instead of the end"}};
    for (const auto& [expression, error] : cases)
        EXPECT_EQ(ErrorOf(expression).find(std::string("--where, ") + error), 0U) << expression << "\n"
                                                                                  << ErrorOf(expression);
    EXPECT_NE(ErrorOf(std::string(100000, '(')).find("too many parentheses"), std::string::npos);
    std::string nots;
    for (int i = 0; i < 100000; ++i)
        nots += "not ";
    EXPECT_NE(ErrorOf(nots).find("too many nots"), std::string::npos);
}

} // namespace
