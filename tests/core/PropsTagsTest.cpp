// Tags of definitions, named ones resolved by an object that answers as told.
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "tests/core/WrapperFixture.hpp"

namespace deftmapi::test
{

namespace
{

class PropsTagsTest : public TWrapperTest
{
protected:
    mapi::ULONG Resolve(TKwMAPIPropDef def, bool raiseOnError = true)
    {
        return _GetPropTag(GetPropInfo(def), Prop.Get(), raiseOnError);
    }
    /// Gives zero where nothing is to be raised; what is raised otherwise.
    TCaught Unresolved()
    {
        EXPECT_EQ(Resolve(NPR_CLIENTINTENT, false), 0u);
        return Catch([&] { static_cast<void>(Resolve(NPR_CLIENTINTENT)); });
    }
};

TEST_F(PropsTagsTest, TaggedDefinitionsNeedNoObject)
{
    EXPECT_EQ(GetPropTag(PR_SUBJECT), 0x0037001Fu);
    EXPECT_EQ(GetPropTag(PR_EMS_AB_SERVER_A), 0xFFFE001Eu);
    EXPECT_EQ(_GetPropTag(GetPropInfo(PR_SUBJECT), nullptr, true), 0x0037001Fu);
    EXPECT_EQ(Resolve(PR_ENTRYID), 0x0FFF0102u);
    EXPECT_EQ(Calls->Take(), "");
    EXPECT_EQ(Catch([] { (void)GetPropTag(NPR_CLIENTINTENT); }),
              (TCaught{"EMAPI_INVALID_PARAMETER", "The uKwMAPIProps.GetPropTag does not support named properties!",
                       0x80070057, false}));
}

TEST_F(PropsTagsTest, NamedDefinitionsAskTheObjectEachTime)
{
    Bag().IDs = {0x81230003}; // a type that counts for nothing
    EXPECT_EQ(Resolve(NPR_COMMON_REMINDER_DATE), 0x81230040u);
    Bag().IDs.reset();
    // The names under which the object knows them.
    EXPECT_EQ(Bag().IdOfName(TPropName(PSETID_Attachment, u"AttachmentMacContentType")), 0x80000000u);
    EXPECT_EQ(Bag().IdOfName(TPropName(PSETID_Common, 0x8502)), 0x80010000u);
    EXPECT_EQ(Resolve(NPR_COMMON_REMINDER_DATE), 0x80010040u);
    EXPECT_EQ(Resolve(NPR_NAMEATTACHMENTMACCONTENTTYPE), 0x8000001Fu);
    EXPECT_EQ(Resolve(NPR_NAMEATTACHMENTMACCONTENTTYPE), 0x8000001Fu);
    EXPECT_EQ(Calls->Take(), "GetIDsFromNames(0x00008502,0x00000002)\nGetIDsFromNames(0x00008502,0x00000002)\n"
                             "GetIDsFromNames(\"AttachmentMacContentType\",0x00000002)\n"
                             "GetIDsFromNames(\"AttachmentMacContentType\",0x00000002)");
}

TEST_F(PropsTagsTest, WithoutAnObjectNamedDefinitionsAreNotSupported)
{
    const TKwMAPIPropInfo& info = GetPropInfo(NPR_CLIENTINTENT);
    EXPECT_EQ(_GetPropTag(info, nullptr, false), 0u);
    EXPECT_EQ(Catch([&] { (void)_GetPropTag(info, nullptr, true); }),
              Failure("EMAPI_NO_SUPPORT", 0x80040102,
                      "Named Property NPR_CLIENTINTENT requested, however Named Properties are not supported!"));
    Prop->SetMAPIOBJECT(nullptr);
    EXPECT_EQ(Unresolved(), Failure("EMAPI_NO_ACCESS", 0x80070005,
                                    "TTestProp.GetPropTag failed.\r\nThe object is not, or no longer, active!"));
    const TKwComPtr<TScriptedStream> noProp(new TScriptedStream(Calls, "", {}));
    Prop->SetMAPIOBJECT(noProp.Get());
    EXPECT_EQ(Unresolved().ClassName, "EMAPI_INTERFACE_NOT_SUPPORTED");
}

TEST_F(PropsTagsTest, FailuresAndWarningsRaiseOrGiveZero)
{
    Calls->Next("GetIDsFromNames", mapi::MAPI_E_NO_SUPPORT);
    Calls->Next("GetIDsFromNames", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Unresolved(), Failure("EMAPI_NO_SUPPORT", 0x80040102,
                                    "TTestProp.GetPropTag has raised the following exception:\r\nMAPI_E_NO_SUPPORT "
                                    "(-2147221246=0x80040102)"));
    Bag().IDs = {0x0000000A}; // comes with a warning
    EXPECT_EQ(Unresolved(),
              Failure("EMAPI_W_ERRORS_RETURNED", 0x00040380,
                      "TTestProp.GetPropTag has raised the following exception:\r\nMAPI_W_ERRORS_RETURNED (263040)"));
    Bag().IDs = std::vector<mapi::ULONG>();
    EXPECT_EQ(Unresolved().ClassName, "EMAPI_CALL_FAILED");
    Calls->Next("GetIDsFromNames", mapi::S_OK); // without an array
    Calls->Next("GetIDsFromNames", mapi::S_OK);
    EXPECT_EQ(Unresolved().ClassName, "EMAPI_CALL_FAILED");
}

TEST_F(PropsTagsTest, ArraysHoldTheTagsOfTheObject)
{
    const auto list = KwMake<TKwMAPIPropList>();
    TKwMAPIBuffer<mapi::SPropTagArray> tags(*Prop, list->CreatePropTagArray(*Prop));
    EXPECT_EQ(TextOf(tags.Get()), "[]");
    list->Add(PR_SUBJECT);
    list->Add(NPR_CLIENTINTENT);
    list->Add(PR_BODY_A);
    tags = TKwMAPIBuffer<mapi::SPropTagArray>(*Prop, list->CreatePropTagArray(*Prop));
    EXPECT_EQ(TextOf(tags.Get()), "[0x0037001F,0x80000003,0x1000001E]");
    EXPECT_EQ(Calls->Take(), "AllocateBuffer(4)\nAllocateBuffer(16)\nGetIDsFromNames(\"ClientIntent\",0x00000002)");
    EXPECT_EQ(TScriptedAllocator::Live(), 1u);

    Calls->Next("GetIDsFromNames", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Catch([&] { (void)list->CreatePropTagArray(*Prop); }).ClassName, "EMAPI_NO_SUPPORT");
    EXPECT_EQ(TScriptedAllocator::Live(), 1u) << "the array was freed";
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

} // namespace deftmapi::test
