// Processes that log, crash and leave their log to a bare copy of themselves, as a crash reporter would have
// it; and the account of what they logged, kept outside of them.
#ifndef FALLCATCH_TESTS_CRASH_RUN_H
#define FALLCATCH_TESTS_CRASH_RUN_H

#include "hslog/HSL.h"
#include "hslog/HSLCrashLog.h"
#include "hslog/HSLLastingLog.h"
#include "hslog/crash/CrashLogText.h"
#include "hslog/crash/DeadLogs.h"

#include "CrashLogFixture.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <map>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

// In memory that the process shares with the test.
struct CrashAccount {
    static constexpr int kThreads = 64;

    std::atomic<int> returned[kThreads]; // number of the last message whose log call has returned
    int returnedBefore[kThreads];        // the same when the crash came
    std::atomic<int> output[kThreads];   // number of the last message that the callback got
    std::atomic<bool> dropped[kThreads]; // whether the callback got a dropped-messages line behind it
    std::atomic<int> crashes;            // threads that are in the handler
    std::atomic<long> milliseconds;      // that the handler took
};

class CrashRun {
public:
    CrashRun()
        : mAccount(new (mmap(nullptr, sizeof(CrashAccount), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                             -1, 0)) CrashAccount())
    {
    }
    ~CrashRun() { munmap(mAccount, sizeof(CrashAccount)); }

    CrashRun(const CrashRun&) = delete;
    CrashRun& operator=(const CrashRun&) = delete;

    CrashAccount& Account() { return *mAccount; }

    // Runs the body, which has to crash, in a process of its own with logging set up, and reads the log that it
    // leaves.
    void Run(const std::function<void()>& body)
    {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            SetUp();
            body();
            _exit(100);
        }
        int status = 0;
        waitpid(child, &status, 0);
        mStatus = status;
        mText = HSL::CrashLog::textOf(mFile.Bytes(), {});
    }

    // The same with a body that need not end: it is killed once it logs on that thread and some time has gone by, and
    // leaves its log in shared memory.
    void RunAndKill(const std::function<void()>& body, int thread, int microseconds)
    {
        const std::string product = "fallcatch-test-" + std::to_string(getpid());
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            if (HSL::MakeLogLast(product.c_str()) != 0) {
                _exit(101);
            }
            SetUp();
            body();
            _exit(100);
        }
        int status = 0;
        while (mAccount->returned[thread] == 0 && waitpid(child, &status, WNOHANG) == 0) {
            usleep(100);
        }
        usleep(static_cast<useconds_t>(microseconds));
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        mStatus = status;
        for (int i = 0; i < CrashAccount::kThreads; ++i) {
            mAccount->returnedBefore[i] = mAccount->returned[i];
        }
        mText = {};
        mDeadLogs = HSL::CrashLog::takeDeadLogs(product.c_str(), [this](const HSL::CrashLog::DeadLog& log) {
            mText = HSL::CrashLog::textOf(log.mFile, {});
            return true;
        });
    }

    // How many logs of killed processes were found.
    int DeadLogs() const { return mDeadLogs; }

    // What the process was ended by; 42 for the handler's own end.
    int ExitStatus() const { return WIFEXITED(mStatus) ? WEXITSTATUS(mStatus) : -WTERMSIG(mStatus); }
    const HSL::CrashLog::CrashLogText& Text() const { return mText; }

    // Logs the thread's next message, "T <thread> N <number>", and accounts for it.
    void Log(HSL::CLogContext& context, int thread)
    {
        const int number = mAccount->returned[thread].load(std::memory_order_relaxed) + 1;
        context.Log(HSL::CCat(3), "T %d N %d", thread, number);
        mAccount->returned[thread].store(number, std::memory_order_release);
    }

    // What is wrong with the log as measured by the account; empty when nothing is. A thread's messages may
    // begin where the callback got those before, must then go on without a gap that no dropped-messages line
    // explains, up to the last one whose call had returned, and all of them are in the order of their numbers.
    std::string Wrong() const
    {
        std::istringstream lines(mText.mLines);
        std::map<std::string, int> threadOf; // by context
        std::map<int, int> last;
        std::map<std::string, bool> dropped;
        std::string line;
        long number = -1;
        while (std::getline(lines, line)) {
            const long next = numberOf(line);
            if (number >= 0 && next <= number) {
                return "out of order: " + line;
            }
            number = next;
            const std::size_t open = line.find(":  [");
            const std::string context = line.substr(open, line.find("]\t") - open);
            const std::string message = line.substr(line.find('\t') + 1);
            int thread = 0;
            int n = 0;
            if (message == "*** HSLOG DROPPED MESSAGE(S) ***") {
                dropped[context] = true;
            } else if (std::sscanf(message.c_str(), "T %d N %d", &thread, &n) == 2) {
                const bool isFirst = last.find(thread) == last.end();
                const int expected = isFirst ? mAccount->output[thread].load() + 1 : last[thread] + 1;
                const bool isTold = dropped[context] || (isFirst && mAccount->dropped[thread]);
                if (!isTold && (isFirst ? n > expected : n != expected)) {
                    return "thread " + std::to_string(thread) + " misses " + std::to_string(expected) + ": "
                        + line;
                }
                if (!isFirst && n < expected) {
                    return "twice or out of order: " + line;
                }
                last[thread] = n;
                threadOf[context] = thread;
                dropped[context] = false;
            }
        }
        std::map<int, bool> endsInDrop;
        for (const auto& one : threadOf) {
            endsInDrop[one.second] = dropped[one.first];
        }
        for (int thread = 0; thread < CrashAccount::kThreads; ++thread) {
            const int known = last.find(thread) != last.end() ? last[thread] : mAccount->output[thread].load();
            if (known < mAccount->returnedBefore[thread] && !endsInDrop[thread] && !mAccount->dropped[thread]) {
                return "thread " + std::to_string(thread) + " ends with " + std::to_string(known)
                    + " instead of " + std::to_string(mAccount->returnedBefore[thread]);
            }
        }
        return std::string();
    }

