// Compares the platform declarations with the published facts: layouts, values, identifiers, method tables, signatures.
// The comparisons come from the tables in facts/ at build time, so that no number here was typed twice by the same
// hand.
#include "AbiFacts.hpp"

#include "mapi/headers/uKwMAPIHeaders.hpp"

#include <gtest/gtest.h>

#include <string>

namespace deftmapi::abi
{
namespace
{

std::string HexOf(const void* bytes, std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned byte = static_cast<const unsigned char*>(bytes)[i];
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 15];
    }
    return text;
}

TEST(AbiStructures, HaveThePlatformLayout)
{
    for (const LayoutFact& fact : LayoutFacts()) {
        EXPECT_EQ(fact.offset, fact.expectedOffset) << "offset of " << fact.name;
        EXPECT_EQ(fact.size, fact.expectedSize) << "size of " << fact.name;
        EXPECT_TRUE(fact.sameType) << "type of " << fact.name;
    }
}

TEST(AbiConstants, HaveThePublishedValues)
{
    for (const ConstantFact& fact : ConstantFacts())
        EXPECT_EQ(fact.pattern, fact.expectedPattern) << fact.name;
}

TEST(AbiConstants, ResultsAreSignedSoThatFailuresAreNegative)
{
    for (const ConstantFact& fact : ConstantFacts()) {
        if (fact.isResult) {
            EXPECT_EQ(fact.isNegative, (fact.expectedPattern & 0x80000000) != 0) << fact.name;
        }
    }
    EXPECT_TRUE(mapi::Failed(mapi::MAPI_E_NOT_FOUND));
    EXPECT_TRUE(mapi::Succeeded(mapi::MAPI_W_ERRORS_RETURNED));
    EXPECT_TRUE(mapi::Succeeded(mapi::S_FALSE));
    EXPECT_FALSE(mapi::Failed(mapi::S_FALSE));
    EXPECT_FALSE(mapi::Succeeded(mapi::E_FAIL));
}

TEST(AbiConstants, NegativePropertyValuesAreSigned)
{
    EXPECT_EQ(mapi::PRIO_NONURGENT, -1);
}

TEST(AbiGuids, HaveThePublishedBytes)
{
    for (const GuidFact& fact : GuidFacts())
        EXPECT_EQ(HexOf(fact.value, fact.size), fact.expectedBytes) << fact.name;
    for (const TextFact& fact : TextFacts())
        EXPECT_EQ(fact.text, fact.expectedText) << fact.name;
}

TEST(AbiGuids, TheOneOffTextIsTheOneOffIdentifier)
{
    const std::u16string_view text = mapi::sMAPI_ONE_OFF_UID;
    EXPECT_EQ(HexOf(&mapi::MAPI_ONE_OFF_UID, sizeof(mapi::MAPI_ONE_OFF_UID)), std::string(text.begin(), text.end()));
}

TEST(AbiGuids, CompareEveryByte)
{
    const mapi::GUID original = mapi::IID_IMAPISync;
    const mapi::MAPIUID originalUid = mapi::MUIDEMSAB;
    EXPECT_EQ(original, mapi::IID_IMAPISync);
    EXPECT_EQ(originalUid, mapi::MUIDEMSAB);
    for (std::size_t i = 0; i < sizeof(mapi::GUID); ++i) {
        mapi::GUID changed = original;
        reinterpret_cast<unsigned char*>(&changed)[i] ^= 1;
        EXPECT_NE(changed, original) << "byte " << i;
        mapi::MAPIUID changedUid = originalUid;
        changedUid.ab[i] ^= 1;
        EXPECT_NE(changedUid, originalUid) << "byte " << i;
    }
}

TEST(AbiInterfaces, DeriveAsPublishedAndHaveNoOtherSlots)
{
    for (const InterfaceFact& fact : InterfaceFacts()) {
        EXPECT_TRUE(fact.derivesFromBase) << fact.name << " derives from " << fact.base;
        EXPECT_EQ(fact.slots, fact.expectedSlots) << "slots of " << fact.name;
        EXPECT_EQ(fact.size, sizeof(void*)) << fact.name << " is its method table pointer and nothing else";
    }
}

TEST(AbiInterfaces, MethodsAreInTheirSlots)
{
    for (const MethodFact& fact : MethodFacts())
        EXPECT_EQ(fact.slot, fact.expectedSlot) << fact.name;
}

TEST(AbiInterfaces, MethodsHaveThePublishedSignature)
{
    for (const MethodFact& fact : MethodFacts())
        EXPECT_TRUE(fact.sameSignature) << fact.name;
}

TEST(AbiFunctions, HaveThePublishedSignature)
{
    for (const FunctionFact& fact : FunctionFacts())
        EXPECT_TRUE(fact.sameSignature) << fact.name;
}

TEST(AbiPropertyTags, SplitAndJoin)
{
    constexpr mapi::ULONG subject = mapi::PROP_TAG(mapi::PT_UNICODE, 0x0037);
    EXPECT_EQ(subject, 0x0037001Fu);
    EXPECT_EQ(mapi::PROP_ID(subject), 0x0037u);
    EXPECT_EQ(mapi::PROP_TYPE(subject), mapi::PT_UNICODE);
    EXPECT_EQ(mapi::CHANGE_PROP_TYPE(subject, mapi::PT_ERROR), 0x0037000Au);
    EXPECT_EQ(mapi::CHANGE_PROP_TYPE(0x8001101E, mapi::PT_MV_UNICODE), 0x8001101Fu);
}

} // namespace
} // namespace deftmapi::abi
