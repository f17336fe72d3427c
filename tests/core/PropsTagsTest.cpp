// Tags of definitions, named ones resolved by an object that answers as told.
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "tests/core/Caught.hpp"
#include "tests/core/FakeProp.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace deftmapi;
using deftmapi::test::Catch;
using deftmapi::test::TCaught;

class PropsTagsTest : public testing::Test
{
protected:
    PropsTagsTest() { Prop.Object = &Object; }
    ~PropsTagsTest() override
    {
        EXPECT_TRUE(Prop.Buffers.empty()) << "a tag array was not freed";
        EXPECT_EQ(Object.References, 0);
    }

    /// The object answers with one tag and this result.
    void AnswerWith(mapi::ULONG tag, mapi::HRESULT result = mapi::S_OK)
    {
        Object.Answer = [this, tag, result](mapi::LPSPropTagArray* tags) {
            *tags = Prop.MakeTags({tag});
            return result;
        };
    }
    mapi::ULONG Resolve(TKwMAPIPropDef def, bool raiseOnError = true)
    {
        return _GetPropTag(GetPropInfo(def), &Prop, raiseOnError);
    }

    test::TFakeMAPIProp Object;
    test::TFakeProp Prop;
};

TEST_F(PropsTagsTest, TaggedDefinitionsNeedNoObject)
{
    EXPECT_EQ(GetPropTag(PR_SUBJECT), 0x0037001Fu);
    EXPECT_EQ(GetPropTag(PR_EMS_AB_SERVER_A), 0xFFFE001Eu);
    EXPECT_EQ(_GetPropTag(GetPropInfo(PR_SUBJECT), nullptr, true), 0x0037001Fu);
    EXPECT_EQ(Resolve(PR_ENTRYID), 0x0FFF0102u);
    EXPECT_TRUE(Object.Calls.empty());
    EXPECT_EQ(Catch([] { (void)GetPropTag(NPR_CLIENTINTENT); }),
              (TCaught{"EMAPI_INVALID_PARAMETER", "The uKwMAPIProps.GetPropTag does not support named properties!",
                       0x80070057, false}));
}

TEST_F(PropsTagsTest, NamedDefinitionsAskTheObjectEachTime)
{
    AnswerWith(0x8123000A); // a type that counts for nothing
    EXPECT_EQ(Resolve(NPR_COMMON_REMINDER_DATE), 0x81230040u);
    AnswerWith(0x9ABC0000);
    EXPECT_EQ(Resolve(NPR_NAMEATTACHMENTMACCONTENTTYPE), 0x9ABC001Fu);
    EXPECT_EQ(Resolve(NPR_NAMEATTACHMENTMACCONTENTTYPE), 0x9ABC001Fu);

    ASSERT_EQ(Object.Calls.size(), 3u);
    EXPECT_EQ(Object.Calls[0].Count, 1u);
    EXPECT_TRUE(SameGuid(Object.Calls[0].Set, PSETID_Common));
    EXPECT_EQ(Object.Calls[0].Kind, mapi::MNID_ID);
    EXPECT_EQ(Object.Calls[0].Identifier, 0x8502);
    EXPECT_EQ(Object.Calls[0].Flags, 2u);
    EXPECT_TRUE(SameGuid(Object.Calls[1].Set, PSETID_Attachment));
    EXPECT_EQ(Object.Calls[1].Kind, mapi::MNID_STRING);
    EXPECT_EQ(Object.Calls[1].Name, u"AttachmentMacContentType");
}

TEST_F(PropsTagsTest, WithoutAnObjectNamedDefinitionsAreNotSupported)
{
    const TKwMAPIPropInfo& info = GetPropInfo(NPR_CLIENTINTENT);
    EXPECT_EQ(_GetPropTag(info, nullptr, false), 0u);
    EXPECT_EQ(Catch([&] { (void)_GetPropTag(info, nullptr, true); }),
              (TCaught{"EMAPI_NO_SUPPORT",
                       "Named Property NPR_CLIENTINTENT requested, however Named Properties are not supported!",
                       0x80040102, false}));
    Prop.Object = nullptr;
    EXPECT_EQ(Resolve(NPR_CLIENTINTENT, false), 0u);
    EXPECT_EQ(Catch([&] { (void)Resolve(NPR_CLIENTINTENT); }),
              (TCaught{"EMAPI_NO_ACCESS", "TKwMAPIFake.GetPropTag failed.\r\nThe object is not, or no longer, active!",
                       0x80070005, false}));
}

