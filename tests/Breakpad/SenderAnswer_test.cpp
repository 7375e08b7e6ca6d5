#include "SenderAnswer.h"

#include <gtest/gtest.h>

using namespace BreakpadLinux;

namespace {

constexpr time_t kNow = 1800000000; // Fri, 15 Jan 2027 08:00:00 GMT

} // namespace

TEST(SenderAnswer, ATimeToRetryIsSecondsOrADate)
{
    EXPECT_EQ(RetryAfter("120", kNow), 120);
    EXPECT_EQ(RetryAfter(" 120 \r\n", kNow), 120);
    EXPECT_EQ(RetryAfter("Fri, 15 Jan 2027 09:00:00 GMT\r\n", kNow), 3600);
    EXPECT_EQ(RetryAfter("Fri, 15 Jan 2027 07:00:00 GMT", kNow), 0);
}

TEST(SenderAnswer, ATimeThatIsNoneAsksForNothing)
{
    for (const char* odd : { "", " ", "-5", "soon", "1.5", "nan" }) {
        EXPECT_EQ(RetryAfter(odd, kNow), 0) << odd;
    }
    EXPECT_EQ(RetryAfter("99999999999999999999999", kNow), 999999999);
}

TEST(SenderAnswer, ErrorsWinOverTheStatus)
{
    Answer answer;
    answer.status = 200;
    answer.text = "CrashID=1";
    answer.error = "cut";
    EXPECT_EQ(Judge(answer, true).verdict, Verdict::failed);
    answer.error.clear();
    EXPECT_EQ(Judge(answer, true).verdict, Verdict::taken);
    answer.status = 0;
    EXPECT_EQ(Judge(answer, true).verdict, Verdict::failed);
}

TEST(SenderAnswer, ServersThatFailDoNotDiscard)
{
    Answer answer;
    answer.status = 503;
    answer.text = "Discarded=busy";
    EXPECT_EQ(Judge(answer, true).verdict, Verdict::failed);
    answer.status = 400;
    EXPECT_EQ(Judge(answer, true).verdict, Verdict::discarded);
}

TEST(SenderAnswer, WhatWasNeverPostedIsTheReportsOwnFault)
{
    Answer answer;
    answer.isPosted = false;
    answer.error = "not a URL: x";
    EXPECT_EQ(Judge(answer, true).verdict, Verdict::refused);
    EXPECT_EQ(Judge(answer, true).reason, "not a URL: x");
}
