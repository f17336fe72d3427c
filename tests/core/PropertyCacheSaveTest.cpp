// Changing properties, writing them in one go, saving, and properties opened as interfaces.
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/headers/uKwMAPIComH.hpp"
#include "tests/core/WrapperFixture.hpp"

namespace deftmapi::test
{

namespace
{

constexpr mapi::ULONG subject = 0x0037001F;
constexpr mapi::ULONG importance = 0x00170003;

class PropertyCacheSaveTest : public TWrapperTest
{
protected:
    void TwoChangesAndTwoDeletions()
    {
        Bag().Set(TextValue(subject, u"old"));
        Bag().Set(LongValue(0x00360003, 1));
        Property(PR_SENSITIVITY)->Set_Value(TKwNull{});
        Property(PR_SUBJECT)->Set_AsString(u"new");
        Prop->DeleteProperty(PR_BODY);
        Property(PR_IMPORTANCE)->Set_AsInteger(2);
    }
    struct TText
    {
        mapi::HRESULT Result;
        const char* ClassName;
        std::string Text;
    };
    /// What the method raises for each result of the call of that name.
    void ExpectTexts(const char* method, const std::function<void()>& call, const std::vector<TText>& texts)
    {
        for (const auto& [result, className, text] : texts) {
            Calls->Next(method, result);
            EXPECT_EQ(Catch(call),
                      (TCaught{className, "TTestProp." + (method + text), static_cast<std::uint32_t>(result)}));
        }
    }
    [[nodiscard]] std::string Modified()
    {
        std::string names;
        for (const TKwMAPIPropDef def : {PR_SENSITIVITY, PR_SUBJECT, PR_BODY, PR_IMPORTANCE})
            names += Property(def)->GetModified() ? KwToUtf8(GetPropName(def)) + " " : "";
        return names;
    }
};

TEST_F(PropertyCacheSaveTest, SetValueMarksModifiedAlsoWhenSetBack)
{
    Bag().Set(TextValue(subject, u"Hello"));
    const TKwRef<IKwMAPIProperty> property = Property(PR_SUBJECT);
    EXPECT_FALSE(property->GetModified());
    property->Set_AsString(u"other");
    property->Set_AsString(u"Hello");
    EXPECT_TRUE(property->GetModified());
    EXPECT_TRUE(Prop->GetModified());
    property->SetModified(true);
    property->SetModified(false);
    property->SetModified(false);
    EXPECT_FALSE(Prop->GetModified());
    Prop->PersistPendingChanges();
    EXPECT_EQ(Calls->Take(), "");
}

TEST_F(PropertyCacheSaveTest, AnUnreadPropertyMarkedModifiedIsWrittenAndNotDeleted)
{
    Bag().Set(TextValue(subject, u"Hello"));
    Property(PR_SUBJECT)->SetModified(true);
    Prop->PersistPendingChanges();
    EXPECT_EQ(Calls->Take(), "GetProps([0x0037001F],0x80000000)\nSetProps(0x0037001F=\"Hello\")");
}

TEST_F(PropertyCacheSaveTest, AValueThatDoesNotConvertChangesNothing)
{
    Bag().Set(LongValue(importance, 2));
    EXPECT_EQ(Catch([&] { Property(PR_IMPORTANCE)->Set_AsString(u"high"); }).ClassName, "EKwConvertError");
    EXPECT_FALSE(Prop->GetModified());
    EXPECT_EQ(Property(PR_IMPORTANCE)->Get_AsInteger(), 2);
    const TCaught refused =
        Failure("EMAPI_INVALID_PARAMETER", 0x80070057, "The PropList does not support data of type 13!");
    EXPECT_EQ(Catch([&] { Property(PR_ATTACH_DATA_OBJ)->Set_AsInteger(1); }), refused);
    Bag().Set(LongValue(0x3701000D, 1));
    EXPECT_EQ(Catch([&] { Property(PR_ATTACH_DATA_OBJ)->SetModified(true); }), refused);
    EXPECT_FALSE(Prop->GetModified()) << "it would be taken for deleted";
}

TEST_F(PropertyCacheSaveTest, MAPIValuesGoInAndOut)
{
    IKwMAPIProperty& item = *Prop->Get_Properties()->PropByTag(subject, true);
    EXPECT_EQ(TextOf(item.GetMAPIValue()), "0x0037000A=error 0x8004010F");
    item.SetMAPIValue(TextValue(0x0E1D001E, "other tag"));
    EXPECT_EQ(TextOf(item.GetMAPIValue()), "0x0037001F=\"other tag\"");
    EXPECT_TRUE(item.GetModified());
    EXPECT_EQ(Catch([&] { item.SetMAPIValue(ErrorValue(subject, mapi::MAPI_E_NOT_FOUND)); }).Message,
              "The PropList does not support data of type 10!");
    EXPECT_EQ(item.Get_AsString(), u"other tag");
    Bag().Set(LongValue(importance, 2));
    EXPECT_EQ(TextOf(Prop->Items().PropByTag(importance, true)->GetMAPIValue()), "0x00170003=2");
}

// ---- PersistPendingChanges

TEST_F(PropertyCacheSaveTest, ChangesAreWrittenInOneCallAndDeletionsInAnother)
{
    TwoChangesAndTwoDeletions();
    Prop->PersistPendingChanges();
    EXPECT_EQ(Calls->Take(), "SetProps(0x0037001F=\"new\", 0x00170003=2)\nDeleteProps([0x00360003,0x1000001F])")
        << "PR_BODY was not there, which is what deleting wants";
    EXPECT_EQ(Bag().Text(), "0x00170003=2\n0x0037001F=\"new\"");
    EXPECT_EQ(Modified(), "");
    EXPECT_FALSE(Prop->GetModified());
    Prop->PersistPendingChanges();
    EXPECT_EQ(Calls->Take(), "");
}

TEST_F(PropertyCacheSaveTest, OnlyTheCallThatHasWorkIsMade)
{
    Property(PR_SUBJECT)->Set_AsString(u"x");
    Prop->PersistPendingChanges();
    EXPECT_EQ(Calls->Take(), "SetProps(0x0037001F=\"x\")");
    Prop->DeleteProperty(PR_SUBJECT);
    Prop->PersistPendingChanges();
    EXPECT_EQ(Calls->Take(), "DeleteProps([0x0037001F])");
    EXPECT_TRUE(Property(PR_SUBJECT)->Get_Value().IsEmpty());
}

TEST_F(PropertyCacheSaveTest, AFailedSetPropsLeavesAllModified)
{
    TwoChangesAndTwoDeletions();
    Calls->Next("SetProps", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { Prop->PersistPendingChanges(); }).Message,
              "TTestProp.SetProps has raised the following exception:\r\nThe caller does not have sufficient access "
              "rights to perform the requested operation. (-2147024891)");
    EXPECT_EQ(Calls->Count("DeleteProps"), 0u);
    EXPECT_EQ(Modified(), "PR_SENSITIVITY PR_SUBJECT PR_BODY PR_IMPORTANCE ");

