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

struct TRow
{
    TKwMAPIPropDef Number;
    std::string Name, Kind, Set, Id, StringName, Type;
};

const std::vector<TRow>& Rows()
{
    static const std::vector<TRow> rows = [] {
        std::vector<TRow> result;
        std::ifstream file(DEFTMAPI_TEST_DEFINITIONS_CSV);
        std::string line;
        std::getline(file, line);
        while (std::getline(file, line)) {
            std::stringstream fields(line);
            TRow row;
            std::string number;
            std::getline(fields, number, ',');
            row.Number = std::stoull(number);
            for (std::string* field : {&row.Name, &row.Kind, &row.Set, &row.Id, &row.StringName, &row.Type})
                std::getline(fields, *field, ',');
            result.push_back(row);
        }
        return result;
    }();
    return rows;
}

const std::map<std::string, mapi::GUID>& Sets()
{
    static const std::map<std::string, mapi::GUID> sets = {
        {"", IID_EMPTY},
        {"PS_PUBLIC_STRINGS", PS_PUBLIC_STRINGS},
        {"PS_INTERNET_HEADERS", PS_INTERNET_HEADERS},
        {"PSETID_Appointment", PSETID_Appointment},
        {"PSETID_Task", PSETID_Task},
        {"PSETID_Address", PSETID_Address},
        {"PSETID_Common", PSETID_Common},
        {"PSETID_Log", PSETID_Log},
        {"PSETID_Note", PSETID_Note},
        {"PSETID_Sharing", PSETID_Sharing},
        {"PSETID_PostRss", PSETID_PostRss},
        {"PSETID_Meeting", PSETID_Meeting},
        {"PSETID_AirSync", PSETID_AirSync},
        {"PSETID_Attachment", PSETID_Attachment},
        {"PSETID_CalendarAssistant", PSETID_CalendarAssistant},
        {"PSETID_Messaging", PSETID_Messaging},
        {"PSETID_UnifiedMessaging", PSETID_UnifiedMessaging},
        {"GUID_PKMDocSummaryInformation", GUID_PKMDocSummaryInformation},
        {"PSETID_Velmora", PSETID_Velmora},
    };
    return sets;
}

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
    std::size_t tagged = 0;
    std::size_t byId = 0;
    std::size_t byText = 0;
    std::map<std::string, std::size_t> bySet;
    for (TKwMAPIPropDef def = 1; def <= 4866; ++def) {
        const TKwMAPIPropInfo& info = GetPropInfo(def);
        const bool isText = info.PropKind == mapi::MNID_STRING;
        ++(!info.Named ? tagged : isText ? byText : byId);
        const std::string set = KwToUtf8(KwGuidToStr(info.PropSet()));
        ++bySet[set];
        const std::string row = KwToUtf8(info.PropName()) +
                                (!info.Named ? " tag "
                                 : isText    ? " string "
                                             : " lid ") +
                                (isText ? KwToUtf8(info.StringName()) : std::to_string(info.Identifier())) + ' ' +
                                std::to_string(info.PropType) + ' ' + set + '\n';
        for (const char c : row)
            hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    }
    EXPECT_EQ(hash, published);
    EXPECT_EQ(tagged, 3114U);
    EXPECT_EQ(byId, 1147U);
    EXPECT_EQ(byText, 605U);

    // Where the hash only tells that something is wrong, these tell what.
    const std::pair<const mapi::GUID*, std::size_t> counts[] = {
        {&IID_EMPTY, 3114},
        {&PSETID_Address, 383},
        {&PS_PUBLIC_STRINGS, 329},
        {&PS_INTERNET_HEADERS, 245},
        {&PSETID_Common, 233},
        {&PSETID_Appointment, 192},
        {&PSETID_Sharing, 132},
        {&PSETID_Task, 81},
        {&PSETID_Meeting, 53},
        {&PSETID_Log, 33},
        {&PSETID_UnifiedMessaging, 19},
        {&PSETID_PostRss, 19},
        {&PSETID_Note, 10},
        {&PSETID_Velmora, 7},
        {&PSETID_AirSync, 6},
        {&PSETID_CalendarAssistant, 4},
        {&PSETID_Attachment, 4},
        {&PSETID_Messaging, 1},
        {&GUID_PKMDocSummaryInformation, 1},
    };
    for (const auto& [set, count] : counts)
        EXPECT_EQ(bySet[KwToUtf8(KwGuidToStr(*set))], count) << KwToUtf8(KwGuidToStr(*set));
    EXPECT_EQ(bySet.size(), std::size(counts));
}

TEST(PropsTableTest, EveryConstantHasTheNumberOfItsRow)
{
    std::map<std::string, TKwMAPIPropDef> constants;
    std::ifstream header(DEFTMAPI_TEST_DEFINITIONS_HEADER);
    const std::string start = "inline constexpr TKwMAPIPropDef ";
    for (std::string line; std::getline(header, line);) {
        if (line.starts_with(start)) {
            std::istringstream rest(line.substr(start.size()));
            std::string name, equals;
            TKwMAPIPropDef number = 0;
            rest >> name >> equals >> number;
            constants[name] = number;
        }
    }
    ASSERT_EQ(Rows().size(), 4866u);
    EXPECT_EQ(constants.size(), Rows().size() + 1); // and PredefinedPropCount
    for (const TRow& row : Rows())
        EXPECT_EQ(constants[row.Name], row.Number) << row.Name;
}

