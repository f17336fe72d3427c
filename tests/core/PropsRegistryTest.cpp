// Registering definitions, the failures of look-ups, and identity. Most cases use a registry of their own: the
// library's one is never emptied.
#include "mapi/core/PropRegistry.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "tests/core/Caught.hpp"
#include "tests/support/ScriptedMAPI.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace deftmapi;
using deftmapi::test::Catch;
using deftmapi::test::TCaught;
using deftmapi::test::TPropName;
using TIdentity = TKwMAPIPropIdentity;
using enum TKwMAPIPropRegistry::THashMode;

TCaught InvalidParameter(std::string message)
{
    return {"EMAPI_INVALID_PARAMETER", std::move(message), 0x80070057, false};
}

TEST(PropsRegistryTest, NewDefinitionsGoOnAfterThePredefinedOnes)
{
    TKwMAPIPropRegistry registry;
    const TKwMAPIPropInfo& tagged = registry.Register(u"PR_MINE", TIdentity::Tagged(0x6F3E, 0x0003));
    EXPECT_EQ(tagged.Hash, 4867u);
    EXPECT_EQ(tagged.PropName(), u"PR_MINE");
    EXPECT_EQ(tagged.PropID(), TKwVariant(std::int32_t{0x6F3E}));
    EXPECT_EQ(GetPropTag(tagged), 0x6F3E0003u);
    EXPECT_FALSE(tagged.Named);
    EXPECT_TRUE(SameGuid(tagged.PropSet(), IID_EMPTY));
    EXPECT_TRUE(tagged.DisposePropDef());
    EXPECT_EQ(*tagged.PropDef(), 4867u);

    const mapi::GUID set = mapi::MakeGuid(0x12345678, 1, 2, 3, 4);
    WideString name = u"Meine Größe";
    const TKwMAPIPropInfo& named = registry.Register(u"NPR_MINE", TIdentity::NamedByText(set, name, 0x001F));
    name.assign(name.size(), u'x'); // the registry keeps its own copy
    EXPECT_EQ(named.Hash, 4868u);
    EXPECT_EQ(named.PropID().AsStringW(), u"Meine Größe");
    EXPECT_EQ(named.PropKind, mapi::MNID_STRING);
    EXPECT_TRUE(SameGuid(named.PropSet(), set));

    const TKwMAPIPropInfo& numbered = registry.Register(u"NPR_NUMBER", TIdentity::NamedById(set, 0x80000001, 0x0003));
    EXPECT_EQ(numbered.Hash, 4869u);
    EXPECT_EQ(numbered.Identifier(), 0x80000001u);

    EXPECT_EQ(registry.Count(), 4869u);
    EXPECT_EQ(registry.FindName(u"NPR_MINE"), &named);
    EXPECT_EQ(registry.FindIdentity(TIdentity::NamedByText(set, u"Meine Größe", 0x001E), false), &named);
    EXPECT_EQ(registry.FindIdentity(TIdentity::NamedById(set, 0x80000001, 0x0003), true), &numbered);
    EXPECT_EQ(registry.FindIdentity(TIdentity::Tagged(0x6F3E, 0x0003), true), &tagged);
    EXPECT_EQ(&registry.Info(4868, true), &named);
}

TEST(PropsRegistryTest, AnIdentityThatExistsGivesTheExistingDefinition)
{
    TKwMAPIPropRegistry registry;
    EXPECT_EQ(registry.Register(u"PR_OTHER_NAME", TIdentity::Tagged(0x0037, 0x001F)).Hash, PR_SUBJECT);
    EXPECT_EQ(registry.Register(u"X", TIdentity::NamedById(PSETID_Common, 0x8502, 0x0040)).PropName(),
              u"NPR_REMINDERTIME");
    EXPECT_EQ(registry.Count(), PredefinedPropCount);

    const TKwMAPIPropInfo& first = registry.Register(u"A", TIdentity::Tagged(0x6F3E, 0x001F));
    EXPECT_EQ(&registry.Register(u"B", TIdentity::Tagged(0x6F3E, 0x001F)), &first);
    // The other width is a definition of its own, and is found as the twin.
    const TKwMAPIPropInfo& narrow = registry.Register(u"A_A", TIdentity::Tagged(0x6F3E, 0x001E));
    EXPECT_NE(&narrow, &first);
    EXPECT_EQ(&registry.Info(first.Hash, false), &narrow);
    EXPECT_EQ(registry.FindIdentity(TIdentity::Tagged(0x6F3E, 0x001E), false), &first);
}

