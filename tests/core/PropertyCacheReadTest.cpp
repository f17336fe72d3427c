// Reading through the property cache and past it: what is asked of the object, and how often.
#include "mapi/core/uKwMAPILists.hpp"
#include "tests/core/WrapperFixture.hpp"

namespace deftmapi::test
{

namespace
{

constexpr mapi::ULONG subject = 0x0037001F;
constexpr mapi::ULONG importance = 0x00170003;
constexpr mapi::ULONG body = 0x1000001F;
constexpr mapi::ULONG entryID = 0x0FFF0102;
constexpr mapi::ULONG unknownTag = 0x6FF10003;

class PropertyCacheReadTest : public TWrapperTest
{};

TEST_F(PropertyCacheReadTest, AValueIsReadOnceOnFirstAccess)
{
    Bag().Set(TextValue(subject, u"Hello"));
    const TKwRef<IKwMAPIProperty> property = Property(PR_SUBJECT);
    EXPECT_EQ(Calls->Take(), "") << "finding a tagged property asks nothing";
    EXPECT_EQ(property->Get_AsString(), u"Hello");
    EXPECT_EQ(Property(PR_SUBJECT)->Get_AsString(), u"Hello");
    EXPECT_EQ(Calls->Take(), "GetProps([0x0037001F],0x80000000)");
    EXPECT_EQ(Property(PR_SUBJECT).Get(), property.Get());
    EXPECT_EQ(property->Get_PropTag(), subject);
    EXPECT_EQ(property->Get_DataType(), 0x1Fu);
    EXPECT_EQ(property->Get_PropDef(), PR_SUBJECT);
    EXPECT_FALSE(Prop->GetModified());
}

TEST_F(PropertyCacheReadTest, DefinitionsOfOneIdentityShareAnItem)
{
    Bag().Set(TextValue(subject, u"Hello"));
    EXPECT_EQ(Property(PR_SUBJECT).Get(), Property(PR_SUBJECT_W).Get());
    EXPECT_NE(Property(PR_SUBJECT).Get(), Property(PR_SUBJECT_A).Get());
    EXPECT_EQ(Property(PR_SUBJECT_A)->Get_Value(), TKwAnsiText{"Hello"});
    EXPECT_EQ(Prop->Get_Properties()->Get_Count(), 2);
}

TEST_F(PropertyCacheReadTest, APropertyOfUnspecifiedTypeIsFoundUnderTheTypeItHas)
{
    Bag().Set(LongValue(importance, 2));
    const auto properties = Prop->Get_Properties();
    const auto property = properties->PropByTag(mapi::CHANGE_PROP_TYPE(importance, mapi::PT_UNSPECIFIED), true);
    EXPECT_EQ(property->Get_AsInteger(), 2);
    EXPECT_EQ(property->Get_PropTag(), importance);
    EXPECT_EQ(properties->PropByTag(importance, true).Get(), property.Get());
    EXPECT_EQ(properties->Get_Count(), 1);
}

TEST_F(PropertyCacheReadTest, WhatIsNotThereIsEmptyAndAskedOnce)
{
    EXPECT_TRUE(Property(PR_SUBJECT)->Get_Value().IsEmpty());
    EXPECT_EQ(Property(PR_SUBJECT)->Get_AsString(), u"");
    EXPECT_FALSE(Prop->HasProp(PR_SUBJECT));
    EXPECT_EQ(Calls->Count("GetProps"), 1u);
    EXPECT_TRUE(Prop->Get_EntryID().IsNull());
}

TEST_F(PropertyCacheReadTest, AFailedPropertyRaisesItsOwnResult)
{
    Bag().Refused[0x0037] = mapi::MAPI_E_NO_ACCESS;
    EXPECT_EQ(Catch([&] { (void)Property(PR_SUBJECT)->Get_Value(); }),
              Failure("EMAPI_NO_ACCESS", 0x80070005,
                      "TTestProp.GetProps has raised the following exception:\r\nThe caller does not have sufficient "
                      "access rights to perform the requested operation. (-2147024891)"));
    EXPECT_EQ(Catch([&] { (void)Prop->HasProp(PR_SUBJECT); }).ClassName, "EMAPI_NO_ACCESS");

    Calls->Next("GetProps", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch([&] { (void)Property(PR_IMPORTANCE)->Get_Value(); }).ClassName, "EMAPI_NETWORK_ERROR");
    Bag().Set(LongValue(importance, 2));
    EXPECT_EQ(Property(PR_IMPORTANCE)->Get_AsInteger(), 2) << "a failed call is made again";
    Bag().KeepBack = 1;
    EXPECT_EQ(Catch([&] { (void)Property(PR_BODY)->Get_Value(); }),
              Failure("EMAPI_CALL_FAILED", 0x80004005,
                      "1 property values were requested, however only 0 values were returned!"));
}

TEST_F(PropertyCacheReadTest, LargeValuesAreReadThroughAStream)
{
    const WideString text(70000, u'é');
    Bag().Set(TextValue(body, text.c_str()));
    Bag().Refused[0x1000] = mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    EXPECT_TRUE(Prop->HasProp(PR_BODY));
    EXPECT_EQ(Calls->Take(), "GetProps([0x1000001F],0x80000000)") << "asking does not read it";
    EXPECT_EQ(Property(PR_BODY)->Get_AsString(), text);
    EXPECT_EQ(Calls->Take(), "OpenProperty(0x1000001F,IStream,0x00000000,0x00000000)\n"
                             "Read(65536)\nRead(65536)\nRead(65536)\nRead(65536)");
    EXPECT_EQ(Property(PR_BODY)->Get_AsString(), text);
    EXPECT_EQ(Calls->Take(), "");

    // A provider that stores the end mark and gives few bytes at a time.
    Bag().OpenStream = [this](TScriptedBag&, mapi::ULONG tag, bool) -> mapi::IUnknown* {
        auto* stream = new TScriptedStream(
            Calls, mapi::PROP_TYPE(tag) == mapi::PT_STRING8 ? std::string("abc\0", 4) : std::string("a\0\0", 3), {});
        stream->MostPerRead = 1;
        stream->AddRef();
        return stream;
    };
    Bag().Refused[0x1009] = mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    EXPECT_EQ(Property(PR_BODY_A)->Get_Value(), TKwAnsiText{"abc"});
    EXPECT_EQ(Property(PR_RTF_COMPRESSED)->Get_Value(), (TKwBytes{'a', 0, 0})) << "bytes stay as they are";
}

TEST_F(PropertyCacheReadTest, AStreamThatFailsLeavesTheValueUnread)
{
    Bag().Set(TextValue(body, u"text"));
    Bag().Refused[0x1000] = mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    Calls->Next("Read", std::nullopt);
    Calls->Next("Read", mapi::STG_E_READFAULT);
    EXPECT_EQ(Catch([&] { (void)Property(PR_BODY)->Get_Value(); }).Code, 0x8003001Eu);
    EXPECT_EQ(Property(PR_BODY)->Get_AsString(), u"text");

    Bag().Refused[0x8000] = mapi::MAPI_E_NOT_ENOUGH_MEMORY; // the first named property
    EXPECT_EQ(Catch([&] { (void)Property(NPR_COMPANIES)->Get_Value(); }).ClassName, "EMAPI_NOT_ENOUGH_MEMORY")
        << "a large array cannot be streamed";
}

TEST_F(PropertyCacheReadTest, AnObjectPropertyIsThereWithoutAValue)
{
    Bag().Set(LongValue(0x3701000D, 1));
    EXPECT_TRUE(Prop->HasProp(PR_ATTACH_DATA_OBJ));
    EXPECT_TRUE(Property(PR_ATTACH_DATA_OBJ)->Get_Value().IsEmpty());
    EXPECT_EQ(Calls->Count("OpenProperty"), 0u);
}

TEST_F(PropertyCacheReadTest, HasPropSeesPendingChangesAndHandsOutTheItem)
{
    Bag().Set(TextValue(subject, u"Hello"));
    Property(PR_IMPORTANCE)->Set_AsInteger(1);
    Prop->DeleteProperty(PR_SUBJECT);
    EXPECT_TRUE(Prop->HasProp(PR_IMPORTANCE));
    TKwRef<IKwMAPIProperty> found = Property(PR_IMPORTANCE);
    EXPECT_FALSE(Prop->HasProp(PR_SUBJECT, found));
    EXPECT_EQ(found, nullptr);
    EXPECT_TRUE(Prop->HasProp(PR_IMPORTANCE, found));
    EXPECT_EQ(found->Get_AsInteger(), 1);
    EXPECT_EQ(Calls->Take(), "");
}

TEST_F(PropertyCacheReadTest, PropByTagWorksOnPlainTagsOnly)
{
    IKwMAPIProperties& items = *Prop->Get_Properties();
    EXPECT_EQ(items.PropByTag(subject, false), nullptr);
    EXPECT_EQ(Catch([&] { items.PropByTag(0x8000001F, true); }),
              Failure("EMAPI_INVALID_PARAMETER", 0x80070057, "The PropByTag does not support named properties!"));
    EXPECT_EQ(Catch([&] { items.PropByTag(0xFFFE0003, false); }).ClassName, "EMAPI_INVALID_PARAMETER");
    EXPECT_EQ(items.Get_Count(), 0);
    EXPECT_EQ(items.PropByTag(0x7FFF0003, true)->Get_PropTag(), 0x7FFF0003u);

    const TKwRef<IKwMAPIProperty> bySubject = items.PropByTag(subject, true);
    EXPECT_EQ(bySubject->Get_PropDef(), PR_SUBJECT);
    EXPECT_EQ(Property(PR_SUBJECT_W).Get(), bySubject.Get());
    EXPECT_EQ(items.FindPropByDef(PR_SUBJECT_W).Get(), bySubject.Get());
    EXPECT_EQ(items.FindPropByDef(PR_BODY), nullptr);
    const TKwRef<IKwMAPIProperty> unknown = items.PropByTag(unknownTag, true);
    EXPECT_EQ(unknown->Get_PropDef(), 0u);
    EXPECT_EQ(unknown->Get_PropName(), u"0x6ff10003");
    EXPECT_EQ(items.FindPropByTag(unknownTag).Get(), unknown.Get());
}

TEST_F(PropertyCacheReadTest, ItemsAreCountedAndTakenOut)
{
    IKwMAPIProperties& items = *Prop->Get_Properties();
    const TKwRef<IKwMAPIProperty> first = items.Add(PR_SUBJECT);
    items.Add(PR_IMPORTANCE)->Set_AsInteger(2);
    EXPECT_EQ(items.Get_Item(0).Get(), first.Get());
    EXPECT_EQ(Catch([&] { (void)items.Get_Item(2); }).ClassName, "EKwListError");
    EXPECT_EQ(Catch([&] { items.Delete(-1); }).ClassName, "EKwListError");
    items.Delete(1);
    EXPECT_FALSE(Prop->GetModified()) << "the change went with the item";
    EXPECT_TRUE(Property(PR_IMPORTANCE)->Get_Value().IsEmpty());
    items.Delete(0);
    EXPECT_EQ(Catch([&] { (void)first->Get_Value(); }).ClassName, "EMAPI_NO_ACCESS");
    EXPECT_EQ(items.Get_Count(), 1);
}

// ---- Named properties

TEST_F(PropertyCacheReadTest, ANamedPropertyIsResolvedOncePerObject)
{
    const TKwRef<IKwMAPIProperty> reminder = Property(NPR_COMMON_REMINDER_DATE);
    EXPECT_EQ(reminder->Get_PropTag(), 0x80000040u);
    EXPECT_EQ(Property(NPR_COMMON_REMINDER_DATE).Get(), reminder.Get());
    EXPECT_EQ(Calls->Take(), "GetIDsFromNames(0x00008502,0x00000002)");

    Calls->Next("GetIDsFromNames", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Catch([&] { (void)Property(NPR_CLIENTINTENT); }).ClassName, "EMAPI_NO_SUPPORT");
    Calls->Next("GetIDsFromNames", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_FALSE(Prop->HasProp(NPR_CLIENTINTENT)) << "an object without names has no such property";
    for (const mapi::HRESULT unknown : {mapi::MAPI_E_NOT_FOUND, mapi::MAPI_W_ERRORS_RETURNED}) {
        Calls->Next("GetIDsFromNames", unknown);
        EXPECT_FALSE(Prop->HasProp(NPR_CLIENTINTENT)) << "no tag for the name";
    }
    for (const auto& [failure, className] :
         {std::pair(mapi::MAPI_E_NETWORK_ERROR, "EMAPI_NETWORK_ERROR"),
          std::pair(mapi::MAPI_E_NO_ACCESS, "EMAPI_NO_ACCESS"), std::pair(mapi::S_FALSE, "EKwMAPIException")})
    {
        Calls->Next("GetIDsFromNames", failure);
        EXPECT_EQ(Catch([&] { (void)Prop->HasProp(NPR_CLIENTINTENT); }).ClassName, className)
            << "whether it has the property is not known";
    }
}

// ---- RetrieveAllProperties

TEST_F(PropertyCacheReadTest, RetrieveAllListsAndNamesAndReadsLater)
{
    Bag().Set(TextValue(subject, u"Hello"));
    Bag().Set(LongValue(importance, 2));
    Bag().Set(LongValue(unknownTag, 9));
    Bag().Set(LongValue(Bag().IdOfName(TPropName(PSETID_Common, 0x8503)) | mapi::PT_BOOLEAN, 1));
    Bag().Set(TextValue(Bag().IdOfName(TPropName(PSETID_Common, u"x-strange")) | mapi::PT_UNICODE, u"odd"));
    Bag().Set(LongValue(Bag().IdOfName(TPropName(PSETID_Common, 0x7777)) | mapi::PT_LONG, 5));
    Bag().Refused[0x0017] = mapi::MAPI_E_NO_ACCESS;
    Property(PR_BODY)->Set_AsString(u"pending");

    Prop->RetrieveAllProperties();
    EXPECT_EQ(Calls->Take(), "GetPropList(0x80000000)\n"
                             "GetNamesFromIDs([0x8000000B,0x8001001F,0x80020003],0x00000000)");
    EXPECT_EQ(Prop->Get_Properties()->Get_Count(), 7);
    EXPECT_EQ(Property(PR_SUBJECT)->Get_AsString(), u"Hello");
    EXPECT_EQ(Property(NPR_COMMON_REMINDER_SET)->Get_AsBoolean(), true);
    EXPECT_EQ(Prop->Items().FindPropByTag(0x8001001F)->Get_PropName(),
              u"{00062008-0000-0000-C000-000000000046}:x-strange");
    EXPECT_EQ(Prop->Items().FindPropByTag(0x80020003)->Get_PropName(),
              u"{00062008-0000-0000-C000-000000000046}:0x00007777");
    EXPECT_EQ(Prop->Items().FindPropByTag(0x80020003)->Get_AsInteger(), 5);
    EXPECT_EQ(Property(PR_BODY)->Get_AsString(), u"pending") << "what was there stays";
    EXPECT_EQ(Calls->Take(), "GetProps([0x0037001F],0x80000000)\n"
                             "GetProps([0x8000000B],0x80000000)\n"
                             "GetProps([0x80020003],0x80000000)")
        << "what was asked for, once";
    EXPECT_EQ(Catch([&] { (void)Property(PR_IMPORTANCE)->Get_Value(); }).ClassName, "EMAPI_NO_ACCESS")
        << "one property that cannot be had does not spoil the others";

    Calls->Take();
    Prop->RetrieveAllProperties();
    EXPECT_EQ(Prop->Get_Properties()->Get_Count(), 7);
    EXPECT_EQ(Property(PR_SUBJECT)->Get_AsString(), u"Hello");
    EXPECT_EQ(Calls->Count("GetProps"), 0u) << "what is known stays known";
}

TEST_F(PropertyCacheReadTest, NamesThatTheStoreForgotDoNotStopTheOthers)
{
    Bag().Set(LongValue(Bag().IdOfName(TPropName(PSETID_Common, 0x8503)) | mapi::PT_LONG, 4));
    Bag().ForgetNames = true;
    Prop->RetrieveAllProperties();
    const TKwRef<IKwMAPIProperty> item = Prop->Items().FindPropByTag(0x80000003);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->Get_PropName(), u"0x80000003");
    EXPECT_EQ(item->Get_AsInteger(), 4);
}

TEST_F(PropertyCacheReadTest, ResetForgetsEverything)
{
    Bag().Set(TextValue(subject, u"Hello"));
    const TKwRef<IKwMAPIProperty> property = Property(PR_SUBJECT);
    property->Set_AsString(u"changed");
    Prop->ResetProperties();
    EXPECT_FALSE(Prop->GetModified());
    EXPECT_EQ(Property(PR_SUBJECT)->Get_AsString(), u"Hello");
    EXPECT_EQ(Catch([&] { (void)property->Get_Value(); }).ClassName, "EMAPI_NO_ACCESS");
    EXPECT_FALSE(property->GetModified());
}

// ---- Past the cache

TEST_F(PropertyCacheReadTest, SeveralValuesTakeOneCall)
{
    Bag().Set(TextValue(subject, u"Hello"));
    Bag().Refused[0x1000] = mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    const std::vector<TKwVariant> values = Prop->GetPropValues({PR_BODY, PR_SUBJECT, PR_IMPORTANCE});
    EXPECT_EQ(Calls->Take(), "GetProps([0x1000001F,0x0037001F,0x00170003],0x80000000)");
    ASSERT_EQ(values.size(), 3u);
    EXPECT_EQ(*values[0].TryGet<TKwErrorCode>(), TKwErrorCode{mapi::MAPI_E_NOT_ENOUGH_MEMORY});
    EXPECT_EQ(values[1], u"Hello");
    EXPECT_TRUE(values[2].IsEmpty());

    mapi::ULONG returned = 0;
    const TKwMAPIPropDef defs[] = {PR_SUBJECT, PR_IMPORTANCE};
    const TKwMAPIBuffer<mapi::SPropValue> array = Prop->GetPropValueArray(defs, returned);
    ASSERT_EQ(returned, 2u);
    EXPECT_EQ(TextOf(array.Get()[0]), "0x0037001F=\"Hello\"");
    EXPECT_EQ(TextOf(array.Get()[1]), "0x0017000A=error 0x8004010F");
}

TEST_F(PropertyCacheReadTest, ValueListsAreFilled)
{
    Bag().Set(TextValue(subject, u"Hello"));
    const TKwRef<TKwMAPIPropValueList> list = KwMake<TKwMAPIPropValueList>();
    Prop->GetPropValues(*list);
    EXPECT_EQ(Calls->Take(), "");
    list->Add(PR_SUBJECT);
    list->AddValue(PR_IMPORTANCE, 7);
    Prop->GetPropValues(*list);
    EXPECT_EQ(list->Get_Value(0), u"Hello");
    EXPECT_TRUE(list->Get_Value(1).IsEmpty());
}

TEST_F(PropertyCacheReadTest, TooFewOrNoDefinitions)
{
    Bag().KeepBack = 2;
    EXPECT_EQ(Catch([&] {
                  (void)Prop->GetPropValues({PR_SUBJECT, PR_BODY, PR_IMPORTANCE});
              }),
              Failure("EMAPI_CALL_FAILED", 0x80004005,
                      "3 property values were requested, however only 1 values were returned!"));
    mapi::ULONG returned = 0;
    const TCaught caught = Catch([&] { (void)Prop->GetPropValueArray({}, returned); });
    EXPECT_EQ(caught.ClassName, "EKwAssertionFailed");
    EXPECT_EQ(caught.Message, "You must specify at least 1 property definition! (uKwMAPIBase)");
    EXPECT_EQ(Catch([&] { (void)Prop->GetPropValues({}); }).ClassName, "EKwAssertionFailed");
}

// ---- Text width

TEST_F(PropertyCacheReadTest, AnEightBitStoreIsAskedForEightBitText)
{
    Bag().Set(TextValue(0x0037001E, "Hello"));
    Prop->SetDisableUnicode(true);
    EXPECT_EQ(Property(PR_SUBJECT)->Get_PropTag(), 0x0037001Eu);
    EXPECT_EQ(Property(PR_SUBJECT).Get(), Property(PR_SUBJECT_A).Get());
    EXPECT_EQ(Property(PR_SUBJECT)->Get_AsString(), u"Hello");
    EXPECT_EQ(Prop->GetPropList(), std::vector<mapi::ULONG>{0x0037001E});
    EXPECT_EQ(Calls->Take(), "GetProps([0x0037001E],0x00000000)\nGetPropList(0x00000000)");
    const TKwRef<TTestProp> child = KwMake<TTestProp>(Prop.Get());
    EXPECT_TRUE(child->DisableUnicode()) << "what an object opens starts with its setting";
    Property(PR_SUBJECT)->Set_AsString(u"Tür");
    EXPECT_EQ(TextOf(Prop->Items().PropByTag(subject, false)->GetMAPIValue()), "0x0037001E='T\xFCr'");
}

TEST_F(PropertyCacheReadTest, OfAnEightBitStoreAlsoWhatHasNoNameIsEightBitText)
{
    const mapi::ULONG id = Bag().IdOfName(TPropName(PSETID_Common, 0x8503));
    Bag().Set(TextValue(id | mapi::PT_STRING8, "odd"));
    Bag().ForgetNames = true;
    Prop->SetDisableUnicode(true);
    // A provider that lists text as wide although it was asked for the other form.
    Calls->Next("GetPropList", mapi::MAPI_E_BAD_CHARWIDTH);
    Prop->RetrieveAllProperties();
    ASSERT_EQ(Prop->Get_Properties()->Get_Count(), 1);
    const TKwRef<IKwMAPIProperty> item = Prop->Get_Properties()->FindPropByTag(id | mapi::PT_UNICODE);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->Get_PropTag(), id | mapi::PT_STRING8);
    EXPECT_EQ(item->Get_Value(), TKwAnsiText{"odd"});
}

TEST_F(PropertyCacheReadTest, LargeTextIsOpenedInTheWidthThatTheObjectTook)
{
    Bag().EightBitOnly = true;
    Bag().Set(TextValue(0x1000001E, "gr\xFC\xDF"));
    Bag().Refused[0x1000] = mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    const TKwVariant value = Property(PR_BODY)->Get_Value();
    EXPECT_EQ(value.Kind(), TKwVarKind::vkWideString) << "the property's own type";
    EXPECT_EQ(value, u"grüß");
    EXPECT_EQ(Calls->Take().substr(0, 150),
              "GetProps([0x1000001F],0x80000000)\nGetProps([0x1000001E],0x00000000)\n"
              "OpenProperty(0x1000001E,IStream,0x00000000,0x00000000)\nRead(65536)\nRead(65536)");

    Bag().Set(LongValue(0x37010003, 1)); // read together with others
    Prop->ResetProperties();
    Prop->RetrieveAllProperties();
    EXPECT_EQ(Property(PR_BODY_A)->Get_Value(), TKwAnsiText{"gr\xFC\xDF"});
}

TEST_F(PropertyCacheReadTest, RefusedWideTextIsAskedForOnceMore)
{
    Bag().EightBitOnly = true;
    Bag().Set(TextValue(0x0037001E, "Hello"));
    const TKwVariant value = Property(PR_SUBJECT)->Get_Value();
    EXPECT_EQ(value.Kind(), TKwVarKind::vkWideString) << "the property's own type";
    EXPECT_EQ(value, u"Hello");
    EXPECT_EQ(Calls->Take(), "GetProps([0x0037001F],0x80000000)\nGetProps([0x0037001E],0x00000000)");
    EXPECT_EQ(Prop->GetPropList(), std::vector<mapi::ULONG>{0x0037001E});
    EXPECT_EQ(Calls->Take(), "GetPropList(0x80000000)\nGetPropList(0x00000000)");

    Calls->Next("GetPropList", mapi::MAPI_E_BAD_CHARWIDTH);
    Calls->Next("GetPropList", mapi::MAPI_E_BAD_CHARWIDTH);
    EXPECT_EQ(Catch([&] { (void)Prop->GetPropList(); }).ClassName, "EMAPI_BAD_CHARWIDTH");
}

// ---- Keys

TEST_F(PropertyCacheReadTest, KeysAreProperties)
{
    mapi::SPropValue value{};
    std::uint8_t key[] = {0xAB, 0xCD};
    value.Value.bin = {2, key};
    for (const mapi::ULONG tag : {entryID, 0x0FF90102u, 0x300B0102u, 0x65E00102u}) {
        key[1] = static_cast<std::uint8_t>(tag >> 16);
        value.ulPropTag = tag;
        Bag().Set(value);
    }
    EXPECT_EQ(Prop->Get_EntryID(), (TKwBytes{0xAB, 0xFF}));
    EXPECT_EQ(Prop->Get_RecordKey(), (TKwBytes{0xAB, 0xF9}));
    EXPECT_EQ(Prop->Get_SearchKey(), (TKwBytes{0xAB, 0x0B}));
    EXPECT_EQ(Catch([&] { (void)Prop->Get_SourceKey(); }),
              Failure("EMAPI_NOT_SUPPORTED", 26, "This property is only supported by Exchange!"));
    Session->ConnectedToExchange = true;
    EXPECT_EQ(Prop->Get_SourceKey(), (TKwBytes{0xAB, 0xE0}));
    Prop->Set_SearchKey(TKwBytes{1});
    EXPECT_TRUE(Prop->GetModified());
}

// ---- Views

TEST_F(PropertyCacheReadTest, ViewsConvertBothWays)
{
    const TKwRef<IKwMAPIProperty> time = Property(PR_CLIENT_SUBMIT_TIME);
    const mapi::SYSTEMTIME noon{2024, 5, 3, 1, 12, 0, 0, 0};
    time->Set_AsSystemTime(noon);
    EXPECT_EQ(time->Get_AsDateTime().Days, 45413.5);
    EXPECT_EQ(time->Get_AsFloat(), 45413.5);
    EXPECT_EQ(time->Get_AsInteger(), 45414) << "halves go to the even neighbour";
    EXPECT_EQ(time->Get_AsSystemTime().wHour, 12);
    EXPECT_EQ(time->Get_AsString(), u"2024-05-01T12:00:00Z");
    time->Set_AsDateTime(TKwDate{45413});
    EXPECT_EQ(time->Get_AsSystemTime().wHour, 0);

    const TKwRef<IKwMAPIProperty> number = Property(PR_IMPORTANCE);
    number->Set_AsLargeInteger(7);
    EXPECT_EQ(number->Get_AsInteger(), 7);
    EXPECT_EQ(number->Get_AsFloat(), 7.0);
    EXPECT_TRUE(number->Get_AsBoolean());
    EXPECT_EQ(number->Get_AsStringA(), "7");
    number->Set_AsFloat(2.0);
    EXPECT_EQ(number->Get_AsLargeInteger(), 2);
    number->Set_AsString(u"3");
    EXPECT_EQ(number->Get_AsInteger(), 3);

    const TKwRef<IKwMAPIProperty> text = Property(PR_SUBJECT);
    text->Set_AsStringA("\xE4");
    EXPECT_EQ(text->Get_AsStringW(), u"ä");
    text->Set_AsStringW(u"w");
    EXPECT_EQ(text->Get_AsStringA(), "w");
    text->Set_AsBoolean(true);
    EXPECT_EQ(text->Get_AsString(), u"True");
    text->Set_AsInteger(-1);
    EXPECT_EQ(text->Get_AsString(), u"-1");
    text->Set_AsGUID(PSETID_Common);
    EXPECT_EQ(text->Get_AsString(), u"{00062008-0000-0000-C000-000000000046}");
    EXPECT_TRUE(text->Get_AsGUID() == PSETID_Common);
    EXPECT_EQ(Catch([&] { (void)text->Get_AsInteger(); }).ClassName, "EKwConvertError");
}

TEST_F(PropertyCacheReadTest, ListsAreCopiesOfTheValues)
{
    const TKwRef<IKwMAPIProperty> companies = Property(NPR_COMPANIES);
    EXPECT_EQ(companies->Get_AsList()->Get_Count(), 0);
    const TKwRef<TKwMAPIValueList> list = KwMake<TKwMAPIValueList>();
    list->Add(u"A");
    list->Add(u"B");
    companies->Set_AsList(*list);
    list->Clear();
    const TKwRef<IKwMAPIValueList> back = companies->Get_AsList();
    ASSERT_EQ(back->Get_Count(), 2);
    EXPECT_EQ(back->Get_CurrentRecord(), u"A") << "the cursor is at the first value";
    list->Add(u"C");
    companies->Set_Value(TKwRef<IKwInterface>(list));
    list->Clear();
    EXPECT_EQ(companies->Get_Value(), TKwVariant::Array{u"C"});
    EXPECT_EQ(Catch([&] { companies->Set_Value(TKwRef<IKwInterface>(Session)); }).ClassName, "EKwConvertError");
    EXPECT_EQ(companies->Get_Value(), TKwVariant::Array{u"C"});
}

} // namespace

} // namespace deftmapi::test
