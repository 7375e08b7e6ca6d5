// log4cplus with an appender that formats whole lines and throws them away.
#include "PeerCall.h"

#include <log4cplus/appender.h>
#include <log4cplus/helpers/pointer.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

#include <memory>

namespace bench {
namespace {

class FormattingAppender : public log4cplus::Appender {
public:
    FormattingAppender()
    {
        layout = std::make_unique<log4cplus::PatternLayout>("%D{%Y-%m-%d %H:%M:%S.%q}  [%t]\t%m%n");
    }
    ~FormattingAppender() override { destructorImpl(); }
    void close() override { closed = true; }

    long long mLines = 0;

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        const log4cplus::tstring& line = formatEvent(event);
        Touch(line.data());
        ++mLines;
    }
};

void Log4cplus(benchmark::State& state)
{
    static const log4cplus::Initializer initializer;
    log4cplus::Logger logger = log4cplus::Logger::getInstance("benchmark");
    logger.setAdditivity(false);
    logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
    const log4cplus::helpers::SharedObjectPtr<FormattingAppender> appender(new FormattingAppender);
    logger.addAppender(log4cplus::SharedAppenderPtr(appender.get()));
    MeasurePeer(state, [&](int i) { LOG4CPLUS_INFO_FMT(logger, IntAndText::kFormat, i, IntAndText::kText); });
    logger.removeAllAppenders();
    if (appender->mLines != state.iterations() * kCallsPerBatch) {
        state.SkipWithError("lines are missing");
    }
}
BENCHMARK(Log4cplus)->Name("log_call_peer/log4cplus")->UseManualTime();

} // namespace
} // namespace bench
