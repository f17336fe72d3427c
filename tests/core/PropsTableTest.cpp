// The predefined definitions against the CSV that they are made of, and every look-up against a walk from the first
// definition on.
#include "mapi/core/PropRegistry.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <type_traits>

namespace
{

using namespace deftmapi;

static_assert(std::is_same_v<decltype(PR_SUBJECT), const TKwMAPIPropDef>);
static_assert(PR_ACKNOWLEDGEMENT_MODE == 1 && PR_ALTERNATE_RECIPIENT_ALLOWED == 2 && PR_SUBJECT == 61);
static_assert(PR_SUBJECT_W == 63 && NPR_SENDUSINGACCOUNT == 4838 && PredefinedPropCount == 4866);

/// As text, from the record's public face alone: what two equal properties have in common.
std::string IdentityOf(const TKwMAPIPropInfo& info, bool unicode)
{
    std::uint32_t type = info.PropType;
    if (!unicode && (type == 0x1F || type == 0x101F))
        --type;
    std::ostringstream text;
    text << info.Named << ' ' << KwToUtf8(KwGuidToStr(info.PropSet())) << ' ' << info.PropKind << ' '
         << KwToUtf8(info.PropID().AsStringW()) << ' ' << type;
    return text.str();
}

// Applications keep handles, so no row may move, be renamed, or change its type or its property set. The value is the
// FNV-1a hash of all rows, written down when they were published; a new definition at the end comes after the 4866 and
// does not change it.
TEST(PropsTable, NumbersNamesAndTypesAreThePublishedOnes)
{
    constexpr std::uint64_t published = 0x3678065632ED4DE7;
    std::uint64_t hash = 0xCBF29CE484222325;
    for (TKwMAPIPropDef def = 1; def <= 4866; ++def) {
        const TKwMAPIPropInfo& info = GetPropInfo(def);
        const bool isText = info.PropKind == mapi::MNID_STRING;
        const std::string row = KwToUtf8(info.PropName()) +
                                (!info.Named ? " tag "
                                 : isText    ? " string "
                                             : " lid ") +
                                (isText ? KwToUtf8(info.StringName()) : std::to_string(info.Identifier())) + ' ' +
                                std::to_string(info.PropType) + ' ' + KwToUtf8(KwGuidToStr(info.PropSet())) + '\n';
        for (const char c : row)
            hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    }
    EXPECT_EQ(hash, published);
}

TEST(PropsTableTest, EveryConstantAndEveryRecordSaysWhatItsRowSays)
{
    std::map<std::string, TKwMAPIPropDef> constants;
    std::ifstream header(DEFTMAPI_TEST_DEFINITIONS_HEADER);
    const std::string start = "inline constexpr TKwMAPIPropDef ";
    for (std::string line; std::getline(header, line);) {
        if (line.starts_with(start)) {
            std::istringstream rest(line.substr(start.size()));
            std::string name, equals;
            rest >> name >> equals >> constants[name];
        }
    }
    EXPECT_EQ(constants.size(), 4866u + 1); // and PredefinedPropCount

    std::map<std::string, mapi::GUID> sets; // by name; their values are told by the hash above
    std::ifstream file(DEFTMAPI_TEST_DEFINITIONS_CSV);
    std::string row;
    std::getline(file, row);
    for (TKwMAPIPropDef def = 1; def <= 4866; ++def) {
        ASSERT_TRUE(std::getline(file, row));
        SCOPED_TRACE(row);
        std::stringstream fields(row);
        std::string number, name, kind, set, id, text, type;
        for (std::string* field : {&number, &name, &kind, &set, &id, &text, &type})
            std::getline(fields, *field, ',');
        EXPECT_EQ(std::stoull(number), def);
        EXPECT_EQ(constants[name], def);
        const TKwMAPIPropInfo& info = GetPropInfo(def);
        const bool unnamedTwin = name == "NPR_CERTTHUMBPRINT_A" || name == "NPR_CERTTHUMBPRINT_W";
        EXPECT_EQ(KwToUtf8(info.PropName()), unnamedTwin ? "NPR_CERTTHUMBPRINT" : name);
        EXPECT_EQ(*(info.PropName().data() + info.PropName().size()), u'\0');
        EXPECT_EQ(info.Hash, def);
        EXPECT_EQ(*info.PropDef(), def);
        EXPECT_FALSE(info.DisposePropDef());
        EXPECT_EQ(info.PropType, std::stoul(type, nullptr, 16));
        EXPECT_EQ(info.Named, kind != "tag");
        EXPECT_EQ(info.PropKind, kind == "string" ? mapi::MNID_STRING : mapi::MNID_ID);
        EXPECT_TRUE(SameGuid(info.PropSet(), sets.try_emplace(set, info.PropSet()).first->second));
        EXPECT_EQ(info.PropID(), kind == "string" ? TKwVariant(KwFromUtf8(text))
                                                  : TKwVariant(static_cast<std::int32_t>(std::stoul(id, nullptr, 16))));
    }
    EXPECT_FALSE(std::getline(file, row));
    EXPECT_EQ(sets.size(), 19u);
}

TEST(PropsTableTest, IdentifiersAreSmallNumbersWhereTheyFit)
{
    EXPECT_EQ(GetPropInfo(PR_SUBJECT).PropID().Kind(), TKwVarKind::vkSmallInt);
    EXPECT_EQ(GetPropInfo(PR_EMS_AB_SERVER).PropID().AsInteger(), 0xFFFE);
    EXPECT_EQ(GetPropInfo(NPR_COMMON_REMINDER_DATE).PropID().Kind(), TKwVarKind::vkLongInt);
    EXPECT_EQ(GetPropInfo(NPR_CLIENTINTENT).PropID().AsStringW(), u"ClientIntent");
}

TEST(PropsTableTest, EveryLookUpFindsTheFirstDefinition)
{
    // What a walk from the start finds first, made by walking once.
    std::map<std::string, const TKwMAPIPropInfo*> firstOfName, firstOfIdentity[2];
    for (TKwMAPIPropDef def = 1; def <= PredefinedPropCount; ++def) {
        const TKwMAPIPropInfo& info = GetPropInfo(def);
        firstOfName.try_emplace(KwToUtf8(info.PropName()), &info);
        for (const bool unicode : {false, true})
            firstOfIdentity[unicode].try_emplace(IdentityOf(info, unicode), &info);
    }
    const TKwMAPIPropDef count = PropDefCount();
    for (TKwMAPIPropDef def = 1; def <= PredefinedPropCount; ++def) {
        const TKwMAPIPropInfo& info = GetPropInfo(def);
        SCOPED_TRACE(KwToUtf8(info.PropName()));
        const TKwMAPIPropInfo* expectedByName = firstOfName.at(KwToUtf8(info.PropName()));
        EXPECT_EQ(FindProp(info.PropName()), expectedByName);
        EXPECT_EQ(GetPropDef(info.PropName()), expectedByName->Hash);
        for (const bool unicode : {false, true}) {
            const TKwMAPIPropInfo* expected = firstOfIdentity[unicode].at(IdentityOf(info, unicode));
            if (!info.Named) {
                const auto id = static_cast<std::uint16_t>(info.Identifier());
                EXPECT_EQ(FindProp(id, info.PropType, unicode), expected);
                EXPECT_EQ(FindProp(GetPropTag(info), unicode), expected);
                EXPECT_EQ(&GetProp(GetPropTag(info), unicode), expected);
                EXPECT_TRUE(SameProp(info, GetPropTag(*expected), unicode));
                continue;
            }
            mapi::GUID set = info.PropSet();
            WideString name(info.StringName());
            mapi::MAPINAMEID nameID{&set, info.PropKind, {}};
            if (info.PropKind == mapi::MNID_STRING) {
                nameID.Kind.lpwstrName = name.data();
                EXPECT_EQ(FindProp(set, name, info.PropType, unicode), expected);
                EXPECT_EQ(&GetProp(set, name, info.PropType, unicode), expected);
            } else {
                nameID.Kind.lID = static_cast<mapi::LONG>(info.Identifier());
                EXPECT_EQ(FindProp(set, info.Identifier(), info.PropType, unicode), expected);
                EXPECT_EQ(&GetProp(set, info.Identifier(), info.PropType, unicode), expected);
            }
            EXPECT_EQ(FindProp(nameID, info.PropType, unicode), expected);
            EXPECT_EQ(FindProp(mapi::PROP_TAG(info.PropType, 0x8123), nameID, unicode), expected);
            EXPECT_EQ(&GetProp(mapi::PROP_TAG(info.PropType, 0x8123), nameID, unicode), expected);
            EXPECT_TRUE(SameProp(*expected, mapi::PROP_TAG(info.PropType, 0x8123), nameID, unicode));
        }
    }
    EXPECT_EQ(PropDefCount(), count) << "GetProp registered what was there";
}

TEST(PropsTableTest, EveryTagThereCanBeIsFoundOrNotAsByAWalk)
{
    TKwMAPIPropRegistry registry; // where nobody registered anything
    std::map<mapi::ULONG, const TKwMAPIPropInfo*> first[2];
    for (std::size_t i = 0; i < registry.Count(); ++i) {
        const TKwMAPIPropInfo& info = registry.Item(i);
        if (info.Named)
            continue;
        const bool text = (info.PropType & ~0x1001u) == 0x1E;
        for (const mapi::ULONG type : {info.PropType, text ? info.PropType ^ 1 : info.PropType})
            first[false].try_emplace(mapi::PROP_TAG(type, info.Identifier()), &info);
        first[true].try_emplace(GetPropTag(info), &info);
    }
    for (const mapi::ULONG type : {0x0003u, 0x001Eu, 0x001Fu, 0x0102u, 0x101Eu, 0x101Fu}) {
        for (mapi::ULONG id = 0; id <= 0xFFFF; ++id) {
            for (const bool unicode : {false, true}) {
                const auto found = first[unicode].find(mapi::PROP_TAG(type, id));
                const TKwMAPIPropInfo* const expected = found != first[unicode].end() ? found->second : nullptr;
                const auto identity = TKwMAPIPropIdentity::Tagged(static_cast<std::uint16_t>(id), type);
                ASSERT_EQ(registry.FindIdentity(identity, unicode), expected) << std::hex << id << ' ' << type;
                ASSERT_EQ(registry.FindTagged(static_cast<std::uint16_t>(id), type, unicode), expected)
                    << std::hex << id << ' ' << type;
            }
        }
    }
}

TEST(PropsTableTest, NarrowTwinsStandInWhereUnicodeIsOff)
{
    std::map<std::string, const TKwMAPIPropInfo*> firstExact;
    for (TKwMAPIPropDef def = 1; def <= PredefinedPropCount; ++def)
        firstExact.try_emplace(IdentityOf(GetPropInfo(def), true), &GetPropInfo(def));
    int without = 0;
    for (TKwMAPIPropDef def = 1; def <= PredefinedPropCount; ++def) {
        const TKwMAPIPropInfo& info = GetPropInfo(def, true);
        const bool wide = info.PropType == 0x1F || info.PropType == 0x101F;
        const auto twin = firstExact.find(IdentityOf(info, false)); // the key has the 8-bit type
        const TKwMAPIPropInfo* expected = wide && twin != firstExact.end() ? twin->second : &info;
        without += wide && twin == firstExact.end();
        EXPECT_EQ(&GetPropInfo(def, false), expected) << KwToUtf8(info.PropName());
    }
    EXPECT_EQ(without, 2); // PR_LOCK_NULL_URL_W and NPR_SAVEDMESSAGE_URI
    EXPECT_EQ(GetPropInfo(PR_SUBJECT_W, false).Hash, PR_SUBJECT_A);
    EXPECT_EQ(GetPropInfo(PR_LOCK_NULL_URL_W, false).Hash, PR_LOCK_NULL_URL_W);
}

TEST(PropsTableTest, WhatNobodyDefinedIsNotFound)
{
    for (const WideView name : {u"", u"pr_subject", u"PR_SUBJEC", u"PR_SUBJECT ", u"NPR_CERTTHUMBPRINT_A", u"Keywords"})
        EXPECT_EQ(FindProp(name), nullptr) << KwToUtf8(name);
    EXPECT_EQ(FindProp(0x0037, 0x0102, true), nullptr);
    EXPECT_EQ(FindProp(0x0037, 0x301F, false), nullptr);
    EXPECT_EQ(FindProp(0x6F3E0003u, true), nullptr);
    EXPECT_EQ(FindProp(PSETID_Common, 0x8502u, 0x0003, false), nullptr);
    EXPECT_EQ(FindProp(PSETID_Task, 0x8502u, 0x0040, false), nullptr);
    EXPECT_EQ(FindProp(PSETID_CalendarAssistant, u"clientintent", 0x0003, true), nullptr);
    EXPECT_EQ(FindProp(IID_EMPTY, 0x0037u, 0x001F, true), nullptr) << "a tag is not a named property without a set";
    EXPECT_EQ(FindProp(mapi::MAPINAMEID{nullptr, mapi::MNID_STRING, {}}, 0x001F, true), nullptr);
}

} // namespace
