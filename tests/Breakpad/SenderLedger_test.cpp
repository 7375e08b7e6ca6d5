#include "SenderLedger.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

using namespace BreakpadLinux;

namespace {

constexpr time_t kNow = 1800000000;
constexpr char kPlace[] = "http://host:80";

} // namespace

TEST(SenderLedger, TheWaitDoublesFromAMinuteToADay)
{
    time_t whole = 60;
    for (int failures = 1; failures <= 40; ++failures) {
        EXPECT_EQ(BackOff(failures, 0), whole / 2) << failures;
        EXPECT_NEAR(static_cast<double>(BackOff(failures, 0.999999)), static_cast<double>(whole), 1)
            << failures;
        whole = std::min<time_t>(whole * 2, kDay);
    }
    EXPECT_EQ(BackOff(1000000, 0), kDay / 2);
}

TEST(SenderLedger, OnlyThePlaceThatFailedIsLeftInPeace)
{
    Ledger ledger;
    ledger.PlaceFailed(kPlace, kNow, 0, 0);
    EXPECT_EQ(ledger.NotBefore(kPlace, "a", kNow), kNow + 30);
    EXPECT_EQ(ledger.NotBefore("http://other:80", "a", kNow), 0);
    ledger.PlaceFailed(kPlace, kNow + 30, 0, 0);
    EXPECT_EQ(ledger.NotBefore(kPlace, "a", kNow), kNow + 90);
    ledger.PlaceAnswered(kPlace);
    EXPECT_EQ(ledger.NotBefore(kPlace, "a", kNow), 0);
}

TEST(SenderLedger, AServerThatAsksForMoreTimeGetsIt)
{
    Ledger ledger;
    ledger.PlaceFailed(kPlace, kNow, 7200, 0);
    EXPECT_EQ(ledger.NotBefore(kPlace, "a", kNow), kNow + 7200);
    ledger.PlaceFailed(kPlace, kNow, 1, 0); // less than it gets anyhow
    EXPECT_EQ(ledger.NotBefore(kPlace, "a", kNow), kNow + 60);
    ledger.PlaceFailed(kPlace, kNow, 999999999, 0);
    EXPECT_EQ(ledger.NotBefore(kPlace, "a", kNow), kNow + Ledger::kLongestWait);
    ledger.PlaceFailed(kPlace, kNow, -5, 0);
    EXPECT_GT(ledger.NotBefore(kPlace, "a", kNow), kNow);
}

TEST(SenderLedger, ARefusedReportIsTriedOnAnotherDay)
{
    Ledger ledger;
    EXPECT_EQ(ledger.Refused("a", kNow, 0), 1);
    EXPECT_EQ(ledger.NotBefore(kPlace, "a", kNow), kNow + kDay);
    EXPECT_EQ(ledger.NotBefore(kPlace, "b", kNow), 0);
    EXPECT_EQ(ledger.Refused("a", kNow + kDay, 0.5), 2);
    EXPECT_EQ(ledger.NotBefore(kPlace, "a", kNow), kNow + 2 * kDay + 7200);
    ledger.Forget("a");
    EXPECT_EQ(ledger.Refused("a", kNow, 0), 1);
}

TEST(SenderLedger, SurvivesARestart)
{
    Ledger ledger;
    ledger.PlaceFailed(kPlace, kNow, 0, 0);
    ledger.PlaceFailed(kPlace, kNow, 0, 0);
    ledger.Refused("a", kNow, 0);
    ledger.RememberSent("b");
    Ledger read = Ledger::Parse(ledger.Text());
    EXPECT_EQ(read.Text(), ledger.Text());
    EXPECT_TRUE(read.WasSent("b"));
    EXPECT_FALSE(read.WasSent("a"));
    EXPECT_EQ(read.Refused("a", kNow, 0), 2);
    read.PlaceFailed(kPlace, kNow, 0, 0);
    EXPECT_EQ(read.NotBefore(kPlace, "c", kNow), kNow + 120);
}

TEST(SenderLedger, ATimeThatNobodyHasSetSilencesNobody)
{
    const Ledger ledger = Ledger::Parse("fallcatch ledger 1\nplace http://host:80 1 99999999999\n");
    EXPECT_EQ(ledger.NotBefore(kPlace, "a", kNow), 0);
    Ledger set;
    set.PlaceFailed(kPlace, kNow, 0, 0);
    // The clock was ahead by a year when the place failed.
    EXPECT_EQ(set.NotBefore(kPlace, "a", kNow - 365 * kDay), 0);
}

TEST(SenderLedger, DamagedLinesArePassedOver)
{
    const Ledger ledger = Ledger::Parse("fallcatch ledger 1\n"
                                        "place http://host:80\n"
                                        "place http://host:80 -1 1800000100\n"
                                        "place http://host:80 99999999999999999999 1800000100\n"
                                        "place\nreport\nsent\n\n\xFF\xFE\n"
                                        "rumour x 1 1800000100\n"
                                        "report a 1 1800000200\n");
    EXPECT_EQ(ledger.Text(), "fallcatch ledger 1\nreport a 1 1800000200\n");
    EXPECT_EQ(Ledger::Parse("another file\nsent a\n").Text(), "fallcatch ledger 1\n");
    EXPECT_EQ(Ledger::Parse("").Text(), "fallcatch ledger 1\n");
}

TEST(SenderLedger, WhateverIsInTheFileNoWaitIsLongerThanTheLongest)
{
    Ledger whole;
    whole.PlaceFailed(kPlace, kNow, 0, 0);
    whole.Refused("a", kNow, 0);
    whole.RememberSent("b");
    std::mt19937 random(11);
    for (int round = 0; round < 20000; ++round) {
        std::string text = whole.Text();
        text[random() % text.size()] = static_cast<char>(random());
        text.resize(random() % 4 == 0 ? random() % text.size() : text.size());
        const Ledger ledger = Ledger::Parse(text);
        EXPECT_LE(ledger.NotBefore(kPlace, "a", kNow), kNow + Ledger::kLongestWait);
        EXPECT_EQ(Ledger::Parse(ledger.Text()).Text(), ledger.Text());
    }
}

TEST(SenderLedger, DoesNotGrow)
{
    Ledger ledger;
    for (int i = 0; i < 5000; ++i) {
        ledger.Refused("report-" + std::to_string(i), kNow, 0);
        ledger.RememberSent("sent-" + std::to_string(i));
        ledger.PlaceFailed("http://host:" + std::to_string(i), kNow, 0, 0);
    }
    ledger.KeepOnly({ "report-7", "sent-8" }, kNow + 100 * kDay);
    const std::string text = ledger.Text();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3) << text;
    EXPECT_TRUE(ledger.WasSent("sent-8"));
    ledger.KeepOnly({}, kNow);
    EXPECT_EQ(ledger.Text(), "fallcatch ledger 1\n");
}

TEST(SenderLedger, AReportsNameMakesNoSecondLine)
{
    Ledger ledger;
    ledger.PlaceFailed("http://a b\nsent x", kNow, 0, 0);
    ledger.PlaceFailed("", kNow, 0, 0);
    EXPECT_EQ(ledger.Text(), "fallcatch ledger 1\n");
    ledger.RememberSent("a\nsent x");
    ledger.Refused("b\nsent y", kNow, 0);
    const Ledger read = Ledger::Parse(ledger.Text());
    EXPECT_FALSE(read.WasSent("x"));
    EXPECT_FALSE(read.WasSent("y"));
}
