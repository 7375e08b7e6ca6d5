// spdlog making the lines that the collector makes.
#include "NullSpdlog.h"

#include "Lines.h"
#include "Report.h"

#include <memory>

namespace bench {
namespace {

void SpdlogLines(benchmark::State& state)
{
    const auto sink = std::make_shared<FormattingSink>();
    spdlog::logger logger("lines", sink);
    const auto time = [&] { return TimeBatch([&](int i) { logger.info("x={} y={}", i, IntAndText::kText); }); };
    Measure(state, time, "yardstick", TimeLinesByCLibrary);
    if (sink->Lines() != state.iterations() * kCallsPerBatch) {
        state.SkipWithError("lines are missing");
    }
}
BENCHMARK(SpdlogLines)->Name("collector_peer/spdlog")->UseManualTime();

} // namespace
} // namespace bench
