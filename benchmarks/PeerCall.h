// How another logger's calls are measured: in turns with the floor of the log call that they stand beside.
#ifndef FALLCATCH_BENCHMARKS_PEER_CALL_H
#define FALLCATCH_BENCHMARKS_PEER_CALL_H

#include "Logger.h"
#include "Report.h"

namespace bench {

// `settle` runs after each batch, outside the timing.
template <typename Call, typename Settle>
void MeasurePeer(benchmark::State& state, Call&& call, Settle&& settle)
{
    SharedCounter sequence;
    Floor<IntAndText::kRecordBytes> floor(sequence.mValue);
    const auto time = [&] {
        const Batch batch = TimeBatch(call);
        settle();
        return batch;
    };
    Measure(state, time, "floor", [&] { return floor.Time(); });
}

template <typename Call> void MeasurePeer(benchmark::State& state, Call&& call)
{
    MeasurePeer(state, call, [] {});
}

} // namespace bench

#endif
