#include "CircularBufferInC.h"

#include <gtest/gtest.h>

#include <string>

TEST(CircularBufferInC, PassesATextThrough)
{
    const std::string text = "a text of more than thirty-two bytes, for the copy function";
    char result[101] = {};
    EXPECT_EQ(passTextThroughARing(text.c_str(), result), static_cast<int>(text.size()));
    EXPECT_EQ(std::string(result), text);
}
