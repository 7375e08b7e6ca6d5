// spdlog's front ends, synchronous and asynchronous.
#include "NullSpdlog.h"

#include "PeerCall.h"

#include <spdlog/async.h>

#include <memory>

namespace bench {
namespace {

constexpr std::size_t kQueueLength = 8192; // a batch fits

void Synchronous(benchmark::State& state)
{
    const auto sink = std::make_shared<FormattingSink>();
    spdlog::logger logger("synchronous", sink);
    MeasurePeer(state, [&](int i) { logger.info("x={} y={}", i, IntAndText::kText); });
}
BENCHMARK(Synchronous)->Name("log_call_peer/spdlog, synchronous")->UseManualTime();

// Its thread works on the other processor while the caller goes on.
void Asynchronous(benchmark::State& state)
{
    if (!HaveTwoProcessors()) {
        state.SkipWithError("needs two processors");
        return;
    }
    const auto sink = std::make_shared<FormattingSink>();
    const auto pool = std::make_shared<spdlog::details::thread_pool>(kQueueLength, 1, [] { PinThisThread(1); });
    const auto logger = std::make_shared<spdlog::async_logger>("asynchronous", sink, pool,
                                                               spdlog::async_overflow_policy::block);
    long long logged = 0;
    MeasurePeer(
        state, [&](int i) { logger->info("x={} y={}", i, IntAndText::kText); },
        [&] {
            logged += kCallsPerBatch;
            while (sink->Lines() < logged) {
                SpinPause();
            }
        });
}
BENCHMARK(Asynchronous)->Name("log_call_peer/spdlog, asynchronous")->UseManualTime();

} // namespace
} // namespace bench
