#include "SenderRetention.h"

#include <gtest/gtest.h>
#include <random>

using namespace BreakpadLinux;

namespace {

constexpr time_t kNow = 1800000000;
constexpr time_t kDay = 24 * 60 * 60;

std::vector<Kept> reports(std::size_t count, std::uint64_t bytes)
{
    std::vector<Kept> all(count);
    for (std::size_t i = 0; i < count; ++i) {
        all[i] = { bytes, kNow - static_cast<time_t>(count - i) };
    }
    return all;
}

std::size_t gone(const std::vector<std::string>& reasons)
{
    std::size_t count = 0;
    for (const std::string& reason : reasons) {
        count += reason.empty() ? 0 : 1;
    }
    return count;
}

} // namespace

TEST(SenderRetention, TwentyStayAndTheOldestGo)
{
    EXPECT_EQ(gone(TooMuch(reports(20, 1000), Limits(), kNow)), 0U);
    const auto reasons = TooMuch(reports(23, 1000), Limits(), kNow);
    EXPECT_EQ(gone(reasons), 3U);
    EXPECT_EQ(reasons[2], "the product keeps 20 reports");
    EXPECT_EQ(reasons[3], "");
}

TEST(SenderRetention, SixtyFourMebibytesStay)
{
    EXPECT_EQ(gone(TooMuch(reports(4, 16ULL << 20), Limits(), kNow)), 0U);
    const auto reasons = TooMuch(reports(5, 16ULL << 20), Limits(), kNow);
    EXPECT_EQ(gone(reasons), 1U);
    EXPECT_EQ(reasons[0], "the product keeps 64 MiB");
}

TEST(SenderRetention, ASmallOldReportDoesNotOutliveALargeNewerOne)
{
    std::vector<Kept> all = reports(3, 1000);
    all[1].bytes = 65ULL << 20;
    const auto reasons = TooMuch(all, Limits(), kNow);
    EXPECT_NE(reasons[0], "");
    EXPECT_NE(reasons[1], "");
    EXPECT_EQ(reasons[2], "");
}

TEST(SenderRetention, NinetyDaysStay)
{
    std::vector<Kept> all { { 1, kNow - 90 * kDay - 1 }, { 1, kNow - 90 * kDay } };
    const auto reasons = TooMuch(all, Limits(), kNow);
    EXPECT_EQ(reasons[0], "a report is kept for 90 days");
    EXPECT_EQ(reasons[1], "");
}

TEST(SenderRetention, AReportFromTheFutureStays)
{
    EXPECT_EQ(gone(TooMuch({ { 1, kNow + 1000 * kDay } }, Limits(), kNow)), 0U);
}

TEST(SenderRetention, WholeNumbersSetTheLimits)
{
    const Limits limits = LimitsFrom("5", "2", "7");
    EXPECT_EQ(limits.reports, 5U);
    EXPECT_EQ(limits.bytes, 2ULL << 20);
    EXPECT_EQ(limits.seconds, 7 * kDay);
    for (const char* odd : { "", "0", "-1", "nan", "1e9", "99999999999", " 5", "5 " }) {
        const Limits unset = LimitsFrom(odd, odd, odd);
        EXPECT_EQ(unset.reports, 20U) << odd;
        EXPECT_EQ(unset.bytes, 64ULL << 20) << odd;
        EXPECT_EQ(unset.seconds, 90 * kDay) << odd;
    }
}

TEST(SenderRetention, WhateverIsThereWhatStaysIsWithinAllLimits)
{
    std::mt19937 random(3);
    for (int round = 0; round < 2000; ++round) {
        std::vector<Kept> all(random() % 40);
        time_t when = kNow - 200 * kDay;
        for (Kept& one : all) {
            when += static_cast<time_t>(random() % (10 * kDay));
            one = { random() % (8U << 20), when };
        }
        const auto reasons = TooMuch(all, Limits(), kNow);
        std::uint64_t bytes = 0;
        std::size_t count = 0;
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (reasons[i].empty()) {
                bytes += all[i].bytes;
                ++count;
                EXPECT_LE(kNow - all[i].when, 90 * kDay);
                EXPECT_TRUE(i + 1 == all.size() || reasons[i + 1].empty()) << "a newer one went";
            }
        }
        EXPECT_LE(bytes, 64ULL << 20);
        EXPECT_LE(count, 20U);
    }
}
