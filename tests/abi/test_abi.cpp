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

TEST(AbiConstants, HaveThePublishedValuesAndFailuresAreNegative)
{
    for (const ConstantFact& fact : ConstantFacts()) {
        EXPECT_EQ(fact.pattern, fact.expectedPattern) << fact.name;
        if (fact.isResult) {
            EXPECT_EQ(fact.isNegative, (fact.expectedPattern & 0x80000000) != 0) << fact.name;
        }
    }
    EXPECT_TRUE(mapi::Failed(mapi::MAPI_E_NOT_FOUND));
    EXPECT_TRUE(mapi::Succeeded(mapi::MAPI_W_ERRORS_RETURNED));
    EXPECT_TRUE(mapi::Succeeded(mapi::S_FALSE));
    EXPECT_FALSE(mapi::Failed(mapi::S_FALSE));
    EXPECT_FALSE(mapi::Succeeded(mapi::E_FAIL));
    EXPECT_EQ(mapi::PRIO_NONURGENT, -1);
}

TEST(AbiGuids, HaveThePublishedBytes)
{
    for (const GuidFact& fact : GuidFacts())
        EXPECT_EQ(HexOf(fact.value, fact.size), fact.expectedBytes) << fact.name;
    for (const TextFact& fact : TextFacts())
        EXPECT_EQ(fact.text, fact.expectedText) << fact.name;
}

TEST(AbiInterfaces, DeriveAsPublishedAndHaveNoOtherSlots)
{
    for (const InterfaceFact& fact : InterfaceFacts()) {
        EXPECT_TRUE(fact.derivesFromBase) << fact.name << " derives from " << fact.base;
        EXPECT_EQ(fact.slots, fact.expectedSlots) << "slots of " << fact.name;
        EXPECT_EQ(fact.size, sizeof(void*)) << fact.name << " is its method table pointer and nothing else";
    }
}

TEST(AbiInterfaces, MethodsAreInTheirSlotsAndHaveThePublishedSignature)
{
    for (const MethodFact& fact : MethodFacts()) {
        EXPECT_EQ(fact.slot, fact.expectedSlot) << fact.name;
        EXPECT_TRUE(fact.sameSignature) << "signature of " << fact.name;
    }
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

#ifdef _WIN32
TEST(AbiMingw, MethodsAreInTheSlotsOfThePlatformHeaders)
{
    for (const SlotPair& pair : MingwSlots())
        EXPECT_EQ(pair.ours, pair.theirs) << pair.name;
}
#endif

} // namespace
} // namespace deftmapi::abi
