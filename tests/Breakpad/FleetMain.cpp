// Prints what a collector sees of a fleet, minute by minute, for the picture in the documentation.
#include "Fleet.h"

#include <cstdio>

int main()
{
    // Without rules a twentieth of the fleet is enough to look at: the rates grow with it.
    FleetPlan without;
    without.hosts /= 20;
    without.policy = FleetPlan::Policy::tryAlways;
    FleetPlan first = without;
    first.end = first.outage + 60 * 60;
    const double peak = RunFleet(first).PeakPerSecond(first.outage, first.end) * 20;
    without.capacity = peak / 10 / 20;
    FleetPlan together;
    together.policy = FleetPlan::Policy::backOffTogether;
    together.capacity = peak / 10;
    FleetPlan apart;
    apart.capacity = peak / 10;
    const FleetResult results[] = { RunFleet(without), RunFleet(together), RunFleet(apart) };
    std::printf("minute,without,together,apart,taken,capacity\n");
    for (std::size_t minute = 0; minute < results[0].posts.size(); ++minute) {
        std::printf("%zu,%.1f,%.1f,%.1f,%.1f,%.1f\n", minute, results[0].posts[minute] * 20 / 60.0,
                    results[1].posts[minute] / 60.0, results[2].posts[minute] / 60.0,
                    results[2].taken[minute] / 60.0, peak / 10);
    }
    return 0;
}
