// Calls with "{}" formats beside bare ones of the same values.
#include "Logger.h"
#include "Report.h"

#include <hslog/HSLLog.h>

#include <string>

namespace bench {
namespace {

// Both to the same context: the checked call's own, which it looks up, and which the bare call is handed.
template <typename Bare, typename Checked> void Beside(benchmark::State& state, Bare&& bare, Checked&& checked)
{
    QuietManager manager;
    HSL::CLogContext& context = *manager->GetTLSContext();
    std::vector<char> scratch(kRingBytes);
    const auto time = [&](auto&& call) {
        const Batch batch = TimeBatch(call);
        Drain(context, scratch);
        return batch;
    };
    Measure(
        state, [&] { return time([&](int i) { checked(i); }); }, "bare",
        [&] { return time([&](int i) { bare(context, i); }); });
}

void IntAndLiteral(benchmark::State& state)
{
    Beside(
        state, [](HSL::CLogContext& context, int i) { context.Log(kCategory, "x=%d y=%s", i, "layout"); },
        [](int i) { HSL_LOG(kCategory, "x={} y={}", i, "layout"); });
}
BENCHMARK(IntAndLiteral)->Name("log_call_checked/int_and_literal")->UseManualTime();

void IntAndString(benchmark::State& state)
{
    const std::string text = "the second page";
    Touch(&text);
    Beside(
        state, [&](HSL::CLogContext& context, int i) { context.Log(kCategory, "x=%d y=%s", i, text.c_str()); },
        [&](int i) { HSL_LOG(kCategory, "x={} y={}", i, text); });
}
BENCHMARK(IntAndString)->Name("log_call_checked/int_and_string")->UseManualTime();

void IntAndPointer(benchmark::State& state)
{
    const char* text = "the second page";
    Touch(&text);
    Beside(
        state, [&](HSL::CLogContext& context, int i) { context.Log(kCategory, "x=%d y=%s", i, text); },
        [&](int i) { HSL_LOG(kCategory, "x={} y={}", i, text); });
}
BENCHMARK(IntAndPointer)->Name("log_call_checked/int_and_pointer")->UseManualTime();

void FourNumbers(benchmark::State& state)
{
    Beside(
        state,
        [](HSL::CLogContext& context, int i) { context.Log(kCategory, "%d %.3f %u %lld", i, 1.5, 7u, 9ll); },
        [](int i) { HSL_LOG(kCategory, "{} {:.3f} {} {}", i, 1.5, 7u, 9ll); });
}
BENCHMARK(FourNumbers)->Name("log_call_checked/four_numbers")->UseManualTime();

void Filtered(benchmark::State& state)
{
    QuietManager manager;
    manager->SetFilterValue(kCategory, false);
    Measure(state, [] {
        return TimeBatch([](int i) {
            HSL_LOG(kCategory, "x={}", i);
            benchmark::ClobberMemory();
        });
    });
}
BENCHMARK(Filtered)->Name("log_call_checked/filtered")->UseManualTime();

} // namespace
} // namespace bench
