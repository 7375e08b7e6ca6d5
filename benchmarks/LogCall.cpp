// The cost of a log call on one thread that nobody disturbs, and of calls that log nothing.
#include "Logger.h"
#include "Report.h"

namespace bench {
namespace {

template <typename Case> void LogCall(benchmark::State& state)
{
    QuietManager manager;
    Context context;
    const short id = AddFormat(manager);
    if (!FloorFits<Case>(context, id)) {
        state.SkipWithError("the record has another length than the floor copies");
        return;
    }
    SharedCounter sequence;
    Floor<Case::kRecordBytes> floor(sequence.mValue);
    const auto time = [&] {
        const Batch batch = TimeBatch([&](int i) { Case::Call(context, id, i); });
        context.Drain();
        return batch;
    };
    Measure(state, time, "floor", [&] { return floor.Time(); });
}
BENCHMARK_TEMPLATE(LogCall, IntAndText)->Name("log_call/int_and_text")->UseManualTime();
BENCHMARK_TEMPLATE(LogCall, FormatId)->Name("log_call/format_id")->UseManualTime();
BENCHMARK_TEMPLATE(LogCall, InlineText)->Name("log_call/inline_text")->UseManualTime();
BENCHMARK_TEMPLATE(LogCall, NoValue)->Name("log_call/no_value")->UseManualTime();
BENCHMARK_TEMPLATE(LogCall, TenInts)->Name("log_call/ten_ints")->UseManualTime();

// Through the front door, which looks up the thread's context.
void FrontDoor(benchmark::State& state)
{
    QuietManager manager;
    HSL::CLogContext* context = manager->GetTLSContext();
    std::vector<char> scratch(kRingBytes);
    Measure(state, [&] {
        const Batch batch = TimeBatch([](int i) { HSL::HSLog(HSL::CCat(kCategory), "x=%d", i); });
        Drain(*context, scratch);
        return batch;
    });
}
BENCHMARK(FrontDoor)->Name("log_call/front_door")->UseManualTime();

void CallThatLogsNothing(benchmark::State& state, bool enabled)
{
    QuietManager manager;
    manager->SetEnable(enabled);
    manager->SetFilterValue(kCategory, false);
    const HSL::CLogContext* context = manager->GetTLSContext();
    Measure(state, [] {
        return TimeBatch([](int i) {
            HSL::HSLog(HSL::CCat(kCategory), "x=%d", i);
            benchmark::ClobberMemory();
        });
    });
    if (context->mRecordCount != 0) {
        state.SkipWithError("something was logged");
    }
}
BENCHMARK_CAPTURE(CallThatLogsNothing, disabled, false)->Name("log_call/disabled")->UseManualTime();
BENCHMARK_CAPTURE(CallThatLogsNothing, filtered, true)->Name("log_call/filtered")->UseManualTime();

} // namespace
} // namespace bench
