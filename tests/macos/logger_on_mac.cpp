// A host that links the static libraries: kxpl's threads and logger with real threads, and the scan of the
// command line with the log manager that it shares with the bridge. Run as: logger_on_mac -tcwt TC_DER0. Prints
// what is wrong and returns how many things were. With --crash behind the type it then crashes as the codes
// tell: -tcmt or -tcwt, TC_DER0 or TC_PUREV. (A division by zero is none on arm64.)
#include "KxLock.h"
#include "KxThread.h"
#include "fallcatch.h"
#include "hslog/HSL.h"
#include "hslog/HSLCrashLog.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

extern "C" {

// Left open by the bridge; never called here.
void* BreakpadCreate(void*);
void BreakpadSetKeyValue(void*, void*, void*);
void BreakpadRelease(void*);

void* BreakpadCreate(void*)
{
    return nullptr;
}

void BreakpadSetKeyValue(void*, void*, void*) { }

void BreakpadRelease(void*) { }

} // extern "C"

namespace {

constexpr int kThreads = 3;
constexpr int kLinesOfAThread = 2000;
constexpr unsigned char kInfo = 3;

int gFailures = 0;
std::vector<std::string> gLines;

void expect(const char* what, const std::string& found, const std::string& wanted)
{
    if (found != wanted) {
        std::printf("%s: found %s, wanted %s\n", what, found.c_str(), wanted.c_str());
        ++gFailures;
    }
}

void expectNumber(const char* what, long long found, long long wanted)
{
    expect(what, std::to_string(found), std::to_string(wanted));
}

void keepLine(const char* line)
{
    gLines.push_back(line);
}

std::string messageOf(const std::string& line)
{
    const std::size_t tab = line.find('\t');
    return tab == std::string::npos ? line : line.substr(tab + 1, line.size() - tab - 2); // without the newline
}

class Worker : public KxThread {
public:
    explicit Worker(int number)
        : mNumber(number)
    {
        mName = "worker " + std::to_string(number);
    }

    void Run() override
    {
        char name[64] = "";
        pthread_getname_np(pthread_self(), name, sizeof name);
        mNameSeen = name;
        mIdSeen = GetCurrentId();
        mWasMain = IsMainThread();
        for (int i = 0; i < kLinesOfAThread; ++i) {
            HSL::HSLog(HSL::CCat(kInfo), "%d", mNumber * kLinesOfAThread + i);
        }
        if (HSL::CLogManager::IsInitialized()) {
            HSL::LogManager()->Collect(); // the ring goes with the thread
        }
    }

