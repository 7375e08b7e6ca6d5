// What a host may ask before it has a reporter, and what is refused.
#include "fallcatch_breakpad.h"

#include <gtest/gtest.h>
#include <string>

TEST(HostCalls, ATagNeedsANameAndAValue)
{
    EXPECT_EQ(FallcatchBreakpadSetTag(nullptr, "value"), 0);
    EXPECT_EQ(FallcatchBreakpadSetTag("", "value"), 0);
    EXPECT_EQ(FallcatchBreakpadSetTag("name", nullptr), 0);
    EXPECT_EQ(FallcatchBreakpadSetTag("name", ""), 1);
    FallcatchBreakpadRemoveTag(nullptr);
    FallcatchBreakpadRemoveTag("");
    FallcatchBreakpadRemoveTag("of another");
    FallcatchBreakpadRemoveTag("name");
}

TEST(HostCalls, ThereIsRoomForSoManyTags)
{
    int tags = 0;
    while (FallcatchBreakpadSetTag(("tag" + std::to_string(tags)).c_str(), "value") == 1) {
        ASSERT_LT(++tags, 1000);
    }
    EXPECT_GT(tags, 10);
    EXPECT_EQ(FallcatchBreakpadSetTag("tag0", "other"), 1) << "in the place of one that is there";
    EXPECT_EQ(FallcatchBreakpadAttachFile("/tmp/file"), 0);
    FallcatchBreakpadRemoveTag("tag0");
    EXPECT_EQ(FallcatchBreakpadAttachFile("/tmp/file"), 1);
}

TEST(HostCalls, EightFilesAreAttachedAndNoneTwice)
{
    EXPECT_EQ(FallcatchBreakpadAttachFile(nullptr), 0);
    EXPECT_EQ(FallcatchBreakpadAttachFile(""), 0);
    for (int round = 0; round < 2; ++round) {
        for (int number = 0; number < 8; ++number) {
            EXPECT_EQ(FallcatchBreakpadAttachFile(("/tmp/file" + std::to_string(number)).c_str()), 1);
        }
    }
    EXPECT_EQ(FallcatchBreakpadAttachFile("/tmp/file8"), 0);
}

TEST(HostCalls, WithoutAReporterNothingIsReported)
{
    EXPECT_EQ(FallcatchBreakpadReportNow("reason"), 0);
    EXPECT_EQ(FallcatchBreakpadReportNow(nullptr), 0);
    EXPECT_EQ(FallcatchBreakpadSetUpload(1), 1) << "remembered for the reporter that comes";
    EXPECT_EQ(FallcatchBreakpadSetUpload(0), 1);
}
