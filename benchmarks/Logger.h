// Log calls to be measured, the manager around them, and the floor beneath them. Needs nothing but kxpl.
#ifndef FALLCATCH_BENCHMARKS_LOGGER_H
#define FALLCATCH_BENCHMARKS_LOGGER_H

#include "Measure.h"

#include <CircularBuffer.h>
#include <hslog/HSL.h>

#include <sys/time.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace bench {

constexpr unsigned char kCategory = 3;
constexpr int kRingBytes = 262144; // the manager's default

// A manager that lets `kCategory` through and has no collection thread: a module's thread starts with a
// manager of its own making only, and this one is adopted. Nothing drains a ring but the benchmark itself.
class QuietManager {
public:
    QuietManager()
    {
        HSL::CLogManager::Initialize(&mManager);
        mManager.SetEnable(true);
        mManager.SetFilterValue(kCategory, true);
    }
    ~QuietManager() { HSL::CLogManager::Cleanup(); }
    QuietManager(const QuietManager&) = delete;
    QuietManager& operator=(const QuietManager&) = delete;

    HSL::CLogManager* operator->() { return &mManager; }

private:
    HSL::CLogManager mManager;
};

// Takes all records off a context's ring without looking at them and returns their bytes.
inline int Drain(HSL::CLogContext& context, std::vector<char>& scratch)
{
    int taken = static_cast<int>(scratch.size());
    context.mBuffer->Read(scratch.data(), taken);
    KxAtomicAdd32Barrier(-KxLoadAcquire(context.mRecordCount), &context.mRecordCount);
    return taken;
}

// A context of the benchmark's own; only while a manager exists.
class Context : public HSL::CLogContext {
public:
    explicit Context(int ringBytes = kRingBytes)
        : CLogContext("Benchmark", ringBytes, MallocFunc, FreeFunc)
        , mScratch(static_cast<std::size_t>(ringBytes))
    {
    }

    int Drain() { return bench::Drain(*this, mScratch); }

private:
    std::vector<char> mScratch;
};

// What no log call of this kind can do without: two locked adds, the time, and the record's bytes moved to
// their place in a ring.
template <std::size_t recordBytes> class Floor {
public:
    // `sequence` is the counter that all threads share; it must have a cache line of its own.
    explicit Floor(int& sequence)
        : mSequence(sequence)
        , mRing(kRingBytes)
        , mScratch(kRingBytes)
    {
    }

    void operator()()
    {
        KxAtomicAdd32Barrier(1, &mSequence);
        timeval now;
        gettimeofday(&now, nullptr);
        if (mAt + recordBytes > mRing.size()) {
            mAt = 0;
        }
        std::memcpy(&mRing[mAt], mRecord, recordBytes);
        mAt += recordBytes;
        KxAtomicAdd32Barrier(1, &mRecords);
    }

    // A batch. Reads back afterwards what it wrote, so that the caches see what Context::Drain makes them see.
    Batch Time()
    {
        const Batch batch = TimeBatch([this](int) { (*this)(); });
        Drain();
        return batch;
    }
    void Drain()
    {
        const std::size_t bytes = recordBytes * kCallsPerBatch;
        std::memcpy(mScratch.data(), &mRing[mAt < bytes ? 0 : mAt - bytes], bytes);
        Touch(mScratch.data());
    }

private:
    alignas(64) int& mSequence;
    std::vector<char> mRing;
    std::vector<char> mScratch;
    std::size_t mAt = 0;
    char mRecord[recordBytes] = {};
    alignas(64) int mRecords = 0;
};

struct alignas(64) SharedCounter {
    int mValue = 0;
};

// The calls. kRecordBytes is what each leaves in the ring of a 64-bit build: 16 bytes of header, format kind,
// id or length, the format's text, number of values, and each value with its tag.
constexpr std::size_t kFrameBytes = 16 + 1 + 2 + 1;

struct IntAndText {
    static constexpr char kFormat[] = "x=%d y=%s";
    static constexpr char kText[] = "layout";
    static constexpr std::size_t kRecordBytes = kFrameBytes + sizeof kFormat - 1 + 5 + 3 + sizeof kText - 1;
    static void Call(HSL::CLogContext& context, short, int i) { context.Log(kCategory, kFormat, i, kText); }
};

struct FormatId {
    static constexpr std::size_t kRecordBytes = kFrameBytes + 5 + 3 + sizeof IntAndText::kText - 1;
    static void Call(HSL::CLogContext& context, short id, int i)
    {
        context.Log(kCategory, id, i, IntAndText::kText);
    }
};

struct InlineText {
    static constexpr char kFormat[] = "the layout of the second page was taken from the cache as it was";
    static constexpr std::size_t kRecordBytes = kFrameBytes + sizeof kFormat - 1;
    static void Call(HSL::CLogContext& context, short, int) { context.Log(kCategory, kFormat); }
};

struct NoValue {
    static constexpr std::size_t kRecordBytes = kFrameBytes;
    static void Call(HSL::CLogContext& context, short id, int) { context.Log(kCategory, id); }
};

struct TenInts {
    static constexpr char kFormat[] = "%d %d %d %d %d %d %d %d %d %d";
    static constexpr std::size_t kRecordBytes = kFrameBytes + sizeof kFormat - 1 + 10 * 5;
    static void Call(HSL::CLogContext& context, short, int i)
    {
        context.Log(kCategory, kFormat, i, i, i, i, i, i, i, i, i, i);
    }
};

// Registers the format that FormatId and NoValue name.
inline short AddFormat(QuietManager& manager)
{
    return static_cast<short>(manager->AddFormatString(IntAndText::kFormat));
}

// Whether the floor moves as many bytes as the call writes.
template <typename Case> bool FloorFits(Context& context, short id)
{
    Case::Call(context, id, 1);
    return context.Drain() == static_cast<int>(Case::kRecordBytes);
}

} // namespace bench

#endif