    Prop->PersistPendingChanges();
    EXPECT_EQ(Modified(), "");
}

TEST_F(PropertyCacheSaveTest, WhatTheObjectCouldNotWriteIsRaisedAndStaysModified)
{
    TwoChangesAndTwoDeletions();
    Bag().Problems = {{1, importance, mapi::MAPI_E_COMPUTED}, {99, importance, mapi::MAPI_E_COMPUTED}};
    EXPECT_EQ(Catch([&] { Prop->PersistPendingChanges(); }).Message,
              "TTestProp.SetProps has raised the following exception:\r\nMAPI_E_COMPUTED (-2147221222=0x8004011a)");
    EXPECT_EQ(Calls->Take(), "SetProps(0x0037001F=\"new\", 0x00170003=2)");
    EXPECT_EQ(Modified(), "PR_SENSITIVITY PR_BODY PR_IMPORTANCE ");

    Prop->PersistPendingChanges();
    EXPECT_EQ(Calls->Take(), "SetProps(0x00170003=2)\nDeleteProps([0x00360003,0x1000001F])");
    EXPECT_EQ(Modified(), "");
}

TEST_F(PropertyCacheSaveTest, AFailedDeletePropsLeavesTheDeletionsModified)
{
    TwoChangesAndTwoDeletions();
    Calls->Next("DeleteProps", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { Prop->PersistPendingChanges(); }).ClassName, "EMAPI_NO_ACCESS");
    EXPECT_EQ(Modified(), "PR_SENSITIVITY PR_BODY ");
    Calls->Take();

    Bag().Problems = {{0, 0x00360003, mapi::MAPI_E_NOT_FOUND}, {1, 0x1000001F, mapi::MAPI_E_COMPUTED}};
    EXPECT_EQ(Catch([&] { Prop->PersistPendingChanges(); }).Message,
              "TTestProp.DeleteProps has raised the following exception:\r\nMAPI_E_COMPUTED (-2147221222=0x8004011a)");
    EXPECT_EQ(Modified(), "PR_BODY ") << "what was not there is deleted";
    EXPECT_EQ(Calls->Take(), "DeleteProps([0x00360003,0x1000001F])") << "what was written is not written again";
}

