#include "torvex/platform/Guid.h"

#include <gtest/gtest.h>

namespace torvex::platform {
namespace {

// New GUIDs are random, never null; the braced form is upper-case hex in the 8-4-4-4-12 groups.
TEST(Guid, NullGuidAndBracedForm) {
    EXPECT_NE(FormatGuidBraced(NewGuid()), FormatGuidBraced(NewGuid()));
    EXPECT_FALSE(IsNullGuid(NewGuid()));
    Guid g{};
    EXPECT_TRUE(IsNullGuid(g));
    g.data4[7] = 1;
    EXPECT_FALSE(IsNullGuid(g));
    EXPECT_EQ(FormatGuidBraced(Guid{}), L"{00000000-0000-0000-0000-000000000000}");
    const Guid fixed{0x01234567u, 0x89ab, 0xcdef, {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0xff}};
    EXPECT_EQ(FormatGuidBraced(fixed), L"{01234567-89AB-CDEF-0001-0203040506FF}");
}

} // namespace
} // namespace torvex::platform
