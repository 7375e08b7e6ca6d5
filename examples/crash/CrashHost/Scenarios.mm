#include "Scenarios.h"

#include "fallcatch.h"
#include "fallcatch_breakpad.h"
#include "hslog/HSL.h"
#include "hslog/HSLCrashLog.h"

#import <Foundation/NSException.h>
#import <Foundation/NSString.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

// The C library's, which its header declares only where assertions are checked.
extern "C" [[noreturn]] void __assert_fail(const char* text, const char* file, unsigned int line,
                                           const char* function) noexcept;

namespace Scenarios {

namespace {

    volatile int gSink;

    // Threads that go on until the process ends.
    template <typename Work> void keepBusy(int count, Work work)
    {
        static std::atomic<int> running { 0 };
        for (int i = 0; i < count; ++i) {
            std::thread([work] {
                ++running;
                for (;;) {
                    work();
                }
            }).detach();
        }
        while (running < count) {
            usleep(1000);
        }
        usleep(50000);
    }

    __attribute__((noinline)) int overflow(int depth)
    {
        volatile char frame[512];
        frame[0] = static_cast<char>(depth);
        gSink = frame[0];
        if (depth < 0) {
            return gSink;
        }
        return overflow(depth + 1) + frame[0];
    }

    void overflowMain(void*)
    {
        gSink = overflow(0);
    }

    void overflowWorker(void*)
    {
        std::thread([] {
            FallcatchBreakpadPrepareThread();
            gSink = overflow(0);
        }).join();
    }

    void overflowUnprepared(void*)
    {
        std::thread([] { gSink = overflow(0); }).join();
    }

    void exception(void*)
    {
        [NSException raise:NSGenericException format:@"nobody catches this"];
    }

    void logHeavily(void*)
    {
        HSL::CLogManager::Initialize();
        HSL::LogManager()->SetOutputCallback([](const char*) {});
        HSL::LogManager()->SetFilterValue(3, true);
        HSL::LogManager()->SetEnable(true);
        keepBusy(3, [] { HSL::HSLog(HSL::CCat(3), "line %d\n", 42); });
    }

    bool gLogs = false;

    // Two threads that have said what they do, and a third that goes on with it.
    void logAndKeep(void*)
    {
        FallcatchBreakpadSetLogWriter(HSL::WriteCrashLog);
        HSL::KeepLines();
        HSL::CLogManager::Initialize();
        HSL::LogManager()->SetOutputCallback([](const char*) {});
        HSL::LogManager()->SetFilterValue(3, true);
        HSL::LogManager()->SetFilterValue(4, true);
        HSL::LogManager()->SetEnable(true);
        gLogs = true;
        HSL::HSLog(HSL::CCat(3), "document \"%s\" opened", "flower.sketch");
        std::thread([] {
            HSL::LogManager()->GetTLSContext()->SetName("loader");
            for (int layer = 1; layer <= 3; ++layer) {
                HSL::HSLog(HSL::CCat(3), "layer %d loaded", layer);
            }
            pause();
        }).detach();
        std::thread([] {
            HSL::LogManager()->GetTLSContext()->SetName("autosave");
            HSL::HSLog(HSL::CCat(4), "the disk is slow: %.1f s for a save", 2.5);
            pause();
        }).detach();
        usleep(150000); // a pass has output these
    }

    int writeForEver(int)
    {
        for (;;) {
            pause();
        }
    }

    int writeAndCrash(int)
    {
        std::abort();
    }

    void logForEver(void*)
    {
        FallcatchBreakpadSetLogWriter(writeForEver);
    }

    void logCrashing(void*)
    {
        FallcatchBreakpadSetLogWriter(writeAndCrash);
    }

    void setKeys(void* reporter)
    {
        keepBusy(1, [reporter] {
            static int interval = 0;
            FallcatchSetReportInterval(reporter, -(interval++ % 1000));
        });
    }

    void release(void* reporter)
    {
        FallcatchRelease(reporter);
    }

