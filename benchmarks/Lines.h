// Lines to be collected, and what is measured beside the collector.
#ifndef FALLCATCH_BENCHMARKS_LINES_H
#define FALLCATCH_BENCHMARKS_LINES_H

#include "Logger.h"

#include <cstddef>
#include <cstdio>
#include <ctime>
#include <memory>
#include <vector>

namespace bench {

constexpr int kBacklog = 4096; // records that a pass finds, over all contexts, unless told otherwise

// Counts what reaches the callback; one for the module, as callbacks are plain functions.
inline long long& LinesSeen()
{
    static long long seen = 0;
    return seen;
}

inline void CountLine(const char* line)
{
    Touch(line);
    ++LinesSeen();
}

// Contexts whose records, written in turns, interleave strictly by sequence number.
class Backlog {
public:
    Backlog(QuietManager& manager, int contexts, int records = kBacklog)
        : mManager(manager)
        , mRecords(records)
        , mPrevious(manager->SetOutputCallback(CountLine))
    {
        const int each = records / contexts * static_cast<int>(IntAndText::kRecordBytes);
        for (int i = 0; i < contexts; ++i) {
            mContexts.push_back(std::make_unique<Context>(each + 8192)); // the logger keeps 4,096 bytes free
        }
    }
    ~Backlog() { mManager->SetOutputCallback(mPrevious); }
    Backlog(const Backlog&) = delete;
    Backlog& operator=(const Backlog&) = delete;

    void Fill()
    {
        for (int i = 0; i < mRecords; ++i) {
            IntAndText::Call(*mContexts[static_cast<std::size_t>(i) % mContexts.size()], 0, i);
        }
    }
    // One pass over everything: the cost of a line, or a negative one if lines are missing.
    Batch TimeCollect()
    {
        LinesSeen() = 0;
        const Batch batch = TimeWork(mRecords, [this] { mManager->Collect(); });
        return LinesSeen() == mRecords ? batch : Batch { -1, batch.mSpent, false };
    }

private:
    QuietManager& mManager;
    int mRecords;
    HSL::CLogManager::OutputCallback mPrevious;
    std::vector<std::unique_ptr<Context>> mContexts;
};

// The same line by the C library alone: local time, header, message.
inline void LineByCLibrary(int number)
{
    static char line[512];
    timeval now;
    gettimeofday(&now, nullptr);
    tm parts;
    localtime_r(&now.tv_sec, &parts);
    const int header = std::snprintf(line, sizeof line, "%6d  %02d:%02d:%02d.%06d  (%02d.%06d) :  [%-18s]\t",
                                     number, parts.tm_hour, parts.tm_min, parts.tm_sec,
                                     static_cast<int>(now.tv_usec), 0, 1, "Benchmark");
    std::snprintf(line + header, sizeof line - static_cast<std::size_t>(header), IntAndText::kFormat, number,
                  IntAndText::kText);
    CountLine(line);
}

inline Batch TimeLinesByCLibrary()
{
    return TimeBatch(LineByCLibrary);
}

} // namespace bench

#endif
