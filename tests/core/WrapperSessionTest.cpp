// Binding wrappers to sessions, the walk at logoff, the guards, and what memory and events go through a session.
#include "mapi/core/uKwMAPILists.hpp"
#include "tests/core/WrapperFixture.hpp"
#include "tests/support/TestPlatform.hpp"

#include <algorithm>

namespace deftmapi::test
{

namespace
{

class WrapperSessionTest : public TWrapperTest
{};

constexpr const char* notActive = "TTestProp.GetPropList failed.\r\nThe object is not, or no longer, active!";

TEST_F(WrapperSessionTest, BindingTwiceLeavesTheWrapperOnceInTheListAndHoldsOneReference)
{
    const std::uint32_t references = Session->RefCount();
    Prop->SetSession(Session.Get());
    EXPECT_EQ(Session->LogoffList().Count(), 1u);
    EXPECT_EQ(Session->DirectWrappers().Count(), 1u);
    EXPECT_EQ(Session->RefCount(), references);

    Session->LogoffNotification(*Prop);
    EXPECT_EQ(Session->LogoffList().Count(), 1u);

    Prop->SetSession(nullptr);
    EXPECT_EQ(Session->LogoffList().Count(), 0u);
    EXPECT_EQ(Session->DirectWrappers().Count(), 0u);
    EXPECT_EQ(Session->RefCount(), references - 1);
}

TEST_F(WrapperSessionTest, OnlyWrappersCreatedByTheSessionAreItsDirectOnes)
{
    const TKwRef<TTestProp> child = KwMake<TTestProp>(Prop.Get());
    child->SetSession(Session.Get());
    EXPECT_EQ(Session->DirectWrappers().Snapshot(), std::vector<TKwMAPIWrapper*>{Prop.Get()});
    EXPECT_EQ(Session->LogoffList().Snapshot(), (std::vector<TKwMAPIWrapper*>{Prop.Get(), child.Get()}));
    EXPECT_EQ(child->Get_CreatedBy().Get(), static_cast<IKwMAPIObject*>(Prop.Get()));
    EXPECT_EQ(Prop->Get_Session(), static_cast<IKwMAPISessionBase*>(Session.Get()));
}

TEST_F(WrapperSessionTest, MovingToAnotherSessionReleasesTheOldOneAndKeepsTheNewOneAlive)
{
    TKwRef<TScriptedSession> other = KwMake<TScriptedSession>(Calls);
    Prop->SetSession(other.Get());
    EXPECT_EQ(Session->RefCount(), 1u);
    EXPECT_EQ(Session->LogoffList().Count(), 0u);
    EXPECT_EQ(Session->DirectWrappers().Count(), 0u);
    EXPECT_EQ(other->LogoffList().Snapshot(), std::vector<TKwMAPIWrapper*>{Prop.Get()});
    EXPECT_EQ(other->DirectWrappers().Count(), 0u) << "another one created it";
    Session->Set_Active(false);
    EXPECT_NE(Prop->Get_MAPIOBJECT(), nullptr) << "the old session's logoff is none of its business";
    const TScriptedSession* const holder = other.Get();
    other.Reset();
    EXPECT_EQ(Prop->GetPropList().size(), 0u) << "the wrapper holds its session";
    Prop->Session()->Set_Active(false);
    EXPECT_EQ(Prop->Get_MAPIOBJECT(), nullptr);
    EXPECT_EQ(holder->RefCount(), 1u);
}

TEST_F(WrapperSessionTest, TheLastWrapperTakesItsSessionWithIt)
{
    Session.Reset();
    EXPECT_EQ(Prop->GetPropList().size(), 0u);
    Prop->SetSession(nullptr); // destroys the session, which is the wrapper's owner, too
    EXPECT_EQ(Prop->Get_CreatedBy(), nullptr);
    EXPECT_EQ(Catch([&] { (void)Prop->GetPropList(); }),
              Failure("EMAPI_UNCONFIGURED", 0x8004011C, "No session has been Assigned (TTestProp.GetPropList)!"));
}

TEST_F(WrapperSessionTest, LogoffTellsTheWrappersFromTheLastToTheFirst)
{
    std::string order;
    std::vector<TKwRef<TTestProp>> wrappers;
    for (const char* name : {"a", "b", "c"}) {
        wrappers.push_back(NewProp(Object.Get()));
        wrappers.back()->OnSetMAPIOBJECT = [&order, name](mapi::IUnknown* object) {
            if (object == nullptr)
                order += name;
        };
    }
    Session->Set_Active(false);
    EXPECT_EQ(order, "cba");
    for (const TKwRef<TTestProp>& wrapper : wrappers) {
        EXPECT_EQ(Catch([&] { (void)wrapper->GetPropList(); }), Failure("EMAPI_NO_ACCESS", 0x80070005, notActive));
        wrapper->OnSetMAPIOBJECT = nullptr;
    }
    EXPECT_EQ(Session->LogoffList().Count(), 4u) << "dropping the MAPI object does not unbind";

    Prop->SetMAPIOBJECT(Object.Get()); // usable again after the next logon
    EXPECT_EQ(Prop->GetPropList().size(), 0u);
}

TEST_F(WrapperSessionTest, AWrapperTakenOutOfTheListIsNotTold)
{
    const TKwRef<TTestProp> told = NewProp(Object.Get());
    Session->RemoveLogoffNotification(*Prop);
    Session->RemoveLogoffNotification(*Prop);
    EXPECT_EQ(Session->LogoffList().Snapshot(), std::vector<TKwMAPIWrapper*>{told.Get()});
    EXPECT_EQ(Session->DirectWrappers().Count(), 2u) << "it is the session's all the same";
    Session->Set_Active(false);
    EXPECT_EQ(told->Get_MAPIOBJECT(), nullptr);
    EXPECT_EQ(Prop->Get_MAPIOBJECT(), Object.Get());
    Session->LogoffNotification(*Prop);
    Session->Set_Active(false);
    EXPECT_EQ(Prop->Get_MAPIOBJECT(), nullptr);
}

TEST_F(WrapperSessionTest, AWrapperThatGoesWhileOthersAreToldIsSkipped)
{
    TKwRef<TTestProp> doomed = NewProp(Object.Get());
    bool toldAlive = false;
    bool destroying = false;
    doomed->OnSetMAPIOBJECT = [&](mapi::IUnknown*) { toldAlive = toldAlive || !destroying; };
    const TKwRef<TTestProp> last = NewProp(Object.Get());
    last->OnSetMAPIOBJECT = [&](mapi::IUnknown*) {
        destroying = true;
        doomed.Reset();
    };
    Session->Set_Active(false);
    EXPECT_TRUE(destroying);
    EXPECT_FALSE(toldAlive);
    EXPECT_EQ(Prop->Get_MAPIOBJECT(), nullptr) << "the walk went on";
    last->OnSetMAPIOBJECT = nullptr;
}

TEST_F(WrapperSessionTest, AWrapperThatRaisesDoesNotKeepTheOthersFromBeingTold)
{
    const TKwRef<TTestProp> failing = NewProp(Object.Get());
    failing->OnSetMAPIOBJECT = [](mapi::IUnknown*) { CreateKwMAPIException(mapi::MAPI_E_BUSY, u"first")->Raise(); };
    EXPECT_EQ(Catch([&] { Session->Set_Active(false); }), Failure("EMAPI_BUSY", 0x8004010B, "first"));
    EXPECT_EQ(failing->Get_MAPIOBJECT(), nullptr) << "inactive all the same";
    EXPECT_EQ(Prop->Get_MAPIOBJECT(), nullptr);
    failing->OnSetMAPIOBJECT = nullptr;
}

TEST_F(WrapperSessionTest, ManyWrappersComeAndGoInOrder)
{
    std::vector<TKwRef<TTestProp>> wrappers;
    for (int i = 0; i < 200; ++i)
        wrappers.push_back(NewProp(nullptr));
    std::vector<TKwMAPIWrapper*> expected{Prop.Get()};
    for (std::size_t i = 0; i < wrappers.size(); ++i) {
        if (i % 7 != 0)
            wrappers[i].Reset();
        else
            expected.push_back(wrappers[i].Get());
    }
    const TKwRef<TTestProp> added = NewProp(nullptr); // compacts the list
    expected.push_back(added.Get());
    EXPECT_EQ(Session->LogoffList().Snapshot(), expected);
    wrappers.clear();
    EXPECT_EQ(Session->LogoffList().Count(), 2u);
}

TEST_F(WrapperSessionTest, AWrapperThatFailsWhileItIsDestroyedStillLetsGoOfEverything)
{
    static std::string reported;
    reported.clear();
    KwSetServerExceptionHandler([](std::exception_ptr exception,
                                   void*) { reported = Catch([&] { std::rethrow_exception(exception); }).Message; },
                                nullptr);
    Prop->OnSetMAPIOBJECT = [](mapi::IUnknown*) { CreateKwMAPIException(mapi::MAPI_E_BUSY, u"busy")->Raise(); };
    Prop.Reset();
    KwSetServerExceptionHandler(nullptr, nullptr);
    EXPECT_EQ(reported, "busy");
    EXPECT_EQ(Object->RefCount(), 1u);
    EXPECT_EQ(Session->LogoffList().Count(), 0u);
}

TEST_F(WrapperSessionTest, AnotherMAPIObjectStartsWithNothingOfTheOldOne)
{
    constexpr mapi::ULONG subject = 0x0037001F;
    const TKwComPtr<TScriptedProp> other = NewObject("other.");
    Bag().Set(TextValue(subject, u"old"));
    other->Bag.Set(TextValue(subject, u"new"));
    const TKwRef<IKwMAPIProperty> item = Property(PR_SUBJECT);
    EXPECT_EQ(item->Get_AsString(), u"old");
    EXPECT_EQ(Property(NPR_COMMON_REMINDER_DATE)->Get_PropTag(), 0x80000040u);
    Property(PR_IMPORTANCE)->Set_AsInteger(2);

    Prop->SetMAPIOBJECT(other.Get());
    EXPECT_EQ(Object->RefCount(), 1u);
    EXPECT_EQ(other->RefCount(), 2u);
    EXPECT_FALSE(Prop->GetModified());
    EXPECT_EQ(Prop->Get_Properties()->Get_Count(), 0);
    EXPECT_EQ(Catch([&] { (void)item->Get_Value(); }).ClassName, "EMAPI_NO_ACCESS");
    static_cast<void>(Calls->Take());
    EXPECT_EQ(Property(PR_SUBJECT)->Get_AsString(), u"new");
    EXPECT_EQ(Property(NPR_CLIENTINTENT)->Get_PropTag(), 0x80000003u);
    EXPECT_EQ(Property(NPR_COMMON_REMINDER_DATE)->Get_PropTag(), 0x80010040u)
        << "its store counts names in its own way";
    Prop->PersistPendingChanges();
    EXPECT_EQ(Calls->Take(),
              "other.GetProps([0x0037001F],0x80000000)\nother.GetIDsFromNames(\"ClientIntent\",0x00000002)\n"
              "other.GetIDsFromNames(0x00008502,0x00000002)");

    Prop->SetMAPIOBJECT(other.Get());
    EXPECT_EQ(other->RefCount(), 2u);
    EXPECT_EQ(Session->LogoffList().Count(), 1u);
}

TEST_F(WrapperSessionTest, ItemsPropertiesObjectAndSessionMayGoInAnyOrder)
{
    const std::size_t objects = TKwAutoIntfObject::LiveObjects();
    const mapi::ULONG references = Object->RefCount();
    std::string order = "iops";
    std::sort(order.begin(), order.end());
    do {
        SCOPED_TRACE(order);
        TKwRef<TScriptedSession> session = KwMake<TScriptedSession>(Calls);
        TKwRef<TTestProp> object = KwMake<TTestProp>(session.Get());
        object->SetSession(session.Get());
        object->SetMAPIOBJECT(Object.Get());
        TKwRef<IKwMAPIProperties> properties = object->Get_Properties();
        TKwRef<IKwMAPIProperty> item = object->PropByName(PR_SUBJECT);
        item->Set_AsString(u"pending");
        for (const char goes : order) {
            switch (goes) {
            case 'i':
                item.Reset();
                break;
            case 'o':
                object.Reset();
                break;
            case 'p':
                properties.Reset();
                break;
            default:
                session.Reset(); // the object still holds it
            }
            const auto expected = [&](const std::string& method) {
                return object ? TCaught{}
                              : Failure("EMAPI_NO_ACCESS", 0x80070005,
                                        "Failed to execute " + method +
                                            "!\r\nThe parentobject of this instance has been destroyed!");
            };
            if (item) {
                EXPECT_EQ(Catch([&] { EXPECT_EQ(item->Get_AsString(), u"pending"); }),
                          expected(properties ? "TKwMAPIPropItems.Get_Value" : "TKwMAPIPropItem.Get_Value"));
                EXPECT_EQ(item->Get_PropName(), u"PR_SUBJECT");
            }
            if (properties) {
                EXPECT_EQ(Catch([&] { EXPECT_EQ(properties->Get_Count(), 1); }),
                          expected("TKwMAPIPropItems.Get_Count"));
            }
            if (object) {
                EXPECT_TRUE(object->GetModified());
            }
        }
        EXPECT_EQ(TKwAutoIntfObject::LiveObjects(), objects);
        EXPECT_EQ(Object->RefCount(), references);
    } while (std::next_permutation(order.begin(), order.end()));
}

// ---- Guards

TEST_F(WrapperSessionTest, GuardsNameClassAndMethod)
{
    Prop->CheckActive(u"Anything");
    Prop->CheckExtendedMAPI(u"Anything");
    Session->ExtendedMAPI = false;
    EXPECT_EQ(Catch([&] { Prop->CheckExtendedMAPI(u"GetRules"); }),
              Failure("EMAPI_NOT_SUPPORTED", 26, "TTestProp.GetRules is not supported by Simple MAPI!"));
    Prop->SetMAPIOBJECT(nullptr);
    Prop->CheckActive(u"Anything", false);
    EXPECT_EQ(Catch([&] { Prop->CheckActive(u"GetPropList"); }), Failure("EMAPI_NO_ACCESS", 0x80070005, notActive));
    Prop->SetSession(nullptr);
    EXPECT_EQ(Catch([&] { Prop->CheckActive(u"Anything", false); }),
              Failure("EMAPI_UNCONFIGURED", 0x8004011C, "No session has been Assigned (TTestProp.Anything)!"));
}

TEST_F(WrapperSessionTest, WriteAccessIsWhatWasGranted)
{
    const TCaught denied = Failure("EMAPI_NO_ACCESS", 0x80070005, "You don't have readwrite access!");
    EXPECT_EQ(Catch([&] { Prop->CheckAccessLevel(alReadWrite); }), denied);
    Prop->CheckAccessLevel(alReadOnly);
    Prop->CheckAccessLevel(alBestAccess);
    Prop->SetAccessLevel(alReadWrite);
    Prop->CheckAccessLevel(alReadWrite);
    Prop->SetAccessLevel(alBestAccess);
    EXPECT_EQ(Catch([&] { Prop->CheckAccessLevel(alReadWrite); }), denied);
    Prop->SetAccessLevel(alBestAccess, true);
    Prop->CheckAccessLevel(alReadWrite);
    EXPECT_EQ(Prop->Get_AccessLevel(), alBestAccess);
}

TEST_F(WrapperSessionTest, AfterLogoffEveryOperationSaysThatTheObjectIsNotActive)
{
    const TKwRef<IKwMAPIProperties> items = Prop->Get_Properties();
    const TKwRef<TKwMAPIPropValueList> list = KwMake<TKwMAPIPropValueList>();
    list->AddValue(PR_SUBJECT, u"x");
    mapi::ULONG returned = 0;
    const TKwMAPIPropDef defs[] = {PR_SUBJECT};
    const std::pair<const char*, std::function<void()>> operations[] = {
        {"Get_AccessLevel", [&] { (void)Prop->Get_AccessLevel(); }},
        {"CheckAccessLevel", [&] { Prop->CheckAccessLevel(alReadOnly); }},
        {"GetModified", [&] { (void)Prop->GetModified(); }},
        {"GetPropTag", [&] { (void)Prop->GetPropTag(PR_SUBJECT); }},
        {"GetPropTag", [&] { (void)Prop->GetPropTag(NPR_CLIENTINTENT); }},
        {"Get_Properties", [&] { (void)Prop->Get_Properties(); }},
        {"PropByName", [&] { (void)Prop->PropByName(PR_SUBJECT); }},
        {"HasProp", [&] { (void)Prop->HasProp(PR_SUBJECT); }},
        {"DeleteProperty", [&] { Prop->DeleteProperty(PR_SUBJECT); }},
        {"PropByName", [&] { (void)Prop->Get_EntryID(); }},
        {"PropByName", [&] { (void)Prop->Get_RecordKey(); }},
        {"PropByName", [&] { (void)Prop->Get_SearchKey(); }},
        {"PropByName", [&] { Prop->Set_SearchKey(TKwBytes{1}); }},
        {"Get_SourceKey", [&] { (void)Prop->Get_SourceKey(); }},
        {"GetPropList", [&] { (void)Prop->GetPropList(); }},
        {"RetrieveAllProperties", [&] { Prop->RetrieveAllProperties(); }},
        {"ResetProperties", [&] { Prop->ResetProperties(); }},
        {"GetPropValueArray", [&] { (void)Prop->GetPropValueArray(defs, returned); }},
        {"GetPropValues", [&] { (void)Prop->GetPropValues({PR_SUBJECT}); }},
        {"GetPropValues", [&] { Prop->GetPropValues(*list); }},
        {"SetPropValues", [&] { Prop->SetPropValues(*list); }},
        {"PersistPendingChanges", [&] { Prop->PersistPendingChanges(); }},
        {"SaveChanges", [&] { Prop->SaveChanges(smClose); }},
        {"OpenBinProperty", [&] { (void)Prop->OpenBinProperty(PR_BODY, alReadOnly, false); }},
        {"OpenIntfProperty", [&] { (void)Prop->OpenIntfProperty(PR_BODY, mapi::IID_IStream, 0, alReadOnly, false); }},
        {"OpenIntfProperty",
         [&] { (void)Prop->OpenIntfPropertyByTag(0x1000001F, mapi::IID_IStream, 0, alReadOnly, false); }},
        {"DisplayProperties", [&] { Prop->DisplayProperties(); }},
        {"Get_Count", [&] { (void)items->Get_Count(); }},
        {"Get_Item", [&] { (void)items->Get_Item(0); }},
        {"FindPropByTag", [&] { (void)items->FindPropByTag(0x0037001F); }},
        {"FindPropByDef", [&] { (void)items->FindPropByDef(PR_SUBJECT); }},
        {"PropByTag", [&] { items->PropByTag(0x0037001F, true); }},
        {"Add", [&] { items->Add(PR_SUBJECT); }},
        {"Delete", [&] { items->Delete(0); }},
    };
    Session->Set_Active(false);
    static_cast<void>(Calls->Take());
    for (const auto& [name, operation] : operations)
        EXPECT_EQ(Catch(operation),
                  Failure("EMAPI_NO_ACCESS", 0x80070005,
                          "TTestProp." + std::string(name) + " failed.\r\nThe object is not, or no longer, active!"));
    EXPECT_EQ(Calls->Take(), "");
}

TEST_F(WrapperSessionTest, AnItemAfterLogoffNamesTheObjectThatIsNotActive)
{
    const TKwRef<IKwMAPIProperty> subject = Property(PR_SUBJECT);
    subject->Set_AsString(u"never saved");
    Session->Set_Active(false);
    EXPECT_EQ(Catch([&] { (void)subject->Get_Value(); }),
              Failure("EMAPI_NO_ACCESS", 0x80070005,
                      "TTestProp.Get_Value failed.\r\nThe object is not, or no longer, active!"));
    Prop->SetMAPIOBJECT(Object.Get());
    EXPECT_FALSE(Prop->GetModified());
    EXPECT_EQ(Catch([&] { subject->Set_Value(u"x"); }).Message,
              "Failed to execute TKwMAPIPropItem.Set_Value!\r\nThe parentobject of this instance has been destroyed!");
}

// ---- Memory, events, the storage session

TEST_F(WrapperSessionTest, MemoryComesFromTheSessionAndOutlivesTheWrapper)
{
    TKwMAPIBuffer<void> buffer(*Prop, Prop->AllocateBuffer(20));
    EXPECT_NE(Prop->AllocateMore(4, buffer.Get()), nullptr);
    mapi::ULONG size = 0;
    TKwMAPIBuffer<void> entryID(*Prop, Prop->GetMAPIEntryID(TKwBytes{1, 2, 3}, size));
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(static_cast<const std::uint8_t*>(entryID.Get())[2], 3);
    EXPECT_EQ(Calls->Take(), "AllocateBuffer(20)\nAllocateMore(4)\nAllocateBuffer(3)");
    Prop.Reset();
    Session.Reset();
    buffer = std::move(entryID);
    EXPECT_EQ(TScriptedAllocator::Live(), 1u);
}

TEST_F(WrapperSessionTest, RowSetsAndAddressListsAreFreedWithTheirRows)
{
    const auto rows = [&](auto* set, auto member) {
        set->*member = 2;
        return set;
    };
    {
        TKwMAPIRowSet set(*Prop, rows(static_cast<mapi::SRowSet*>(Prop->AllocateBuffer(200)), &mapi::SRowSet::cRows));
        set->aRow[0].lpProps = static_cast<mapi::SPropValue*>(Prop->AllocateBuffer(24));
        set->aRow[1].lpProps = nullptr; // taken out by the reader
        TKwMAPIAdrList list(*Prop,
                            rows(static_cast<mapi::ADRLIST*>(Prop->AllocateBuffer(200)), &mapi::ADRLIST::cEntries));
        list->aEntries[0].rgPropVals = nullptr;
        list->aEntries[1].rgPropVals = static_cast<mapi::SPropValue*>(Prop->AllocateBuffer(24));
        EXPECT_EQ(TScriptedAllocator::Live(), 4u);
    }
    EXPECT_EQ(TScriptedAllocator::Live(), 0u);
}

TEST_F(WrapperSessionTest, ExecutingEventsNests)
{
    EXPECT_FALSE(Session->Get_ExecutingEvents());
    Session->SetExecutingEvents(true);
    Session->SetExecutingEvents(true);
    Session->SetExecutingEvents(false);
    EXPECT_TRUE(Session->Get_ExecutingEvents());
    Session->SetExecutingEvents(false);
    Session->SetExecutingEvents(false); // one too many changes nothing
    Session->SetExecutingEvents(true);
    EXPECT_TRUE(Session->Get_ExecutingEvents());
}

// ---- The provider's own text

TEST_F(WrapperSessionTest, TheProvidersTextStandsInTheMessage)
{
    Bag().Error = u"Quota";
    Bag().Component = u"Store";
    EXPECT_EQ(Catch([&] { Prop->CheckLastError(u"Copy", mapi::MAPI_E_NOT_ENOUGH_DISK); }),
              Failure("EMAPI_NOT_ENOUGH_DISK", 0x8004010D, "Component Store caused: Quota (TTestProp.Copy)"));
    EXPECT_EQ(Calls->Take(), "GetLastError(0x8004010D,0x80000000)");
    Prop->CheckLastError(u"Copy", 0);
    EXPECT_EQ(Calls->Take(), "") << "nothing is asked for success";

    // MAPI_E_EXTENDED_ERROR takes the same text on the common road of results; no other result asks for it.
    const TCaught extended =
        Failure("EKwMAPIException", 0x80040119,
                "TTestProp.Copy has raised the following exception:\r\nQuota (Store) (-2147221223=0x80040119)");
    EXPECT_EQ(Catch([&] { CheckMAPIResult(*Prop, u"Copy", mapi::MAPI_E_EXTENDED_ERROR); }), extended);
    EXPECT_EQ(Catch([&] { CheckMAPIResult(u"TTestProp", u"Copy", mapi::MAPI_E_EXTENDED_ERROR, Prop.Get()); }),
              extended);
    EXPECT_EQ(Calls->Take(), "GetLastError(0x80040119,0x80000000)\nGetLastError(0x80040119,0x80000000)");
    EXPECT_EQ(Catch([&] { CheckMAPIResult(*Prop, u"Copy", mapi::MAPI_E_NO_SUPPORT); }).ClassName, "EMAPI_NO_SUPPORT");
    EXPECT_EQ(Calls->Take(), "");

    TKwMAPIError error;
    Prop->GetExtendedErrorInfo(mapi::MAPI_E_BUSY, error);
    EXPECT_EQ(error.LowLevelError, 7);
    EXPECT_EQ(error.Context, 9);
}

TEST_F(WrapperSessionTest, WithoutATextTheResultIsRaisedAsAlways)
{
    EXPECT_EQ(Catch([&] { Prop->CheckLastError(u"Copy", mapi::MAPI_E_BUSY); }).Message,
              "TTestProp.Copy has raised the following exception:\r\nMAPI_E_BUSY (-2147221237=0x8004010b)");
    TTestPlatform platform;
    const TKwPlatformOverride override(platform);
    for (const char16_t* const text : {u"", u"The system's text."}) {
        platform.Messages[mapi::MAPI_E_EXTENDED_ERROR] = text;
        EXPECT_EQ(Catch([&] { CheckMAPIResult(*Prop, u"Copy", mapi::MAPI_E_EXTENDED_ERROR); }).Message,
                  "TTestProp.Copy has raised the following exception:\r\n" + KwToUtf8(text) +
                      " (-2147221223=0x80040119)");
    }
    TKwMAPIError error{u"stale", u"stale", 1, 2};
    Prop->SetMAPIOBJECT(nullptr);
    Prop->GetExtendedErrorInfo(mapi::MAPI_E_BUSY, error);
    EXPECT_TRUE(error.Error.empty() && error.Component.empty());
    EXPECT_EQ(error.LowLevelError, 0);
}

TEST_F(WrapperSessionTest, AnEightBitProviderIsAskedAgain)
{
    Bag().EightBitOnly = true;
    Bag().Error = u"Quota";
    TKwMAPIError error;
    Prop->GetExtendedErrorInfo(mapi::MAPI_E_BUSY, error);
    EXPECT_EQ(error.Error, u"Quota");
    EXPECT_EQ(Calls->Take(), "GetLastError(0x8004010B,0x80000000)\nGetLastError(0x8004010B,0x00000000)");

    Calls->Next("GetLastError", mapi::MAPI_E_BAD_CHARWIDTH);
    Calls->Next("GetLastError", mapi::MAPI_E_BAD_CHARWIDTH);
    EXPECT_EQ(Catch([&] { Prop->GetExtendedErrorInfo(mapi::MAPI_E_BUSY, error); }).ClassName, "EMAPI_BAD_CHARWIDTH")
        << "repeated once, not for ever";
    EXPECT_EQ(Calls->Lines().size(), 2u);
}

TEST_F(WrapperSessionTest, AFailingGetLastErrorReplacesTheFailure)
{
    Calls->Next("GetLastError", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch([&] { CheckMAPIResult(*Prop, u"Copy", mapi::MAPI_E_EXTENDED_ERROR); }).ClassName,
              "EMAPI_NETWORK_ERROR");
    Calls->Next("GetLastError", mapi::MAPI_E_EXTENDED_ERROR);
    EXPECT_EQ(Catch([&] { Prop->CheckLastError(u"Copy", mapi::MAPI_E_EXTENDED_ERROR); }).ClassName, "EKwMAPIException")
        << "and does not ask itself again";
}

} // namespace

} // namespace deftmapi::test
