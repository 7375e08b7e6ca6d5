// How a queue between two threads is measured, in turns with the ring. A Queue<T> is made for a number of
// elements and has Push and Pop, which wait, spinning, for room and for an element.
#ifndef FALLCATCH_BENCHMARKS_QUEUES_H
#define FALLCATCH_BENCHMARKS_QUEUES_H

#include "Report.h"

#include <CircularBuffer.h>

#include <string>

namespace bench {

constexpr std::size_t kQueueElements = 1024;
constexpr int kRecords = 10000; // that pass in one go

struct Record48 {
    int mNumber;
    char mRest[44];
};
static_assert(sizeof(Record48) == 48, "as its name says");

// For queues whose try operations return whether they succeeded.
template <typename Try> void SpinUntil(Try&& attempt)
{
    while (!attempt()) {
        SpinPause();
    }
}

// The ring as the logger uses it: elements of one byte, whatever is written.
template <typename T> class Ring {
public:
    explicit Ring(std::size_t elements)
        : mBytes(1, static_cast<unsigned int>(elements * sizeof(T)), CCircularBuffer::MallocFunc,
                 CCircularBuffer::FreeFunc, CCircularBuffer::CopyFunc)
    {
        mBytes.SetFlags(CB_FLAG_NO_OVERFLOW_ERROR);
    }

    // Room and data come in any number of bytes.
    void Push(const T& element)
    {
        const char* bytes = reinterpret_cast<const char*>(&element);
        Complete([&](int done, int& count) { mBytes.Write(bytes + done, count); });
    }
    void Pop(T& element)
    {
        char* bytes = reinterpret_cast<char*>(&element);
        Complete([&](int done, int& count) { mBytes.Read(bytes + done, count); });
    }

private:
    template <typename Step> static void Complete(Step&& step)
    {
        int done = 0;
        SpinUntil([&] {
            int count = static_cast<int>(sizeof(T)) - done;
            step(done, count);
            done += count;
            return done == static_cast<int>(sizeof(T));
        });
    }

    CCircularBuffer mBytes;
};

// From one pinned thread to another; what the last one reads is checked.
template <template <typename> class Queue> class Passage {
public:
    Batch Time(Partner& reader)
    {
        Rendezvous start;
        bool interrupted = false;
        reader.Start([&] {
            interrupted = TimeWork(kRecords, [&] {
                              Record48 record;
                              start.Meet();
                              for (int i = 0; i < kRecords; ++i) {
                                  mQueue.Pop(record);
                                  Touch(&record);
                                  mInOrder = mInOrder && record.mNumber == i;
                              }
                          }).mInterrupted;
        });
        start.Meet();
        Batch batch = TimeWork(kRecords, [&] {
            Record48 record = {};
            for (int i = 0; i < kRecords; ++i) {
                record.mNumber = i;
                Touch(&record);
                mQueue.Push(record);
            }
            reader.Wait();
        });
        batch.mInterrupted = batch.mInterrupted || interrupted;
        return batch;
    }

    bool mInOrder = true;

private:
    Queue<Record48> mQueue { kQueueElements };
};

template <template <typename> class Queue> void BetweenThreads(benchmark::State& state)
{
    if (!HaveTwoProcessors()) {
        state.SkipWithError("needs two processors");
        return;
    }
    Partner reader(1);
    Passage<Queue> passage;
    Passage<Ring> own;
    Measure(
        state, [&] { return passage.Time(reader); }, "own", [&] { return own.Time(reader); });
    if (!passage.mInOrder || !own.mInOrder) {
        state.SkipWithError("records are missing or out of order");
    }
}

// One in and out on one thread.
template <typename Queue, typename Element> Batch TimeInAndOut(Queue& queue)
{
    return TimeBatch([&](int i) {
        Element element = static_cast<Element>(i);
        queue.Push(element);
        queue.Pop(element);
        Touch(&element);
    });
}

template <template <typename> class Queue, typename Element> void OneThread(benchmark::State& state)
{
    Queue<Element> queue(kQueueElements);
    Ring<Element> own(kQueueElements);
    Measure(
        state, [&] { return TimeInAndOut<Queue<Element>, Element>(queue); }, "own",
        [&] { return TimeInAndOut<Ring<Element>, Element>(own); });
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

} // namespace bench

#endif