    std::string mNameSeen;
    pthread_t mIdSeen = pthread_t();
    bool mWasMain = true;

private:
    int mNumber;
};

void startManager()
{
    KxThread::Initialize();
    HSL::CLogManager::Initialize();
    HSL::CLogManager* manager = HSL::LogManager();
    manager->mDefaultContextSize = 1U << 20; // nothing is dropped however late the collection thread runs
    manager->SetOutputCallback(keepLine);
    manager->SetFilterValue(kInfo, true);
    manager->SetEnable(true);
}

void checkThreadLife()
{
    Worker worker(9);
    expectNumber("handle before the start", worker.GetId() == pthread_t(), 1);
    for (int round = 0; round < 2; ++round) {
        worker.Start();
        expectNumber("join", worker.WaitForExit(), 0);
        expectNumber("still running", worker.mPlatformData->mIsRunning, 0);
        expectNumber("handle is the thread's", pthread_equal(worker.GetId(), worker.mIdSeen) != 0, 1);
        expectNumber("a worker is the main thread", worker.mWasMain, 0);
        expect("the name that the system shows", worker.mNameSeen, "worker 9");
    }
    expectNumber("main is the main thread", KxThread::IsMainThread(), 1);
}

// Each line begins with its number among all calls. Every number comes once, and a thread's own lines in order;
// a thread that is late between taking its number and publishing its record leaves the line to the next pass.
void checkOrder()
{
    std::vector<int> seen(gLines.size() + 1);
    int next[kThreads] = {};
    for (const std::string& line : gLines) {
        const auto number = static_cast<std::size_t>(std::strtol(line.c_str(), nullptr, 10));
        ++seen[number < seen.size() ? number : 0];
        const std::string message = messageOf(line);
        if (message[0] >= '0' && message[0] <= '9') {
            const int text = std::atoi(message.c_str());
            expectNumber("line of a thread", text % kLinesOfAThread, next[text / kLinesOfAThread]++);
        }
    }
    expectNumber("numbers that came once", std::count(seen.begin() + 1, seen.end(), 1),
                 static_cast<long long>(gLines.size()));
    for (const int lines : next) {
        expectNumber("lines of a thread", lines, kLinesOfAThread);
    }
}

void checkLoggerUnderLoad()
{
    startManager();
    HSL::HSLog(HSL::CCat(kInfo), "wide: %S", L"Host");
    HSL::HSLog(HSL::CCat(kInfo), "wide, beyond ASCII: %S", L"H\u00F6st");
    Worker workers[kThreads] = { Worker(0), Worker(1), Worker(2) };
    for (Worker& worker : workers) {
        worker.Start();
    }
    HSL::HSLog(HSL::CCat(kInfo), "started");
    for (Worker& worker : workers) {
        expectNumber("join", worker.WaitForExit(), 0);
    }
    HSL::HSLog(HSL::CCat(kInfo), "joined");
    HSL::CLogManager::Cleanup();

    expectNumber("lines", static_cast<long long>(gLines.size()), kThreads * kLinesOfAThread + 4);
    if (gLines.size() > 2) {
        expect("wide text", messageOf(gLines[0]), "wide: Host");
        std::printf("%s", gLines[1].c_str()); // the C library's own affair
        expect("last message", messageOf(gLines.back()), "joined");
    }
    checkOrder();
    gLines.clear();
}

// The writer of crash logs over this system's own pipes, while nothing can be output.
void checkCrashLog()
{
    HSL::KeepLines();
    startManager();
    std::string log;
    {
        const KxLockGuard noPass(HSL::LogManager()->mLock);
        HSL::HSLog(HSL::CCat(kInfo), "pending %d", 77);
        int ends[2] = { -1, -1 };
        expectNumber("pipe", pipe(ends), 0);
        expectNumber("crash log", HSL::WriteCrashLog(ends[1]), 0);
        close(ends[1]);
        char piece[512];
        for (ssize_t got = 0; (got = read(ends[0], piece, sizeof piece)) > 0;) {
            log.append(piece, static_cast<std::size_t>(got));
        }
        close(ends[0]);
    }
    HSL::CLogManager::Cleanup();
    gLines.clear();
    expect("a crash log's mark", log.substr(0, 8), "HSLCrash");
    expectNumber("the thread's name in it", log.find("Main") != std::string::npos, 1);
    expectNumber("the pending message in it", log.find("pending %d") != std::string::npos, 1);
    expect("its last section", log.substr(log.size() - std::min<std::size_t>(log.size(), 12), 4), "DONE");
}

void checkScan(const std::string& threadWord, const std::string& type, int* codes)
{
    startManager();
    const int count = GetTestCommandsList(codes, 0);
    HSL::CLogManager::Cleanup();
    const bool isMain = threadWord == "-tcmt";
    expectNumber("number of codes", count, 2);
    expectNumber("thread", codes[0], isMain ? 0 : 1);
    expectNumber("crash type", codes[1], type == "TC_PUREV" ? 4 : 3);
    expectNumber("lines of the scan", static_cast<long long>(gLines.size()), 3);
    if (gLines.size() == 3) {
        expect("scan", messageOf(gLines[0]), "Checking command line for crash test parameters\n");
        expect("switch", messageOf(gLines[1]),
               std::string("Received instruction to crash on ") + (isMain ? "main" : "workder") + " thread\n");
        expect("type", messageOf(gLines[2]).substr(0, 12), "Crash type: ");
    }
}

class Unfinished {
public:
    Unfinished() { CallTooEarly(); }
    virtual ~Unfinished() = default;
    virtual void Virtual() = 0;

private:
    __attribute__((noinline)) void CallTooEarly() { Virtual(); }
};

class Finished : public Unfinished {
public:
    void Virtual() override { }
};

void crash(int type)
{
    if (type == 4) {
        Finished ends;
    }
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

class Crasher : public KxThread {
public:
    explicit Crasher(int type)
        : mType(type)
    {
    }

    void Run() override { crash(mType); }

private:
    int mType;
};

} // namespace

int main(int argumentCount, char** arguments)
{
    checkLoggerUnderLoad();
    checkThreadLife();
    checkCrashLog();
    int codes[2] = { -1, -1 };
    if (argumentCount < 3) {
        std::puts("usage: logger_on_mac -tcmt|-tcwt TC_DER0|TC_PUREV [--crash]");
        return 1;
    }
    checkScan(arguments[1], arguments[2], codes);
    std::printf("%d failures\n", gFailures);
    if (gFailures == 0 && argumentCount > 3 && std::strcmp(arguments[3], "--crash") == 0) {
        std::fflush(stdout);
        if (codes[0] == 0) {
            crash(codes[1]);
        }
        Crasher crasher(codes[1]);
        crasher.Start();
        crasher.WaitForExit();
    }
    return gFailures;
}
