#include "Fleet.h"

#include "SenderLedger.h"

#include <gtest/gtest.h>

namespace {

// Rates grow with the fleet, so that a twentieth tells what the hosts without rules do to a collector.
double peakWithoutRules(const FleetPlan& plan)
{
    FleetPlan small = plan;
    small.hosts = plan.hosts / 20;
    small.policy = FleetPlan::Policy::tryAlways;
    small.end = plan.outage + 60 * 60;
    return RunFleet(small).PeakPerSecond(plan.outage, small.end) * 20;
}

} // namespace

// A release that crashes at every start reaches a million hosts while their collector is down; when it comes
// back it takes a tenth of what would come without the senders' rules.
TEST(Fleet, OfAMillionHostsAllReportsArriveWithinADayAndNoHostSendsMoreThanItsShare)
{
    FleetPlan plan;
    const double without = peakWithoutRules(plan);
    plan.capacity = without / 10;
    const FleetResult fleet = RunFleet(plan);
    EXPECT_GT(fleet.kept, 10 * plan.hosts);
    EXPECT_EQ(fleet.left, 0U);
    EXPECT_LE(fleet.lastTaken, plan.outage + BreakpadLinux::kDay);
    // 1, 2, 4 ... minutes: of six hours and a day no more than these fit in, with the jitter's halves.
    EXPECT_LE(fleet.mostTries, 24U);
    EXPECT_LT(fleet.PeakPerSecond(plan.outage, plan.end), without / 4);
    RecordProperty("last", static_cast<int>(fleet.lastTaken - plan.outage));
    RecordProperty("tries", static_cast<int>(fleet.mostTries));
    RecordProperty("peak", static_cast<int>(fleet.PeakPerSecond(plan.outage, plan.end)));
    RecordProperty("peak-without", static_cast<int>(without));
}

TEST(Fleet, WithoutRulesEveryHostTriesWithoutEnd)
{
    FleetPlan plan;
    plan.hosts = 2000;
    plan.policy = FleetPlan::Policy::tryAlways;
    plan.capacity = 0;
    plan.end = plan.outage + 6 * 60 * 60;
    EXPECT_GT(RunFleet(plan).mostTries, 300U);
    plan.policy = FleetPlan::Policy::backOffApart;
    EXPECT_LE(RunFleet(plan).mostTries, 24U);
}