TEST(PropsRegistryTest, AddressesSurviveManyRegistrations)
{
    TKwMAPIPropRegistry registry;
    const mapi::GUID set = mapi::MakeGuid(0xABCDEF01, 1, 2, 3, 4);
    std::vector<const TKwMAPIPropInfo*> infos;
    for (std::uint32_t id = 0; id < 3000; ++id)
        infos.push_back(&registry.Register(u"SAME_NAME", TIdentity::NamedById(set, id, 0x0003)));
    for (std::uint32_t id = 0; id < infos.size(); ++id) {
        EXPECT_EQ(registry.FindIdentity(TIdentity::NamedById(set, id, 0x0003)), infos[id]);
        EXPECT_EQ(infos[id]->Hash, 4867 + id);
        EXPECT_EQ(registry.FindDef(4867 + id), infos[id]);
    }
    EXPECT_EQ(registry.FindName(u"SAME_NAME"), infos[0]) << "the first of a name is found";
}

TEST(PropsRegistryTest, HashHandlesAreFoundBySearchAndRefuseToCollide)
{
    TKwMAPIPropRegistry registry;
    const auto identity = TIdentity::NamedByText(PSETID_Common, u"Hashed", 0x001F);
    const TKwMAPIPropInfo& info = registry.Add(u"NPR_HASHED", identity, Hashed);
    EXPECT_GE(info.Hash, 0xF000000000000000u);
    EXPECT_EQ(registry.FindDef(info.Hash), &info);
    EXPECT_EQ(registry.FindDef(4867), nullptr) << "its place in the sequence is not its handle";
    EXPECT_EQ(Catch([&] { (void)registry.Add(u"NPR_HASHED", identity, Hashed); }),
              InvalidParameter("NPR_HASHED is equal to NPR_HASHED"));
    EXPECT_EQ(registry.Count(), 4867u);
    // Every part of the identity and the name count.
    EXPECT_NE(registry.CalcHash(u"NPR_OTHER", identity, Hashed), info.Hash);
    EXPECT_NE(registry.CalcHash(u"NPR_HASHED", TIdentity::NamedByText(PSETID_Common, u"Hashed", 0x001E), Hashed),
              info.Hash);
    EXPECT_NE(registry.CalcHash(u"NPR_HASHED", TIdentity::NamedByText(PSETID_Task, u"Hashed", 0x001F), Hashed),
              info.Hash);
    // A number counts as its decimal text, with its sign bit, too; a tag is a number of the empty set.
    const auto hashOf = [&](const TIdentity& any) { return registry.CalcHash(u"N", any, Hashed); };
    EXPECT_EQ(hashOf(TIdentity::NamedById(PSETID_Task, 34050, 3)),
              hashOf(TIdentity::NamedByText(PSETID_Task, u"34050", 3)));
    EXPECT_EQ(hashOf(TIdentity::NamedById(PSETID_Task, 0x80000001, 3)),
              hashOf(TIdentity::NamedByText(PSETID_Task, u"2147483649", 3)));
    EXPECT_EQ(hashOf(TIdentity::Tagged(55, 3)), hashOf(TIdentity::NamedByText(IID_EMPTY, u"55", 3)));
    EXPECT_NE(hashOf(TIdentity::NamedById(PSETID_Task, 5, 3)), hashOf(TIdentity::NamedById(PSETID_Task, 6, 3)));
}

TEST(PropsRegistryTest, ACollisionNamesBothDefinitions)
{
    // The hash is over a text of all parts, in which different definitions can run into the same text.
    TKwMAPIPropRegistry registry;
    const WideString common = u"{00062008-0000-0000-C000-000000000046}";
    const WideString longName = u"X31" + common + u"Y";
    const WideString longText = u"A31" + common + u"X";
    const auto first = TIdentity::NamedByText(PSETID_Common, u"A", 0x001F);
    const auto second = TIdentity::NamedByText(PSETID_Common, longText, 0x001F);
    const TKwMAPIPropInfo& info = registry.Add(longName, first, Hashed);
    EXPECT_GE(info.Hash, 0xF000000000000000u);
    EXPECT_EQ(Catch([&] { (void)registry.Add(u"Y", second, Hashed); }),
              InvalidParameter("Y is equal to " + KwToUtf8(longName)));
    EXPECT_EQ(registry.FindIdentity(second, true), nullptr);
    EXPECT_EQ(registry.Count(), 4867u);
}