// ---- SaveChanges

TEST_F(PropertyCacheSaveTest, SaveMethodsAreFlags)
{
    for (const TKwMAPISaveMethod method : {smClose, smKeepReadOnly, smKeepReadWrite, smForceSave})
        Prop->SaveChanges(method);
    Prop->SaveChanges();
    EXPECT_EQ(Calls->Take(), "SaveChanges(0x00000000)\nSaveChanges(0x00000001)\nSaveChanges(0x00000002)\n"
                             "SaveChanges(0x00000006)\nSaveChanges(0x00000002)");
    Prop->SetAccessLevel(alReadWrite);
    Prop->SaveChanges();
    Prop->CheckAccessLevel(alReadWrite);
    Prop->SaveChanges(smKeepReadOnly);
    EXPECT_EQ(Catch([&] { Prop->CheckAccessLevel(alReadWrite); }).ClassName, "EMAPI_NO_ACCESS");
    EXPECT_EQ(Prop->Get_AccessLevel(), alReadOnly);
}

TEST_F(PropertyCacheSaveTest, SavingWritesFirstAndReadsAgainAfterwards)
{
    EXPECT_TRUE(Prop->Get_EntryID().IsNull());
    Property(PR_SUBJECT)->Set_AsString(u"new");
    Calls->Take();
    Prop->SaveChanges();
    EXPECT_EQ(Calls->Take(), "SetProps(0x0037001F=\"new\")\nSaveChanges(0x00000002)");

    std::uint8_t bytes[] = {1, 2};
    mapi::SPropValue id{};
    id.ulPropTag = 0x0FFF0102;
    id.Value.bin = {2, bytes};
    Bag().Set(id); // the store gave it out when it saved
    EXPECT_EQ(Prop->Get_EntryID(), (TKwBytes{1, 2}));

    Bag().Set(LongValue(0x0FFF0102, 0));
    Prop->SaveChanges(smClose);
    Calls->Take();
    EXPECT_EQ(Prop->Get_EntryID(), (TKwBytes{1, 2})) << "an object that was given up is not read again";
    EXPECT_EQ(Calls->Take(), "");
}

TEST_F(PropertyCacheSaveTest, EachResultOfSaveChangesHasItsText)
{
    Property(PR_SUBJECT)->Set_AsString(u"x");
    ExpectTexts("SaveChanges", [&] { Prop->SaveChanges(); },
                {{mapi::MAPI_E_OBJECT_CHANGED, "EMAPI_OBJECT_CHANGED",
                  " failed!\r\nThe object has changed since it was opened."},
                 {mapi::MAPI_E_OBJECT_DELETED, "EMAPI_OBJECT_DELETED",
                  " failed!\r\nThe object has been deleted since it was opened."},
                 {mapi::MAPI_E_CORRUPT_DATA, "EMAPI_CORRUPT_DATA",
                  " failed!\r\nMessage store providers that use a client-server model for their implementation "
                  "might\r\nreturn this error when a network connection is lost or the server is not running."},
                 {mapi::MAPI_E_NO_ACCESS, "EMAPI_NO_ACCESS",
                  " failed!\r\nSaveChanges cannot keep the object open for read-only access, if KEEP_OPEN_READONLY is "
                  "set, or read/write access, if KEEP_OPEN_READWRITE is set. No changes are committed."},
                 {mapi::MAPI_E_NETWORK_ERROR, "EMAPI_NETWORK_ERROR",
                  " has raised the following exception:\r\nMAPI_E_NETWORK_ERROR (-2147221227=0x80040115)"},
                 {mapi::MAPI_W_ERRORS_RETURNED, "EMAPI_W_ERRORS_RETURNED",
                  " has raised the following exception:\r\nMAPI_W_ERRORS_RETURNED (263040)"}});
    EXPECT_EQ(Calls->Count("SetProps"), 1u) << "what was written stays written";
    EXPECT_FALSE(Prop->GetModified());
}

// ---- Value lists

