// Compares the slots of our methods with those that the platform headers of mingw-w64 give them. Built for Windows
// only.
#include "AbiFacts.hpp"

#include <gtest/gtest.h>

namespace deftmapi::abi
{
namespace
{

TEST(AbiMingw, MethodsAreInTheSlotsOfThePlatformHeaders)
{
    for (const SlotPair& pair : MingwSlots())
        EXPECT_EQ(pair.ours, pair.theirs) << pair.name;
}

} // namespace
} // namespace deftmapi::abi
