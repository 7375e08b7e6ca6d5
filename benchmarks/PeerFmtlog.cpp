// fmtlog's front end; its lines are formatted between the batches and thrown away. A program of its own: its head needs
// fmt 11 or later, and spdlog brings another one.
#include "PeerCall.h"

#define FMT_HEADER_ONLY
#define FMTLOG_HEADER_ONLY
#include <fmtlog.h>

namespace bench {
namespace {

void Fmtlog(benchmark::State& state)
{
    fmtlog::setLogFile("/dev/null", true);
    MeasurePeer(
        state, [](int i) { logi("x={} y={}", i, IntAndText::kText); }, [] { fmtlog::poll(true); });
}
BENCHMARK(Fmtlog)->Name("log_call_peer/fmtlog")->UseManualTime();

} // namespace
} // namespace bench
