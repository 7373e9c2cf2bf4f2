#include "torvex/platform/Guid.h"

#include <gtest/gtest.h>

namespace torvex::platform {
namespace {

TEST(Guid, NewGuidsAreRandomVersionFour) {
    const Guid first = NewGuid();
    const Guid second = NewGuid();
    for (const Guid& g : {first, second}) {
        EXPECT_FALSE(IsNullGuid(g));
        EXPECT_EQ(g.data3 >> 12, 4) << "version";
        EXPECT_EQ(g.data4[0] & 0xC0, 0x80) << "variant";
    }
    EXPECT_NE(FormatGuidBraced(first), FormatGuidBraced(second));
}

TEST(Guid, NullGuidAndBracedForm) {
    EXPECT_TRUE(IsNullGuid(Guid{}));
    Guid g{};
    g.data4[7] = 1;
    EXPECT_FALSE(IsNullGuid(g));
    EXPECT_EQ(FormatGuidBraced(Guid{}), L"{00000000-0000-0000-0000-000000000000}");
    const Guid fixed{0x01234567u, 0x89ab, 0xcdef, {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0xff}};
    EXPECT_EQ(FormatGuidBraced(fixed), L"{01234567-89AB-CDEF-0001-0203040506FF}");
}

} // namespace
} // namespace torvex::platform
