// glog with a sink that formats whole lines and throws them away.
#include "PeerCall.h"

#include <glog/logging.h>

#include <ctime>
#include <string>

namespace bench {
namespace {

class FormattingSink : public google::LogSink {
public:
    void send(google::LogSeverity severity, const char*, const char* fileName, int line,
              const google::LogMessageTime& time, const char* message, std::size_t length) override
    {
        const std::string text = ToString(severity, fileName, line, time, message, length);
        Touch(text.data());
        ++mLines;
    }
    using google::LogSink::send;

    long long mLines = 0;
};

void Glog(benchmark::State& state)
{
    static const bool ready = [] {
        google::InitGoogleLogging("benchmark");
        return true;
    }();
    FormattingSink sink;
    MeasurePeer(state, [&](int i) {
        LOG_TO_SINK_BUT_NOT_TO_LOGFILE(&sink, INFO) << "x=" << i << " y=" << IntAndText::kText;
    });
    if (!ready || sink.mLines != state.iterations() * kCallsPerBatch) {
        state.SkipWithError("lines are missing");
    }
}
BENCHMARK(Glog)->Name("log_call_peer/glog")->UseManualTime();

} // namespace
} // namespace bench