TEST_F(PropsTagsTest, FailuresAndWarningsRaiseOrGiveZero)
{
    const struct
    {
        mapi::HRESULT Result;
        bool BringsArray;
        const char* Class;
        const char* Message;
    } cases[] = {
        {mapi::MAPI_E_NO_SUPPORT, false, "EMAPI_NO_SUPPORT",
         "TKwMAPIFake.GetPropTag has raised the following exception:\r\nMAPI_E_NO_SUPPORT (-2147221246=0x80040102)"},
        {mapi::MAPI_W_ERRORS_RETURNED, true, "EMAPI_W_ERRORS_RETURNED",
         "TKwMAPIFake.GetPropTag has raised the following exception:\r\nMAPI_W_ERRORS_RETURNED (263040)"},
    };
    for (const auto& c : cases) {
        if (c.BringsArray)
            AnswerWith(0x0000000A, c.Result);
        else
            Object.Answer = [&c](mapi::LPSPropTagArray*) { return c.Result; };
        EXPECT_EQ(Resolve(NPR_CLIENTINTENT, false), 0u);
        EXPECT_EQ(Catch([&] { (void)Resolve(NPR_CLIENTINTENT); }),
                  (TCaught{c.Class, c.Message, static_cast<std::uint32_t>(c.Result), false}));
    }

    // Success without a tag.
    Object.Answer = [](mapi::LPSPropTagArray*) { return mapi::S_OK; };
    EXPECT_EQ(Resolve(NPR_CLIENTINTENT, false), 0u);
    EXPECT_EQ(Catch([&] { (void)Resolve(NPR_CLIENTINTENT); }).ClassName, "EMAPI_CALL_FAILED");
    Object.Answer = [this](mapi::LPSPropTagArray* tags) {
        *tags = Prop.MakeTags({});
        return mapi::S_OK;
    };
    EXPECT_EQ(Catch([&] { (void)Resolve(NPR_CLIENTINTENT); }).ClassName, "EMAPI_CALL_FAILED");

    Object.HasIMAPIProp = false;
    EXPECT_EQ(Resolve(NPR_CLIENTINTENT, false), 0u);
    EXPECT_EQ(Catch([&] { (void)Resolve(NPR_CLIENTINTENT); }).ClassName, "EMAPI_INTERFACE_NOT_SUPPORTED");
}

TEST(PropTypeToStrTest, NamesEveryTypeAndNothingElse)
{
    const std::pair<std::uint32_t, WideView> names[] = {
        {0x0000, u"dtUnknown"},      {0x0001, u"dtNull"},          {0x0002, u"dtSmallInt"},
        {0x0003, u"dtLongInt"},      {0x0004, u"dtSingle"},        {0x0005, u"dtDouble"},
        {0x0006, u"dtCurrency"},     {0x0007, u"dtAppTime"},       {0x000A, u"dtError"},
        {0x000B, u"dtBoolean"},      {0x000D, u"dtObject"},        {0x0014, u"dtInt64"},
        {0x001E, u"dtAnsiString"},   {0x001F, u"dtWideString"},    {0x0040, u"dtSysTime"},
        {0x0048, u"dtGUID"},         {0x00FB, u"dtServerEntryID"}, {0x00FD, u"dtRestriction"},
        {0x00FE, u"dtActions"},      {0x0102, u"dtBinary"},        {0x0103, u"dtFileHandle"},
        {0x0104, u"dtFileEA"},       {0x0105, u"dtVirtual"},       {0x1002, u"dtMvSmallInt"},
        {0x1003, u"dtMvLongInt"},    {0x1004, u"dtMvSingle"},      {0x1005, u"dtMvDouble"},
        {0x1006, u"dtMvCurrency"},   {0x1007, u"dtMvAppTime"},     {0x1014, u"dtMvInt64"},
        {0x101E, u"dtMvAnsiString"}, {0x101F, u"dtMvWideString"},  {0x1040, u"dtMvSysTime"},
        {0x1048, u"dtMvGUID"},       {0x1102, u"dtMvBinary"},
    };
    std::size_t valid = 0;
    for (std::uint32_t type = 0; type <= 0xFFFF; ++type)
        valid += PropTypeToStr(type) != u"Invalid PropType";
    EXPECT_EQ(valid, std::size(names));
    for (const auto& [type, name] : names)
        EXPECT_EQ(KwToUtf8(PropTypeToStr(type)), KwToUtf8(name));
    EXPECT_EQ(PropTypeToStr(0x0001001F), u"Invalid PropType");
}

} // namespace