TEST_F(PropertyCacheSaveTest, ValueListsAreWrittenAtOnceAndTheCacheSeesThem)
{
    Bag().Set(TextValue(subject, u"old"));
    Bag().Set(LongValue(importance, 1));
    EXPECT_EQ(Property(PR_SUBJECT)->Get_AsString(), u"old");
    EXPECT_EQ(Property(PR_SUBJECT_A)->Get_AsString(), u"old");
    EXPECT_EQ(Property(PR_IMPORTANCE)->Get_AsInteger(), 1);
    Property(PR_BODY)->Set_AsString(u"pending");
    Calls->Take();

    const TKwRef<TKwMAPIPropValueList> list = KwMake<TKwMAPIPropValueList>();
    Prop->SetPropValues(*list);
    list->AddValue(PR_SUBJECT, u"new");
    list->AddValue(PR_IMPORTANCE, TKwVariant());
    list->AddValue(PR_BODY, u"written");
    Prop->SetPropValues(*list);
    EXPECT_EQ(Calls->Take(), "SetProps(0x0037001F=\"new\", 0x1000001F=\"written\")\nDeleteProps([0x00170003])");
    EXPECT_EQ(Property(PR_SUBJECT)->Get_AsString(), u"new");
    EXPECT_EQ(Property(PR_SUBJECT_A)->Get_AsString(), u"new") << "read again in either width";
    EXPECT_TRUE(Property(PR_IMPORTANCE)->Get_Value().IsEmpty());
    EXPECT_EQ(Property(PR_BODY)->Get_AsString(), u"pending") << "a change of the application's is not lost";

    Bag().Problems = {{1, 0x1000001F, mapi::MAPI_E_COMPUTED}};
    list->Set_Value(0, u"newer");
    EXPECT_EQ(Catch([&] { Prop->SetPropValues(*list); }).ClassName, "EMAPI_COMPUTED");
    EXPECT_EQ(Property(PR_SUBJECT)->Get_AsString(), u"newer") << "what a failed call wrote is not hidden either";
    Calls->Take();

    list->AddValue(PR_SENSITIVITY, u"not a number");
    EXPECT_EQ(Catch([&] { Prop->SetPropValues(*list); }).ClassName, "EKwConvertError");
    EXPECT_EQ(Calls->Count("SetProps"), 0u) << "all or nothing";
}

// ---- Interfaces

std::string Bytes(mapi::IStream& stream)
{
    char buffer[100];
    mapi::ULONG read = 0;
    EXPECT_GE(stream.Read(buffer, sizeof buffer, &read), 0);
    return std::string(buffer, read);
}

TEST_F(PropertyCacheSaveTest, StreamsReadAndWritePastTheCache)
{
    EXPECT_TRUE(Property(PR_RTF_COMPRESSED)->Get_Value().IsEmpty());
    Calls->Take();
    {
        const TKwComPtr<mapi::IStream> stream = Prop->OpenBinProperty(PR_RTF_COMPRESSED, alReadWrite, true);
        EXPECT_EQ(stream->Write("<p>", 3, nullptr), mapi::S_OK);
        EXPECT_EQ(stream->Commit(0), mapi::S_OK);
    }
    EXPECT_EQ(Calls->Take(), "OpenProperty(0x10090102,IStream,0x00000002,0x00000003)\nWrite(3)\nCommit(0x00000000)");
    EXPECT_EQ(Property(PR_RTF_COMPRESSED)->Get_Value(), (TKwBytes{'<', 'p', '>'})) << "the cache does not hide it";
    EXPECT_EQ(Bytes(*Prop->OpenBinProperty(PR_RTF_COMPRESSED, alReadOnly, false)), "<p>");
}

TEST_F(PropertyCacheSaveTest, BestAccessFallsBackToReading)
{
    Bag().Set(TextValue(0x0037001E, "text"));
    Calls->Next("OpenProperty", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Bytes(*Prop->OpenBinProperty(PR_SUBJECT_A, alBestAccess, false)), "text");
    EXPECT_EQ(Calls->Take(), "OpenProperty(0x0037001E,IStream,0x00000002,0x00000001)\n"
                             "OpenProperty(0x0037001E,IStream,0x00000000,0x00000000)\nRead(100)");

    Calls->Next("OpenProperty", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { (void)Prop->OpenBinProperty(PR_SUBJECT_A, alReadWrite, false); }).ClassName,
              "EMAPI_NO_ACCESS");
    EXPECT_EQ(Calls->Count("OpenProperty"), 1u) << "read-write access is not negotiable";
}

