// A fortified C library would end the process here.
#include "RenderRing.h"

#include <gtest/gtest.h>

#include <cstdint>

TEST(StringifyPercentN, WritesToItsValuesAddress)
{
    RenderRing ring;
    int written = -1;
    const HandMadeRecord record = inlineRecord("four%n", 1).Pointer(reinterpret_cast<std::uintptr_t>(&written));
    EXPECT_EQ(ring.Render(record), "four");
    EXPECT_EQ(written, 4);
}
