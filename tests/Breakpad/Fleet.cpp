#include "Fleet.h"

#include "SenderLedger.h"
#include "SenderRetention.h"

#include <algorithm>
#include <cmath>
#include <random>

using BreakpadLinux::BackOff;

namespace {

constexpr time_t kStep = 10; // seconds between two looks at the fleet

struct Host {
    std::int32_t notBefore = 0; // seconds
    std::int32_t nextStart = 0;
    std::uint16_t tries = 0;   // not taken, in all
    std::uint8_t failures = 0; // in a row
    std::uint8_t reports = 0;
    bool runs = false;
};

class Fleet {
public:
    explicit Fleet(const FleetPlan& plan)
        : mPlan(plan)
        , mRandom(plan.seed)
        , mHosts(plan.hosts)
        , mDue(static_cast<std::size_t>(plan.end / kStep) + 1)
    {
        mResult.posts.resize(static_cast<std::size_t>(plan.end / 60) + 1);
        mResult.taken.resize(mResult.posts.size());
        for (std::uint32_t i = 0; i < mHosts.size(); ++i) {
            mHosts[i].nextStart = static_cast<std::int32_t>(part() * static_cast<double>(plan.window));
            plant(i, mHosts[i].nextStart);
        }
    }

    FleetResult Run()
    {
        for (std::size_t step = 0; step < mDue.size(); ++step) {
            mNow = static_cast<time_t>(step) * kStep;
            mRoom = mNow < mPlan.outage ? 0 : mPlan.capacity * kStep;
            std::vector<std::uint32_t> now;
            now.swap(mDue[step]);
            std::shuffle(now.begin(), now.end(), mRandom);
            for (const std::uint32_t host : now) {
                visit(host);
            }
        }
        for (const Host& host : mHosts) {
            mResult.left += host.reports;
            mResult.mostTries = std::max<std::uint32_t>(mResult.mostTries, host.tries);
        }
        return mResult;
    }

private:
    double part() { return std::uniform_real_distribution<double>(0, 1)(mRandom); }

    void plant(std::uint32_t host, time_t when)
    {
        const auto step = static_cast<std::size_t>((when + kStep - 1) / kStep);
        if (step < mDue.size()) {
            mDue[step].push_back(host);
        }
    }

    void visit(std::uint32_t index)
    {
        Host& host = mHosts[index];
        if (host.nextStart <= mNow && !host.runs) {
            start(index, host);
        }
        if (host.reports > 0 && host.notBefore <= mNow) {
            send(host);
        }
        // A running host's sender waits for the time; a crashed one's has ended.
        if (host.runs && host.reports > 0) {
            plant(index, std::max<time_t>(host.notBefore, mNow + kStep));
        }
    }

    void start(std::uint32_t index, Host& host)
    {
        host.runs = mNow >= mPlan.outage;
        if (host.runs) {
            return;
        }
        if (host.reports < BreakpadLinux::Limits().reports) {
            ++host.reports;
            ++mResult.kept;
        }
        const double wait = -std::log(1 - part()) * static_cast<double>(mPlan.restart);
        const time_t next = mNow + kStep + static_cast<time_t>(wait);
        // The new release starts everyone again, wherever he was.
        host.nextStart = static_cast<std::int32_t>(
            next < mPlan.outage
                ? next
                : mPlan.outage + static_cast<time_t>(part() * static_cast<double>(mPlan.window)));
        plant(index, host.nextStart);
    }

    // All that waits, until the collector refuses.
    void send(Host& host)
    {
        const auto minute = static_cast<std::size_t>(mNow / 60);
        while (host.reports > 0) {
            ++mResult.posts[minute];
            if (mRoom < 1) {
                fail(host);
                return;
            }
            mRoom -= 1;
            ++mResult.taken[minute];
            mResult.lastTaken = mNow;
            --host.reports;
            host.failures = 0;
        }
    }

    void fail(Host& host)
    {
        ++host.tries;
        host.failures = static_cast<std::uint8_t>(std::min(host.failures + 1, 200));
        switch (mPlan.policy) {
        case FleetPlan::Policy::tryAlways:
            host.notBefore = static_cast<std::int32_t>(mNow + 60); // a running host's; a start does not ask
            break;
        case FleetPlan::Policy::backOffTogether:
            host.notBefore = static_cast<std::int32_t>(mNow + BackOff(host.failures, 0.999999));
            break;
        case FleetPlan::Policy::backOffApart:
            host.notBefore = static_cast<std::int32_t>(mNow + BackOff(host.failures, part()));
            break;
        }
    }

    const FleetPlan mPlan;
    std::mt19937_64 mRandom;
    std::vector<Host> mHosts;
    std::vector<std::vector<std::uint32_t>> mDue;
    FleetResult mResult;
    time_t mNow = 0;
    double mRoom = 0;
};

} // namespace

double FleetResult::PeakPerSecond(time_t from, time_t to) const
{
    std::uint32_t most = 0;
    for (auto minute = static_cast<std::size_t>(from / 60); minute < static_cast<std::size_t>(to / 60);
         ++minute) {
        most = std::max(most, posts[minute]);
    }
    return most / 60.0;
}

FleetResult RunFleet(const FleetPlan& plan)
{
    return Fleet(plan).Run();
}
