// How a queue between two threads is measured. A Queue<T> is made for a number of elements and has Push and
// Pop, which wait, spinning, for room and for an element.
#ifndef FALLCATCH_BENCHMARKS_QUEUES_H
#define FALLCATCH_BENCHMARKS_QUEUES_H

#include "Report.h"

#include <string>

namespace bench {

constexpr std::size_t kQueueElements = 1024;

struct Record48 {
    int mNumber;
    char mRest[44];
};
static_assert(sizeof(Record48) == 48, "as its name says");

// From one pinned thread to another; what the last one reads is checked.
template <template <typename> class Queue> void BetweenThreads(benchmark::State& state)
{
    constexpr int kRecords = 50000;
    if (!HaveTwoProcessors()) {
        state.SkipWithError("needs two processors");
        return;
    }
    Queue<Record48> queue(kQueueElements);
    Partner reader(1);
    Samples records;
    bool inOrder = true;
    for (auto _ : state) {
        Rendezvous start;
        reader.Start([&] {
            Record48 record;
            start.Meet();
            for (int i = 0; i < kRecords; ++i) {
                queue.Pop(record);
                Touch(&record);
                inOrder = inOrder && record.mNumber == i;
            }
        });
        Record48 record = {};
        start.Meet();
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < kRecords; ++i) {
            record.mNumber = i;
            Touch(&record);
            queue.Push(record);
        }
        reader.Wait();
        const double spent = Nanoseconds(std::chrono::steady_clock::now() - begin);
        records.Add(spent / kRecords);
        state.SetIterationTime(spent * 1e-9);
    }
    if (!inOrder) {
        state.SkipWithError("records are missing or out of order");
    }
    Report(state, "call", records);
}

// One in and out on one thread.
template <template <typename> class Queue, typename Element> void OneThread(benchmark::State& state)
{
    Queue<Element> queue(kQueueElements);
    MeasureCalls(
        state,
        [&](int i) {
            Element element = static_cast<Element>(i);
            queue.Push(element);
            queue.Pop(element);
            Touch(&element);
        },
        [] {});
}

template <template <typename> class Queue> bool AddQueue(const std::string& who)
{
    const auto add = [&who](const char* what, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark((std::string(what) + "/" + who).c_str(), run)->UseManualTime();
    };
    add("ring/48 bytes between threads", BetweenThreads<Queue>);
    add("ring/4 bytes in and out", OneThread<Queue, int>);
    add("ring/8 bytes in and out", OneThread<Queue, long long>);
    return true;
}

// For queues whose try operations return whether they succeeded.
template <typename Try> void SpinUntil(Try&& attempt)
{
    while (!attempt()) {
        SpinPause();
    }
}

} // namespace bench

#endif