private:
    static void TakeLine(const char* line)
    {
        int thread = 0;
        int number = 0;
        const char* message = std::strchr(line, '\t');
        if (message != nullptr && std::sscanf(message, "\tT %d N %d", &thread, &number) == 2) {
            sAccount->output[thread].store(number, std::memory_order_release);
            sAccount->dropped[thread] = false;
        } else if (std::sscanf(std::strstr(line, ":  ["), ":  [T %d", &thread) == 1) {
            sAccount->dropped[thread] = true; // no other message comes from a context of that name
        }
        if (sCurrent->inCallback) {
            sCurrent->inCallback();
        }
    }

    static long Now()
    {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return now.tv_sec * 1000 + now.tv_nsec / 1000000;
    }

    static void OnCrash(int, siginfo_t*, void*)
    {
        if (sAccount->crashes.fetch_add(1) != 0) {
            for (;;) {
                pause(); // the first one ends the process
            }
        }
        for (int thread = 0; thread < CrashAccount::kThreads; ++thread) {
            sAccount->returnedBefore[thread] = sAccount->returned[thread];
        }
        const long start = Now();
        const pid_t copy = static_cast<pid_t>(syscall(SYS_clone, 0, 0, 0, 0, 0));
        if (copy == 0) {
            struct sigaction action = {};
            action.sa_handler = SIG_DFL;
            for (const int signal : { SIGSEGV, SIGABRT, SIGBUS, SIGILL, SIGFPE }) {
                sigaction(signal, &action, nullptr);
            }
            syscall(SYS_exit_group, HSL::WriteCrashLog(sFile));
        }
        int status = 0;
        long waited = 0;
        while (waitpid(copy, &status, __WALL | WNOHANG) != copy && (waited = Now() - start) < 2000) {
            usleep(200);
        }
        sAccount->milliseconds = Now() - start;
        const bool isWritten = WIFEXITED(status) && WEXITSTATUS(status) == 0 && waited < 2000;
        syscall(SYS_exit_group, isWritten ? 42 : 43);
    }

    void SetUp()
    {
        sCurrent = this;
        sAccount = mAccount;
        sFile = mFile.Number();
        const rlimit noCore = { 0, 0 };
        setrlimit(RLIMIT_CORE, &noCore);
        std::FILE* ignored = std::freopen("/dev/null", "w", stderr); // what an abort says
        static_cast<void>(ignored);
        static char stack[65536];
        stack_t alternate = {};
        alternate.ss_sp = stack;
        alternate.ss_size = sizeof stack;
        sigaltstack(&alternate, nullptr);
        struct sigaction action = {};
        action.sa_sigaction = OnCrash;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        for (const int signal : { SIGSEGV, SIGABRT, SIGBUS, SIGILL, SIGFPE }) {
            sigaction(signal, &action, nullptr);
        }
        HSL::KeepLines(keptBytes);
        HSL::CLogManager::Initialize();
        HSL::LogManager()->SetEnable(true);
        HSL::LogManager()->SetFilterValue(3, true);
        HSL::LogManager()->SetOutputCallback(TakeLine);
    }

    static inline CrashRun* sCurrent = nullptr;
    // What the handler needs does not lie on the heap, which a test may have overwritten.
    static inline CrashAccount* sAccount = nullptr;
    static inline int sFile = -1;

    CrashAccount* mAccount;
    CrashLogFile mFile;
    HSL::CrashLog::CrashLogText mText;
    int mStatus = 0;
    int mDeadLogs = 0;

public:
    unsigned int keptBytes = HSL::kKeptBytes;
    std::function<void()> inCallback; // in the process that is to crash
};

[[noreturn]] inline void crashNow()
{
    std::raise(SIGSEGV);
    for (;;) {
        pause();
    }
}

#endif
