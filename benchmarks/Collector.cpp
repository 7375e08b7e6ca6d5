// From a backlog in the rings to the callback, over the number of contexts.
#include "Lines.h"
#include "Report.h"

namespace bench {
namespace {

void Contexts(benchmark::State& state)
{
    QuietManager manager;
    Backlog backlog(manager, static_cast<int>(state.range(0)));
    Samples lines;
    for (auto _ : state) {
        backlog.Fill();
        const Batch cost = backlog.TimeCollect();
        if (cost.mCost < 0) {
            state.SkipWithError("lines are missing");
            return;
        }
        lines.Add(cost);
        state.SetIterationTime(cost.mCost * kBacklog * 1e-9);
    }
    state.SetItemsProcessed(state.iterations() * kBacklog);
    Report(state, "call", lines);
}
BENCHMARK(Contexts)->Name("collector/contexts")->RangeMultiplier(2)->Range(1, 256)->UseManualTime();

void CLibrary(benchmark::State& state)
{
    Samples lines;
    for (auto _ : state) {
        const Batch cost = TimeBatch([](int i) { LineByCLibrary(i); });
        lines.Add(cost);
        SetBatchTime(state, cost);
    }
    state.SetItemsProcessed(state.iterations() * kCallsPerBatch);
    Report(state, "call", lines);
}
BENCHMARK(CLibrary)->Name("collector_peer/vsnprintf")->UseManualTime();

} // namespace
} // namespace bench
