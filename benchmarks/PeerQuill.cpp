// quill's front end; its own thread formats into a sink that throws lines away.
#include "PeerCall.h"

#include <quill/Backend.h>
#include <quill/Frontend.h>
#include <quill/LogMacros.h>
#include <quill/Logger.h>
#include <quill/sinks/NullSink.h>

#include <cstdint>

namespace bench {
namespace {

void Quill(benchmark::State& state)
{
    static quill::Logger* const logger = [] {
        quill::BackendOptions options;
        // A list since version 11, and a number before.
        options.cpu_affinity = { static_cast<std::uint16_t>(Processors().back()) };
        quill::Backend::start(options);
        return quill::Frontend::create_or_get_logger(
            "benchmark", quill::Frontend::create_or_get_sink<quill::NullSink>("null"));
    }();
    MeasurePeer(
        state, [&](int i) { LOG_INFO(logger, "x={} y={}", i, IntAndText::kText); },
        [&] { logger->flush_log(); });
}
BENCHMARK(Quill)->Name("log_call_peer/quill")->UseManualTime();

} // namespace
} // namespace bench