    // The disk's end, as far as a process of its own can have one: no file may grow beyond this.
    void limitFiles(rlim_t bytes)
    {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = { bytes, bytes };
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    void noSpace(void*)
    {
        limitFiles(4096);
    }

    void noSpaceAtAll(void*)
    {
        limitFiles(0);
    }

    void loseDumps(void*)
    {
        std::error_code error;
        std::filesystem::remove_all("dumps", error);
    }

    void forkFirst(void*)
    {
        const pid_t child = fork();
        if (child == 0) {
            std::abort();
        }
        int status = 0;
        waitpid(child, &status, 0);
    }

    // A group of processes that go down together, as a daemon's do when it aborts its group.
    void crashTogether(void*)
    {
        int start[2];
        if (pipe(start) != 0) {
            _exit(3);
        }
        for (int i = 0; i < 4; ++i) {
            if (fork() == 0) {
                close(start[1]);
                char byte = 0;
                while (read(start[0], &byte, 1) > 0) { }
                std::abort();
            }
        }
        close(start[0]);
        close(start[1]);
        std::abort();
    }

    void useUpDescriptors(void*)
    {
        while (open("/dev/null", O_RDONLY) >= 0) { }
    }

    void closeDescriptors(void*)
    {
        for (int file = 3; file < 2000; ++file) {
            close(file);
        }
    }

    // As a daemon does it, which then goes on with files of its own.
    void replaceDescriptors(void*)
    {
        closeDescriptors(nullptr);
        useUpDescriptors(nullptr);
    }

    void failAnAssertion(void*)
    {
        __assert_fail("apples == pears", "Market.cpp", 42, "weigh");
    }

    void nameThreads(void*)
    {
        std::thread([] {
            prctl(PR_SET_NAME, "sorts-apples");
            for (;;) {
                pause();
            }
        }).detach();
        usleep(100000);
    }

    void tagAndAttach(void*)
    {
        FallcatchBreakpadSetTag("channel", "beta");
        FallcatchBreakpadSetTag("gone", "soon");
        FallcatchBreakpadRemoveTag("gone");
        FallcatchBreakpadAttachFile("notes.txt");
        FallcatchBreakpadAttachFile("/none/of/these");
    }

    void reportNow(void*)
    {
        for (int i = 0; i < 2; ++i) {
            std::printf("reported: %d\n", FallcatchBreakpadReportNow("the soup is cold"));
        }
    }

    void runOn(void*)
    {
        sleep(8);
    }

    void hang(void*)
    {
        FallcatchBreakpadWatch(1);
        FallcatchBreakpadHeartbeat();
        sleep(4);
    }

    void beat(void*)
    {
        FallcatchBreakpadWatch(2);
        for (int i = 0; i < 40; ++i) {
            FallcatchBreakpadHeartbeat();
            usleep(100000);
        }
        FallcatchBreakpadWatch(0);
        sleep(3);
    }

    void refuseUpload(void*)
    {
        FallcatchBreakpadSetUpload(0);
    }

    void allowUpload(void*)
    {
        FallcatchBreakpadSetUpload(1);
    }

    // The system calls are refused as a sandbox does it.
    void refuse(const std::vector<unsigned int>& calls)
    {
        std::vector<sock_filter> program { BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)) };
        for (const unsigned int call : calls) {
            program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
            program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | 1));
        }
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
        const sock_fprog filter = { static_cast<unsigned short>(program.size()), program.data() };
        if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0
            || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) {
            _exit(3);
        }
    }

    void refusePtrace(void*)
    {
        refuse({ SYS_ptrace });
    }

    void refuseClone(void*)
    {
        refuse({ SYS_clone, SYS_fork, SYS_vfork, SYS_clone3 });
    }

    struct Scenario {
        const char* name;
        const char* what;
        void (*run)(void* reporter);
    };

    constexpr Scenario kScenarios[] = {
        { "overflow-main", "overflows the main thread's stack", overflowMain },
        { "overflow-worker", "overflows a worker thread's stack", overflowWorker },
        { "overflow-unprepared", "the same on a thread without a stack for handlers", overflowUnprepared },
        { "exception", "raises an Objective-C exception that nobody catches", exception },
        { "logging", "three threads log as fast as they can", logHeavily },
        { "log", "logs, and has its log go with the report", logAndKeep },
        { "log-for-ever", "has a log whose writing never ends", logForEver },
        { "log-crashing", "has a log whose writing crashes", logCrashing },
        { "set-keys", "a thread sets the report interval all the time", setKeys },
        { "release", "releases the reporter first", release },
        { "small-disk", "no file can grow beyond 4 KB", noSpace },
        { "full-disk", "no byte can be written to a file", noSpaceAtAll },
        { "lose-dumps", "removes the folder \"dumps\" in the working folder", loseDumps },
        { "fork", "a forked child crashes before the host does", forkFirst },
        { "together", "aborts at the same time as four children", crashTogether },
        { "no-descriptors", "uses up all file descriptors", useUpDescriptors },
        { "closed-descriptors", "closes all files that it knows nothing of", closeDescriptors },
        { "other-descriptors", "closes them and opens others instead", replaceDescriptors },
        { "assertion", "fails an assertion", failAnAssertion },
        { "thread-names", "has a thread with a name", nameThreads },
        { "tags", "sets tags and attaches notes.txt from the working folder", tagAndAttach },
        { "report-now", "makes two reports without a crash", reportNow },
        { "run-on", "runs for eight seconds", runOn },
        { "hang", "hangs for four seconds while it is watched", hang },
        { "beat", "is watched and does not hang", beat },
        { "refuse-upload", "the user refuses that reports are sent", refuseUpload },
        { "allow-upload", "the user agrees that reports are sent", allowUpload },
        { "no-ptrace", "a sandbox refuses ptrace", refusePtrace },
        { "no-clone", "a sandbox refuses new processes", refuseClone },
    };

} // namespace

bool IsKnown(const std::string& name)
{
    for (const Scenario& scenario : kScenarios) {
        if (name == scenario.name) {
            return true;
        }
    }
    return false;
}

std::string Help()
{
    std::string text;
    for (const Scenario& scenario : kScenarios) {
        std::string name = scenario.name;
        name.resize(21, ' ');
        text += "      " + name + scenario.what + "\n";
    }
    return text;
}

void Run(const std::string& name, void* reporter)
{
    for (const Scenario& scenario : kScenarios) {
        if (name == scenario.name) {
            scenario.run(reporter);
        }
    }
}

void SayLastWords(const char* words)
{
    if (gLogs) {
        HSL::HSLog(HSL::CCat(3), "%s", words);
    }
}

} // namespace Scenarios
