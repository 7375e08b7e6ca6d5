// How measurements reach Google Benchmark's output: as counters in nanoseconds, named after the percentile.
#ifndef FALLCATCH_BENCHMARKS_REPORT_H
#define FALLCATCH_BENCHMARKS_REPORT_H

#include "Measure.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

// Adds NAME_p0 (the minimum) to NAME_p100 (the maximum), and the share of interrupted batches.
inline void Report(benchmark::State& state, const std::string& name, Samples& samples)
{
    static constexpr struct {
        const char* mName;
        double mShare;
    } kPoints[] = { { "p0", 0 },    { "p1", .01 }, { "p10", .1 },  { "p25", .25 },    { "p50", .5 },
                    { "p75", .75 }, { "p90", .9 }, { "p99", .99 }, { "p99.9", .999 }, { "p100", 1 } };
    for (const auto& point : kPoints) {
        state.counters[name + "_" + point.mName] = samples.At(point.mShare);
    }
    state.counters[name + "_set_aside"] = samples.ShareSetAside();
}

// Measures over and over what `time` returns, and in turns with it what `beside` does: both then meet the same
// neighbours and clock rates. Google Benchmark sees the time of both together, for its number of iterations.
template <typename Time>
void Measure(benchmark::State& state, Time&& time, const char* besideName = nullptr,
             const std::function<Batch()>& beside = {})
{
    Samples samples;
    Samples samplesBeside;
    for (auto _ : state) {
        const Batch batch = time();
        samples.Add(batch);
        double spent = batch.mSpent;
        if (beside) {
            const Batch other = beside();
            samplesBeside.Add(other);
            spent += other.mSpent;
        }
        state.SetIterationTime(spent * 1e-9);
    }
    Report(state, "call", samples);
    if (beside) {
        Report(state, besideName, samplesBeside);
    }
}

} // namespace bench

#endif
