// The cost of a log call while the collector drains the same ring, and while another thread logs too.
#include "Logger.h"
#include "Report.h"

#include <atomic>

namespace bench {
namespace {

void ignoreLine(const char* line)
{
    benchmark::DoNotOptimize(line);
}

// A batch during which another processor collects without a pause, and one that nobody disturbs.
void WhileDrained(benchmark::State& state)
{
    if (!HaveTwoProcessors()) {
        state.SkipWithError("needs two processors");
        return;
    }
    QuietManager manager;
    const auto previous = manager->SetOutputCallback(ignoreLine);
    Context context;
    Partner collector(1);
    const auto log = [&] { return TimeBatch([&](int i) { IntAndText::Call(context, 0, i); }); };
    const auto drained = [&] {
        std::atomic<int> passes { 0 };
        std::atomic<bool> stop { false };
        collector.Start([&] {
            while (!stop) {
                manager->Collect();
                passes.fetch_add(1, std::memory_order_relaxed);
            }
        });
        while (passes.load(std::memory_order_relaxed) == 0) {
            SpinPause();
        }
        const Batch batch = log();
        while (KxLoadAcquire(context.mRecordCount) != 0) {
            SpinPause();
        }
        stop = true;
        collector.Wait();
        return batch;
    };
    const auto quiet = [&] {
        const Batch batch = log();
        context.Drain();
        return batch;
    };
    Measure(state, drained, "quiet", quiet);
    manager->SetOutputCallback(previous);
}
BENCHMARK(WhileDrained)->Name("log_call_drained/int_and_text")->UseManualTime();

// Both threads run the call a batch long at the same time; the mean of their costs.
template <typename Mine, typename Other> Batch TimeTogether(Partner& partner, Mine&& mine, Other&& other)
{
    Rendezvous start;
    Batch others = {};
    partner.Start([&] {
        start.Meet();
        others = TimeBatch(other);
    });
    start.Meet();
    const Batch own = TimeBatch(mine);
    partner.Wait();
    return { (own.mCost + others.mCost) / 2, own.mSpent, own.mInterrupted || others.mInterrupted };
}

void TwoThreads(benchmark::State& state)
{
    if (!HaveTwoProcessors()) {
        state.SkipWithError("needs two processors");
        return;
    }
    QuietManager manager;
    Context mine;
    Context others;
    SharedCounter sequence;
    Floor<IntAndText::kRecordBytes> myFloor(sequence.mValue);
    Floor<IntAndText::kRecordBytes> othersFloor(sequence.mValue);
    Partner partner(1);
    // Each thread drains what it wrote, or the rings would change caches.
    const auto calls = [&] {
        const Batch batch = TimeTogether(
            partner, [&](int i) { IntAndText::Call(mine, 0, i); },
            [&](int i) { IntAndText::Call(others, 0, i); });
        partner.Start([&] { others.Drain(); });
        mine.Drain();
        partner.Wait();
        return batch;
    };
    const auto floors = [&] {
        const Batch batch = TimeTogether(
            partner, [&](int) { myFloor(); }, [&](int) { othersFloor(); });
        partner.Start([&] { othersFloor.Drain(); });
        myFloor.Drain();
        partner.Wait();
        return batch;
    };
    Measure(state, calls, "floor", floors);
}
BENCHMARK(TwoThreads)->Name("log_call_two_threads/int_and_text")->UseManualTime();

} // namespace
} // namespace bench
