// A fleet of hosts that crash, in virtual time, by the senders' own rules.
#ifndef FALLCATCH_TESTS_FLEET_H
#define FALLCATCH_TESTS_FLEET_H

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

struct FleetPlan {
    enum class Policy {
        tryAlways,
        backOffTogether,
        backOffApart
    }; // the last one is the senders'

    std::size_t hosts = 1000000;
    Policy policy = Policy::backOffApart;
    time_t window = 600;   // the release reaches all hosts within so many seconds
    time_t restart = 1800; // they crash at every start, and are started again after so long on average
    time_t outage =
        6 * 60 * 60;     // of the collector; when it ends, a release that does not crash comes and runs on
    double capacity = 0; // posts a second that the collector takes from then on; the others get 503
    time_t end = 30 * 60 * 60;
    std::uint64_t seed = 1;
};

struct FleetResult {
    std::vector<std::uint32_t> posts; // in each minute
    std::vector<std::uint32_t> taken; // of them
    std::uint64_t kept = 0;           // reports that were kept in all; the others were beyond a host's limits
    std::uint64_t left = 0;           // at the end
    std::uint32_t mostTries = 0;      // of one host that were not taken, over all
    time_t lastTaken = 0;

    double PeakPerSecond(time_t from, time_t to) const;
};

FleetResult RunFleet(const FleetPlan& plan);

#endif
