// From a backlog in the rings to the callback, over the number of contexts. Passes take turns with lines made
// by the C library, by which those of different numbers of contexts can be compared whatever the clock rate.
#include "Lines.h"
#include "Report.h"

namespace bench {
namespace {

void Contexts(benchmark::State& state)
{
    QuietManager manager;
    Backlog backlog(manager, static_cast<int>(state.range(0)));
    bool complete = true;
    const auto time = [&] {
        backlog.Fill();
        const Batch batch = backlog.TimeCollect();
        complete = complete && batch.mCost > 0;
        return batch;
    };
    Measure(state, time, "yardstick", TimeLinesByCLibrary);
    if (!complete) {
        state.SkipWithError("lines are missing");
    }
}
BENCHMARK(Contexts)->Name("collector/contexts")->RangeMultiplier(2)->Range(1, 256)->UseManualTime();

void CLibrary(benchmark::State& state)
{
    Measure(state, TimeLinesByCLibrary, "yardstick", TimeLinesByCLibrary);
}
BENCHMARK(CLibrary)->Name("collector_peer/vsnprintf")->UseManualTime();

} // namespace
} // namespace bench