TEST_F(PropertyCacheSaveTest, EachResultOfOpenPropertyHasItsText)
{
    ExpectTexts(
        "OpenProperty",
        [&] { (void)Prop->OpenIntfProperty(PR_ATTACH_DATA_OBJ, mapi::IID_IMAPIProp, 0, alReadOnly, false); },
        {{mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, "EMAPI_INTERFACE_NOT_SUPPORTED",
          " failed!\r\nThe requested interface is not supported for this property."},
         {mapi::MAPI_E_NO_ACCESS, "EMAPI_NO_ACCESS",
          " failed!\r\nThe caller has insufficient permissions to access the property."},
         {mapi::MAPI_E_NO_SUPPORT, "EMAPI_NO_SUPPORT",
          " failed!\r\nThe object cannot provide access to this property through the requested interface."},
         {mapi::MAPI_E_NOT_FOUND, "EMAPI_NOT_FOUND",
          " failed!\r\nThe requested property does not exist and MAPI_CREATE was not set in the ulFlags parameter."},
         {mapi::MAPI_E_INVALID_PARAMETER, "EMAPI_INVALID_PARAMETER",
          " failed!\r\nThe property type in the tag is set to PT_UNSPECIFIED."},
         {mapi::MAPI_E_BUSY, "EMAPI_BUSY",
          " has raised the following exception:\r\nMAPI_E_BUSY (-2147221237=0x8004010b)"}});
    EXPECT_EQ(Calls->Lines().front(), "OpenProperty(0x3701000D,0x00020303,0x00000000,0x00000000)");
}

TEST_F(PropertyCacheSaveTest, InterfacesTakeTagsAndOptions)
{
    Calls->Next("OpenProperty", mapi::MAPI_E_NOT_FOUND);
    EXPECT_EQ(Catch([&] {
                  (void)Prop->OpenIntfPropertyByTag(0x10130102, mapi::IID_IStream, 0x12, alReadOnly, true);
              }).ClassName,
              "EMAPI_NOT_FOUND");
    EXPECT_EQ(Calls->Take(), "OpenProperty(0x10130102,IStream,0x00000012,0x00000003)") << "creating is writing";
}

TEST_F(PropertyCacheSaveTest, DisplayPropertiesNeedsAProcedure)
{
    EXPECT_EQ(Catch([&] { Prop->DisplayProperties(); }),
              Failure("EMAPI_NOT_SUPPORTED", 26,
                      "TTestProp.DisplayProperties failed.\r\nNo procedure has been registered with "
                      "SetShowPropertiesProc!"));
    IKwMAPIProp* shown = nullptr;
    SetShowPropertiesProc([&](IKwMAPIProp& prop) {
        shown = &prop;
        SetShowPropertiesProc({});
    });
    Prop->DisplayProperties();
    EXPECT_EQ(shown, static_cast<IKwMAPIProp*>(Prop.Get()));
    EXPECT_EQ(Catch([&] { Prop->DisplayProperties(); }).ClassName, "EMAPI_NOT_SUPPORTED");
}

// ---- Sweeps

TEST_F(PropertyCacheSaveTest, EveryCallMayFailAndNothingIsLostOrLeaked)
{
    // Each round is a fresh object; the n-th call of the whole road fails.
    int n = 0;
    for (bool failed = true; failed;) {
        ++n;
        ASSERT_LT(n, 50);
        const TKwComPtr<TScriptedProp> object = NewObject();
        object->Bag.Set(TextValue(subject, u"old"));
        object->Bag.Set(TextValue(0x1000001F, u"large"));
        object->Bag.Refused[0x1000] = mapi::MAPI_E_NOT_ENOUGH_MEMORY;
        const TKwRef<TTestProp> prop = NewProp(object.Get());
        Calls->FailNth(n, mapi::MAPI_E_NOT_ENOUGH_RESOURCES);
        const TCaught caught = Catch([&] {
            prop->PropByName(NPR_CLIENTINTENT)->Set_AsInteger(3);
            prop->PropByName(PR_SUBJECT)->Set_AsString(u"new");
            prop->DeleteProperty(PR_IMPORTANCE);
            mapi::ULONG size = 0;
            prop->FreeBuffer(prop->GetMAPIEntryID(TKwBytes{1}, size));
            (void)prop->PropByName(PR_BODY)->Get_Value();
            prop->RetrieveAllProperties();
            prop->SaveChanges();
        });
        failed = Calls->Failed();
        EXPECT_EQ(caught.ClassName, failed ? "EMAPI_NOT_ENOUGH_RESOURCES" : "") << "call " << n;
        EXPECT_EQ(TScriptedAllocator::Live(), 0u) << "call " << n;

        // The same work once more, now without a failure, ends in the same state.
        Calls->FailNth(-1, 0);
        prop->PropByName(NPR_CLIENTINTENT)->Set_AsInteger(3);
        prop->PropByName(PR_SUBJECT)->Set_AsString(u"new");
        prop->SaveChanges();
        EXPECT_FALSE(prop->GetModified());
        EXPECT_EQ(object->Bag.Text(), "0x0037001F=\"new\"\n0x1000001F=\"large\"\n0x80000003=3") << "call " << n;
    }
    EXPECT_GT(n, 9) << "the road has that many calls";
}

} // namespace

} // namespace deftmapi::test
