// spdlog with a sink that formats whole lines and throws them away.
#ifndef FALLCATCH_BENCHMARKS_NULL_SPDLOG_H
#define FALLCATCH_BENCHMARKS_NULL_SPDLOG_H

#include "Measure.h"

#include <spdlog/details/null_mutex.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <atomic>

namespace bench {

// Date, time with microseconds, thread and message: as much as a line of the collector shows.
constexpr char kSpdlogPattern[] = "%Y-%m-%d %H:%M:%S.%f  [%t]\t%v";

class FormattingSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
public:
    FormattingSink() { set_pattern(kSpdlogPattern); }
    long long Lines() const { return mLines.load(std::memory_order_acquire); }

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        Touch(line.data());
        // One thread writes; the release tells a waiting one how far it is.
        mLines.store(mLines.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }
    void flush_() override { }

private:
    std::atomic<long long> mLines { 0 };
};

} // namespace bench

#endif
