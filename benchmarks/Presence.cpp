// What the logger costs a host that does not log: its idle collection thread, and memory for each thread.
#include "CountedMemory.h"
#include "Logger.h"
#include "Report.h"

#include <malloc.h>

#include <ctime>
#include <memory>
#include <thread>

namespace bench {
namespace {

constexpr int kThreads = 64;

// Of all threads of this process.
double processorSeconds()
{
    timespec spent;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &spent);
    return static_cast<double>(spent.tv_sec) + static_cast<double>(spent.tv_nsec) * 1e-9;
}

// The collection thread at its usual pace, with nothing to collect.
void Idle(benchmark::State& state)
{
    constexpr double kSeconds = 2;
    HSL::CLogManager::Initialize();
    {
        std::vector<std::unique_ptr<Context>> contexts;
        for (int i = 0; i < kThreads; ++i) {
            contexts.push_back(std::make_unique<Context>());
        }
        double spent = 0;
        for (auto _ : state) {
            const double before = processorSeconds();
            std::this_thread::sleep_for(std::chrono::duration<double>(kSeconds));
            spent += processorSeconds() - before;
            state.SetIterationTime(kSeconds);
        }
        state.counters["percent_of_a_core"] =
            100 * spent / (kSeconds * static_cast<double>(state.iterations()));
    }
    HSL::CLogManager::Cleanup();
}
BENCHMARK(Idle)->Name("presence/idle")->UseManualTime()->Iterations(1);

// What a thread's first log call asks of malloc and keeps, its ring included; and what the C library makes of
// it.
void Memory(benchmark::State& state)
{
    HSL::CLogManager::Initialize();
    HSL::LogManager()->SetEnable(true);
    HSL::LogManager()->SetFilterValue(kCategory, true);
    HSL::LogManager()->SetOutputCallback([](const char*) {});
    for (auto _ : state) {
        const auto taken = [] {
            const struct mallinfo2 info = mallinfo2();
            return static_cast<double>(info.uordblks + info.hblkhd);
        };
        const double before = taken();
        StartCounting();
        // Plain threads: their contexts stay when they end.
        for (int i = 0; i < kThreads; ++i) {
            std::thread([] { HSL::HSLog(HSL::CCat(kCategory), "first"); }).join();
        }
        const double asked = static_cast<double>(StopCounting());
        state.counters["bytes_per_thread"] = asked / kThreads;
        state.counters["bytes_beyond_the_ring"] = asked / kThreads - kRingBytes;
        state.counters["heap_bytes_per_thread"] = (taken() - before) / kThreads;
        state.SetIterationTime(1e-3);
    }
    HSL::CLogManager::Cleanup();
}
BENCHMARK(Memory)->Name("presence/memory")->UseManualTime()->Iterations(1);

} // namespace
} // namespace bench
