// Contexts of several threads at once.
#include "hslog/HSLLogContext.h"

#include "BareManager.h"
#include "ByteRing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CValue;

namespace {

constexpr int kThreads = 4;
constexpr int kCalls = 7000;
constexpr int kDiscardedCalls = 100000;
// A record with one inline character and one int.
constexpr std::size_t kRecordBytes = 16 + 1 + 2 + 1 + 1 + 5;

int int32At(const std::string& bytes, std::size_t offset)
{
    int value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

// Runs the body on several threads, which begin it together.
void onSeveralThreads(const std::function<void(int)>& body)
{
    std::atomic<int> waiting { kThreads };
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&waiting, &body, i] {
            --waiting;
            while (waiting > 0) {
                std::this_thread::yield();
            }
            body(i);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace

TEST(CLogContextThreads, NumbersOfThreadsThatLogAtOnceAreUniqueAndGapless)
{
    BareManager manager;
    manager->SetFilterValue(3, true);
    onSeveralThreads([&](int thread) {
        for (int call = 0; call < kCalls; ++call) {
            manager->GetTLSContext()->Log(CCat(3), "x", CValue(thread));
        }
    });
    ASSERT_EQ(manager->mContexts.size(), static_cast<std::size_t>(kThreads));
    std::vector<int> numbers;
    for (const CLogContext* context : manager->mContexts) {
        const std::string bytes = BytesIn(*context->mBuffer);
        ASSERT_EQ(bytes.size(), kCalls * kRecordBytes);
        ASSERT_EQ(context->mRecordCount, kCalls);
        for (std::size_t at = 0; at < bytes.size(); at += kRecordBytes) {
            numbers.push_back(int32At(bytes, at + 1));
        }
    }
    std::sort(numbers.begin(), numbers.end());
    for (int i = 0; i < kThreads * kCalls; ++i) {
        ASSERT_EQ(numbers[static_cast<std::size_t>(i)], i + 1);
    }
    EXPECT_EQ(manager->mSequence, kThreads * kCalls);
}

TEST(CLogContextThreads, NumbersRiseWithinAContext)
{
    BareManager manager;
    manager->SetFilterValue(3, true);
    onSeveralThreads([&](int thread) {
        for (int call = 0; call < kCalls; ++call) {
            manager->GetTLSContext()->Log(CCat(3), "x", CValue(thread));
        }
    });
    for (const CLogContext* context : manager->mContexts) {
        const std::string bytes = BytesIn(*context->mBuffer);
        int previous = 0;
        for (std::size_t at = 0; at < bytes.size(); at += kRecordBytes) {
            ASSERT_GT(int32At(bytes, at + 1), previous);
            previous = int32At(bytes, at + 1);
        }
    }
}

TEST(CLogContextThreads, EveryThreadWritesOnlyItsOwnContext)
{
    BareManager manager;
    manager->SetFilterValue(3, true);
    onSeveralThreads([&](int thread) {
        for (int call = 0; call < kCalls; ++call) {
            manager->GetTLSContext()->Log(CCat(3), "x", CValue(thread));
        }
    });
    std::set<int> threads;
    for (const CLogContext* context : manager->mContexts) {
        const std::string bytes = BytesIn(*context->mBuffer);
        const int thread = int32At(bytes, kRecordBytes - 4);
        threads.insert(thread);
        for (std::size_t at = 0; at < bytes.size(); at += kRecordBytes) {
            ASSERT_EQ(int32At(bytes, at + kRecordBytes - 4), thread);
        }
    }
    EXPECT_EQ(threads.size(), static_cast<std::size_t>(kThreads));
}

TEST(CLogContextThreads, DiscardedMessagesOfSeveralThreadsTakeEveryNumberOnce)
{
    BareManager manager;
    manager->SetFilterValue(3, true);
    onSeveralThreads([&](int) {
        CLogContext* context = manager->GetTLSContext();
        context->mDropping = true;
        context->mLowWater = 0;
        for (int call = 0; call < kDiscardedCalls; ++call) {
            context->Log(CCat(3), "x");
        }
    });
    EXPECT_EQ(manager->mSequence, kThreads * kDiscardedCalls);
}
