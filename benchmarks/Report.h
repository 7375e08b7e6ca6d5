// How measurements reach Google Benchmark's output: as counters in nanoseconds, named after the percentile.
#ifndef FALLCATCH_BENCHMARKS_REPORT_H
#define FALLCATCH_BENCHMARKS_REPORT_H

#include "Measure.h"

#include <benchmark/benchmark.h>

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

inline void SetBatchTime(benchmark::State& state, const Batch& batch)
{
    state.SetIterationTime(batch.mCost * kCallsPerBatch * 1e-9);
}

// Measures a call in batches; `settle` runs after each, outside the timing.
template <typename Call, typename Settle>
void MeasureCalls(benchmark::State& state, Call&& call, Settle&& settle)
{
    Samples calls;
    for (auto _ : state) {
        const Batch cost = TimeBatch(call);
        settle();
        calls.Add(cost);
        SetBatchTime(state, cost);
    }
    Report(state, "call", calls);
}

} // namespace bench

#endif
