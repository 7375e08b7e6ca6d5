// Lets threads log at random while a host changes everything about the logger, and accounts for every message.
//
//     soak [--seconds N] [--seed N]
//
// Fails when a line was changed, came twice, came out of its thread's order, or is missing without a reason,
// and when memory grows.
#include "Host.h"

#include <chrono>
#include <clocale>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <random>
#include <string>

// There when the program runs under a sanitizer, whose allocator the C library knows nothing of.
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int kPeriodMilliseconds = 700;
constexpr unsigned int kWarmUpPeriods = 4;
// More than the allocator and the C library keep for themselves, less than any leak that lasts.
constexpr long long kAllowedGrowth = 1 << 20;
constexpr long long kAllowedResidentGrowth = 96ll << 20;

// Bytes allocated and not released.
long long allocatedBytes()
{
    if (__sanitizer_get_current_allocated_bytes != nullptr) {
        return static_cast<long long>(__sanitizer_get_current_allocated_bytes());
    }
    const struct mallinfo2 info = mallinfo2();
    return static_cast<long long>(info.uordblks + info.hblkhd);
}

long long residentBytes()
{
    long long pages = 0;
    if (FILE* file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*d %lld", &pages) != 1) {
            pages = 0;
        }
        std::fclose(file);
    }
    return pages * 4096;
}

double megabytes(long long bytes)
{
    return static_cast<double>(bytes) / (1 << 20);
}

struct Options {
    double seconds = 5;
    unsigned long long seed = std::random_device()();
};

bool readOptions(int argc, char** argv, Options& options)
{
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--seconds") == 0) {
            options.seconds = std::strtod(argv[i + 1], nullptr);
        } else if (std::strcmp(argv[i], "--seed") == 0) {
            options.seed = std::strtoull(argv[i + 1], nullptr, 10);
        } else {
            return false;
        }
    }
    return argc % 2 == 1 && options.seconds > 0;
}

void printSummary(const soak::Totals& sums, double seconds)
{
    std::printf("%.0f s, %llu threads, %llu calls\n", seconds, sums.threads, sums.calls);
    std::printf("%llu lines (%llu of them structured, %llu markers), %.1f MB of text\n", sums.lines,
                sums.structured, sums.markers, megabytes(static_cast<long long>(sums.bytes)));
    std::printf("%llu discarded, %llu hidden at output, %llu lost with their thread's context\n",
                sums.discarded, sums.hidden, sums.lost);
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!readOptions(argc, argv, options)) {
        std::fprintf(stderr, "usage: soak [--seconds N] [--seed N]\n");
        return 2;
    }
    if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) {
        std::fprintf(stderr, "soak: no locale C.UTF-8, which the wide texts need\n");
        return 2;
    }
    std::printf("seed %llu\n", options.seed);
    std::fflush(stdout);

    soak::Host host(options.seed);
    const Clock::time_point begin = Clock::now();
    const auto elapsed = [begin] { return std::chrono::duration<double>(Clock::now() - begin).count(); };
    long long allocated = 0;
    long long resident = 0;
    for (unsigned int period = 0; period < kWarmUpPeriods || elapsed() < options.seconds; ++period) {
        host.RunPeriod(kPeriodMilliseconds);
        if (period + 1 == kWarmUpPeriods) {
            host.EndManager();
            allocated = allocatedBytes();
            resident = residentBytes();
        }
    }
    host.EndManager();
    const long long growth = allocatedBytes() - allocated;
    const long long residentGrowth = residentBytes() - resident;
    printSummary(host.Sums(), elapsed());
    std::printf("since warm-up: %+.2f MB allocated, %+.1f MB resident of %.1f\n", megabytes(growth),
                megabytes(residentGrowth), megabytes(residentBytes()));
    // A sanitizer keeps much of what is released.
    const bool residentCounts = __sanitizer_get_current_allocated_bytes == nullptr;
    if (growth > kAllowedGrowth || (residentCounts && residentGrowth > kAllowedResidentGrowth)) {
        host.Report("memory grows");
    }
    std::printf("%llu errors\n", host.Sums().errors);
    return host.Sums().errors == 0 ? 0 : 1;
}
