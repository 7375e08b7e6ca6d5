// A host whose records stay pending while someone looks at them from outside.
//
//     PendingHost locked      the manager's lock is held, so that no pass begins
//     PendingHost callback    a pass stands still in its third line's callback
//     PendingHost endless     like locked, with a format that never returns among the records
//
// Prints "ready", waits for a line on standard input, then lets a pass output everything to standard output,
// except with "endless", where no pass could.
#include "CircularBuffer.h"
#include "hslog/HSL.h"

#include <clocale>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr int kThreads = 3;
constexpr int kRecordsPerThread = 150;
constexpr int kLineToStandStillIn = 3;

const char* const kTexts[] = { "", "text", "with a % sign", "caf\xC3\xA9" };
const wchar_t* const kWideTexts[] = { L"", L"wide", L"\x20AC uro", L"\x1F600" };
const unsigned short kUTF16Text[] = { 'u', 't', 'f', 0xD83D, 0xDE00, 0 };

std::mutex gMutex;
std::condition_variable gChanged;
int gPresent = 0;
bool gMayLog = false;
int gLines = 0;
bool gStandStill = false;

void sayReadyAndWait()
{
    std::puts("ready");
    std::fflush(stdout);
    if (std::getchar() == EOF) {
        std::_Exit(1);
    }
}

void printLine(const char* line)
{
    if (gStandStill && ++gLines == kLineToStandStillIn) {
        sayReadyAndWait();
    }
    std::fputs(line, stdout);
}

// Each kind of value and of format, in turn and at random.
void logSomething(HSL::CLogContext& log, std::mt19937& random, short id, short wideId)
{
    const auto any = [&random](unsigned int limit) { return random() % limit; };
    const int number = static_cast<int>(random());
    const HSL::CCat cat(any(5) == 0 ? 5 : 3);
    log.mDepth = static_cast<int>(any(3));
    switch (any(14)) {
    case 0:
        return log.Log(cat, "plain 50%% done");
    case 1:
        return log.Log(cat, "%d %5x %-8u|%+d|%05d|%.3d", number, number, 7u, 5, -42, 9);
    case 2:
        return log.Log(cat, "%hhd %hd %lld %llu %#o", static_cast<signed char>(-5), static_cast<short>(-300),
                       -1234567890123LL, 12345678901234567890ULL, 8);
    case 3:
        return log.Log(cat, "%f %.2e %g %8.3f %G", 1.5F, 12345.678, 1e-7, -2.25, 1e300);
    case 4:
        return log.Log(cat, "[%s] [%10s] [%-6.2s]", kTexts[any(4)], kTexts[any(2)], "cut");
    case 5:
        return log.Log(cat, "[%S] [%ls] [%S]", kWideTexts[any(4)], kWideTexts[any(4)], kUTF16Text);
    case 6:
        return log.Log(cat, "too many %d here", 1, 2, "three", 4.5, L"five");
    case 7:
        return log.Log(cat, "too few %d %s %d%% here", 1);
    case 8:
        return log.Log(cat, id, "by id", number);
    case 9:
        return log.Log(cat, wideId, 1);
    case 10:
        return log.Log(cat, static_cast<short>(-1), 1, 2);
    case 11:
        // "%s" reads what the address points to.
        return log.Log(cat, "%ld %p %s %c", 1234567L, static_cast<const void*>(&log),
                       static_cast<const void*>("behind an address"), 'c');
    case 12:
        return log.Log(cat, "narrow defaults", static_cast<signed char>(-1), static_cast<unsigned short>(65535),
                       -1L, static_cast<const void*>(&log), static_cast<const char*>(nullptr));
    default:
        return log.Log(cat, static_cast<const char*>(nullptr), number);
    }
}

// Has its context made while the lock is free, and logs when everyone is there.
void runThread(int number, short id, short wideId)
{
    HSL::CLogContext* log = HSL::LogManager()->GetTLSContext();
    log->SetName(number == 0 ? "a name of more than eighteen" : ("worker " + std::to_string(number)).c_str());
    std::unique_lock<std::mutex> lock(gMutex);
    ++gPresent;
    gChanged.notify_all();
    gChanged.wait(lock, [] { return gMayLog; });
    lock.unlock();
    std::mt19937 random(static_cast<unsigned int>(number));
    for (int i = 0; i < kRecordsPerThread; ++i) {
        logSomething(*log, random, id, wideId);
        std::this_thread::yield();
    }
}

void logFromAllThreads()
{
    HSL::CLogManager* manager = HSL::LogManager();
    const short id = static_cast<short>(manager->AddFormatString("registered: %s and %d"));
    const short wideId = static_cast<short>(manager->AddFormatString(L"wide %d"));
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back(runThread, i, id, wideId);
    }
    std::unique_lock<std::mutex> lock(gMutex);
    gChanged.wait(lock, [] { return gPresent == kThreads; });
    manager->mLock.Lock();
    gMayLog = true;
    gChanged.notify_all();
    lock.unlock();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    alarm(120);
    prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
    std::setlocale(LC_ALL, "C.UTF-8");
    HSL::CLogManager::Initialize();
    HSL::CLogManager* manager = HSL::LogManager();
    manager->SetOutputCallback(printLine);
    manager->SetEnable(true);
    manager->SetFilterValue(3, true);
    manager->SetFilterValue(5, true);

    logFromAllThreads();
    if (mode == "endless") {
        manager->GetTLSContext()->Log(3, "100%% of %s", "all");
        sayReadyAndWait();
        std::_Exit(0);
    }
    manager->SetFilterValue(5, false);
    if (mode == "callback") {
        gStandStill = true;
    } else {
        sayReadyAndWait();
    }
    manager->Collect();
    std::fflush(stdout);
    manager->mLock.Unlock();
    HSL::CLogManager::Cleanup();
}