TEST(PropsRegistryTest, TheLibrarysRegistryIsTheOneBehindThePublicFunctions)
{
    const TKwMAPIPropDef before = PropDefCount();
    EXPECT_EQ(CalcPropHash(GetPropInfo(PR_SUBJECT), true), before + 1);
    EXPECT_GE(CalcPropHash(GetPropInfo(PR_SUBJECT), false), 0xF000000000000000u);

    const TKwMAPIPropInfo& info = RegisterProp(PSETID_Velmora, u"NPR_TEST_PUBLIC", 0x7001u, 0x0003);
    EXPECT_EQ(PropDefCount(), before + 1);
    EXPECT_EQ(info.Hash, before + 1);
    EXPECT_EQ(&RegisterProp(PSETID_Velmora, u"NPR_TEST_AGAIN", 0x7001u, 0x0003), &info);
    EXPECT_EQ(GetPropDef(u"NPR_TEST_PUBLIC"), info.Hash);
    EXPECT_EQ(GetPropName(info.Hash), u"NPR_TEST_PUBLIC");
    EXPECT_EQ(FindProp(PSETID_Velmora, 0x7001u, 0x0003, true), &info);
    EXPECT_EQ(RegisterProp(u"ANY", 0x0037, 0x001F).Hash, PR_SUBJECT);
    EXPECT_EQ(RegisterProp(PSETID_CalendarAssistant, u"ANY", u"ClientIntent", 0x0003).Hash, NPR_CLIENTINTENT);

    // GetProp names what it has to make after its identity.
    EXPECT_EQ(GetProp(0x6F010003u, true).PropName(), u"0x6F010003");
    EXPECT_EQ(GetProp(0x6F01, 0x0003, true).Hash, before + 2);
    const TPropName nameID(PSETID_Velmora, 0x7002);
    const TKwMAPIPropInfo& made = GetProp(0x8001001Fu, nameID, true);
    EXPECT_EQ(made.PropName(), u"{52A474EE-E1A3-4E63-8FFC-FCDACB06A7FC}:0x7002");
    EXPECT_EQ(&GetProp(nameID, 0x001E, false), &made) << "either width is the property while unicode is off";
    EXPECT_EQ(GetProp(PSETID_Velmora, u"Text", 0x001F, true).PropName(),
              u"{52A474EE-E1A3-4E63-8FFC-FCDACB06A7FC}:Text");
    EXPECT_EQ(PropDefCount(), before + 4);
}

TEST(PropsRegistryTest, LookUpsThatFailSaySo)
{
    EXPECT_EQ(Catch([] { (void)GetPropDef(u"pr_subject"); }),
              InvalidParameter("There is no registered property with the name \"pr_subject\"!"));
    for (const TKwMAPIPropDef def :
         std::initializer_list<TKwMAPIPropDef>{0xF000000000000001, ~0ull, 0x1000000000000000, 0x100000})
        EXPECT_EQ(Catch([&] { (void)GetPropInfo(def); }), InvalidParameter("The PropDef.ID contains an invalid ID!"))
            << def;
    EXPECT_EQ(Catch([] { (void)GetPropInfo(0); }).ClassName, "EKwAssertionFailed");
    EXPECT_EQ(Catch([] { (void)GetPropName(0xF000000000000001); }).ClassName, "EMAPI_INVALID_PARAMETER");

    TKwMAPIPropRegistry registry;
    const TKwMAPIPropInfo& nameless = registry.Register(u"N", TIdentity::NamedByText(PSETID_Task, u"", 0x001F));
    EXPECT_EQ(&registry.Info(nameless.Hash, true), &nameless);
    EXPECT_EQ(Catch([&] { (void)registry.Info(nameless.Hash, false); }),
              InvalidParameter("The given PropDef does not have an ID"));
}

TEST(PropsRegistryTest, SamePropComparesIdentityAndForgivesWidthWhenUnicodeIsOff)
{
    const auto& subject = GetPropInfo(PR_SUBJECT);
    const auto& subjectA = GetPropInfo(PR_SUBJECT_A);
    EXPECT_TRUE(SameProp(subject, GetPropInfo(PR_SUBJECT_W), true));
    EXPECT_FALSE(SameProp(subject, subjectA, true));
    EXPECT_TRUE(SameProp(subject, subjectA, false));
    EXPECT_TRUE(SameProp(subjectA, subject, false));
    EXPECT_FALSE(SameProp(subject, GetPropInfo(PR_BODY), false));

    EXPECT_TRUE(SameProp(subject, 0x0037001Fu, true));
    EXPECT_FALSE(SameProp(subject, 0x0037001Eu, true));
    EXPECT_TRUE(SameProp(subject, 0x0037001Eu, false));
    EXPECT_FALSE(SameProp(subject, 0x00370102u, false));
    EXPECT_EQ(Catch([] { (void)SameProp(GetPropInfo(NPR_CLIENTINTENT), 0x80010003u, true); }),
              (TCaught{"EKwAssertionFailed",
                       "This overloaded version of SameProp will only work on Standard Properties (uKwMAPIProps)",
                       0x8000FFFF, false}));

    const TPropName nameID(PSETID_CalendarAssistant, u"ClientIntent");
    const auto& intent = GetPropInfo(NPR_CLIENTINTENT);
    EXPECT_TRUE(SameProp(intent, 0x80010003u, nameID, true));
    EXPECT_TRUE(SameProp(intent, nameID, 0x9F420003u, true));
    EXPECT_FALSE(SameProp(intent, nameID, 0x8001001Fu, false));
    EXPECT_FALSE(SameProp(subject, nameID, 0x0037001Fu, false));
    EXPECT_FALSE(SameProp(intent, TPropName(PSETID_Task, u"ClientIntent"), 0x80010003u, true));
    EXPECT_FALSE(SameProp(intent, TPropName(PSETID_CalendarAssistant, u"clientIntent"), 0x80010003u, true));
}

} // namespace