TEST(PropsTableTest, EveryRecordSaysWhatItsRowSays)
{
    for (const TRow& row : Rows()) {
        SCOPED_TRACE(row.Name);
        const TKwMAPIPropInfo& info = GetPropInfo(row.Number);
        const bool unnamedTwin = row.Name == "NPR_CERTTHUMBPRINT_A" || row.Name == "NPR_CERTTHUMBPRINT_W";
        EXPECT_EQ(KwToUtf8(info.PropName()), unnamedTwin ? "NPR_CERTTHUMBPRINT" : row.Name);
        EXPECT_EQ(*(info.PropName().data() + info.PropName().size()), u'\0');
        EXPECT_EQ(info.Hash, row.Number);
        EXPECT_EQ(*info.PropDef(), row.Number);
        EXPECT_FALSE(info.DisposePropDef());
        EXPECT_EQ(info.PropType, std::stoul(row.Type, nullptr, 16));
        EXPECT_EQ(info.Named, row.Kind != "tag");
        EXPECT_EQ(info.PropKind, row.Kind == "string" ? mapi::MNID_STRING : mapi::MNID_ID);
        EXPECT_TRUE(SameGuid(info.PropSet(), Sets().at(row.Set)));
        if (row.Kind == "string")
            EXPECT_EQ(info.PropID(), TKwVariant(KwFromUtf8(row.StringName)));
        else
            EXPECT_EQ(info.PropID(), TKwVariant(static_cast<std::int32_t>(std::stoul(row.Id, nullptr, 16))));
    }
}

// Their bytes go to the store: a set of another value is another property, and nothing else would tell.
TEST(PropsTableTest, PropertySetsHaveThePublishedValues)
{
    const std::pair<const mapi::GUID*, const char16_t*> published[] = {
        {&IID_EMPTY, u"{00000000-0000-0000-0000-000000000000}"},
        {&PS_MAPI, u"{00020328-0000-0000-C000-000000000046}"},
        {&PSETID_MAPI, u"{00020328-0000-0000-C000-000000000046}"},
        {&PS_PUBLIC_STRINGS, u"{00020329-0000-0000-C000-000000000046}"},
        {&PSETID_PublicStrings, u"{00020329-0000-0000-C000-000000000046}"},
        {&PS_INTERNET_HEADERS, u"{00020386-0000-0000-C000-000000000046}"},
        {&PSETID_InternetHeaders, u"{00020386-0000-0000-C000-000000000046}"},
        {&PSETID_Appointment, u"{00062002-0000-0000-C000-000000000046}"},
        {&PSETID_Task, u"{00062003-0000-0000-C000-000000000046}"},
        {&PSETID_Address, u"{00062004-0000-0000-C000-000000000046}"},
        {&PSETID_Common, u"{00062008-0000-0000-C000-000000000046}"},
        {&PSETID_Log, u"{0006200A-0000-0000-C000-000000000046}"},
        {&PSETID_Note, u"{0006200E-0000-0000-C000-000000000046}"},
        {&PSETID_Sharing, u"{00062040-0000-0000-C000-000000000046}"},
        {&PSETID_PostRss, u"{00062041-0000-0000-C000-000000000046}"},
        {&PSETID_Meeting, u"{6ED8DA90-450B-101B-98DA-00AA003F1305}"},
        {&PSETID_AirSync, u"{71035549-0739-4DCB-9163-00F0580DBBDF}"},
        {&PSETID_Attachment, u"{96357F7F-59E1-47D0-99A7-46515C183B54}"},
        {&PSETID_CalendarAssistant, u"{11000E07-B51B-40D6-AF21-CAA85EDAB1D0}"},
        {&PSETID_Messaging, u"{41F28F13-83F4-4114-A584-EEDB5A6B0BFF}"},
        {&PSETID_UnifiedMessaging, u"{4442858E-A9E3-4E80-B900-317A210CC15B}"},
        {&PSETID_Exchange1, u"{48862A09-F786-0114-0281-000000000000}"},
        {&GUID_PKMDocSummaryInformation, u"{D5CDD502-2E9C-101B-9397-08002B2CF9AE}"},
        {&PSETID_Velmora, u"{52A474EE-E1A3-4E63-8FFC-FCDACB06A7FC}"},
    };
    for (const auto& [set, text] : published)
        EXPECT_EQ(KwGuidToStr(*set), text);
    EXPECT_EQ(GetPropInfo(NPR_SENDUSINGACCOUNT).PropType, 0x000Bu) << "a choice, not an account";
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
                const auto expected = first[unicode].find(mapi::PROP_TAG(type, id));
                const auto identity = TKwMAPIPropIdentity::Tagged(static_cast<std::uint16_t>(id), type);
                ASSERT_EQ(registry.FindIdentity(identity, unicode),
                          expected != first[unicode].end() ? expected->second : nullptr)
                    << std::hex << id << ' ' << type;
                ASSERT_EQ(registry.FindTagged(static_cast<std::uint16_t>(id), type, unicode),
                          expected != first[unicode].end() ? expected->second : nullptr)
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
