// What the background thread has to do with the host's signals, and with a standard error that fails.
#include "hslog/HSL.h"

#include "FunctionThread.h"
#include "Interpose.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

using HSL::CCat;
using HSL::CLogManager;

namespace {

constexpr unsigned int kSecondsUntilAHostCountsAsHung = 60;

sigset_t maskOfThisThread()
{
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return mask;
}

bool areEqual(const sigset_t& one, const sigset_t& other)
{
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        if (sigismember(&one, signal) != sigismember(&other, signal)) {
            return false;
        }
    }
    return true;
}

void block(int signal)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void start()
{
    alarm(kSecondsUntilAHostCountsAsHung);
    CLogManager::Initialize();
    HSL::LogManager()->SetEnable(true);
    HSL::LogManager()->SetFilterValue(3, true);
}

// Runs the collection thread with nothing to do and returns the mask that its first function found.
sigset_t maskOfTheCollectionThread()
{
    static sigset_t seen;
    KxThread::mAtStartFunctions.push_back([] { seen = maskOfThisThread(); });
    CLogManager::Initialize();
    CLogManager::Cleanup();
    KxThread::mAtStartFunctions.clear();
    return seen;
}

// Of the calls that this one process sees, those that were made through its standard error.
class StandardErrorFile {
public:
    StandardErrorFile()
    {
        mDescriptor = mkstemp(mPath);
        dup2(mDescriptor, STDERR_FILENO);
    }
    ~StandardErrorFile()
    {
        close(mDescriptor);
        unlink(mPath);
    }

    StandardErrorFile(const StandardErrorFile&) = delete;
    StandardErrorFile& operator=(const StandardErrorFile&) = delete;

    std::string Text() const
    {
        std::string text(static_cast<std::size_t>(lseek(mDescriptor, 0, SEEK_END)), '\0');
        return pread(mDescriptor, text.data(), text.size(), 0) >= 0 ? text : "";
    }

private:
    char mPath[32] = "/tmp/hsl_standard_error_XXXXXX";
    int mDescriptor;
};

void waitForThePass()
{
    while (KxLoadAcquire(HSL::LogManager()->GetTLSContext()->mRecordCount) > 0) {
        std::this_thread::yield();
    }
}

} // namespace

TEST(CollectionThreadSignals, AllThatMayComeFromOutsideAreBlockedFromTheThreadsFirstStep)
{
    const sigset_t mask = maskOfTheCollectionThread();
    for (const int signal :
         { SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGALRM, SIGVTALRM, SIGPROF, SIGUSR1, SIGUSR2, SIGCHLD, SIGPIPE,
           SIGIO, SIGTSTP, SIGWINCH, SIGXCPU, SIGURG, SIGRTMIN, SIGRTMAX }) {
        EXPECT_EQ(sigismember(&mask, signal), 1) << strsignal(signal);
    }
}

// One that is blocked when it happens ends the process past every handler, the crash reporter's too.
TEST(CollectionThreadSignals, FaultsReachTheirHandlers)
{
    const sigset_t mask = maskOfTheCollectionThread();
    for (const int signal : { SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT }) {
        EXPECT_EQ(sigismember(&mask, signal), 0) << strsignal(signal);
    }
}

TEST(CollectionThreadSignals, ThoseThatTheHostBlocksStayBlocked)
{
    block(SIGSEGV);
    const sigset_t mask = maskOfTheCollectionThread();
    EXPECT_EQ(sigismember(&mask, SIGSEGV), 1);
}

TEST(CollectionThreadSignals, InitializeLeavesTheCallersMaskAsItWas)
{
    block(SIGUSR2);
    const sigset_t before = maskOfThisThread();
    CLogManager::Initialize();
    EXPECT_TRUE(areEqual(maskOfThisThread(), before));
    CLogManager::Cleanup();
}

TEST(CollectionThreadSignals, InitializeLeavesTheCallersMaskAsItWasWhereNoThreadCanBeHad)
{
    const sigset_t before = maskOfThisThread();
    {
        Interposed hooks;
        hooks.pthreadCreate = [](pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) { return EAGAIN; };
        CLogManager::Initialize();
    }
    EXPECT_TRUE(areEqual(maskOfThisThread(), before));
    CLogManager::Cleanup();
}

TEST(CollectionThreadSignals, HostsOwnThreadsKeepTheirCreatorsMask)
{
    block(SIGUSR2);
    const sigset_t before = maskOfThisThread();
    sigset_t seen;
    FunctionThread([&seen] { seen = maskOfThisThread(); }).runToEnd();
    EXPECT_TRUE(areEqual(seen, before));
}

TEST(CollectionThreadSignals, HostThatTakesItsSignalsWithSigwaitGetsThem)
{
    EXPECT_EXIT(
        {
            start();
            block(SIGTERM);
            kill(getpid(), SIGTERM);
            usleep(200000);
            sigset_t set;
            sigemptyset(&set);
            sigaddset(&set, SIGTERM);
            int signal = 0;
            sigwait(&set, &signal);
            _exit(signal == SIGTERM ? 3 : 4);
        },
        testing::ExitedWithCode(3), "");
}

// A handler without SA_RESTART cuts a write that waits for a slow reader.
TEST(CollectionThreadSignals, LinesToASlowReaderStayWholeWhileSignalsArrive)
{
    constexpr int kLines = 3000;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        sigaction(SIGUSR1, &action, nullptr);
        start();
        block(SIGUSR1);
        std::atomic<bool> done { false };
        std::thread sender([&done] {
            while (!done) {
                kill(getpid(), SIGUSR1);
                usleep(50);
            }
        });
        for (int i = 0; i < kLines; ++i) {
            HSL::HSLog(CCat(3), "line of a host that gets signals all the time", i);
        }
        CLogManager::Cleanup();
        done = true;
        sender.join();
        _exit(0);
    }
    close(ends[1]);
    std::string text;
    char bytes[512];
    for (ssize_t got = 0; (got = read(ends[0], bytes, sizeof bytes)) > 0;) {
        text.append(bytes, static_cast<std::size_t>(got));
        usleep(100);
    }
    close(ends[0]);
    int status = -1;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    std::size_t from = 0;
    for (int i = 0; i < kLines; ++i) {
        const std::size_t end = text.find('\n', from);
        ASSERT_NE(end, std::string::npos) << i;
        const std::string line = text.substr(from, end - from);
        ASSERT_EQ(line.substr(line.find('\t') + 1),
                  "line of a host that gets signals all the time (" + std::to_string(i) + ") ");
        from = end + 1;
    }
    EXPECT_EQ(from, text.size());
}

TEST(CollectionThreadStandardError, ReaderThatIsGoneCostsTheLineAndNotTheHost)
{
    EXPECT_EXIT(
        {
            int ends[2];
            if (pipe(ends) != 0) {
                _exit(9);
            }
            dup2(ends[1], STDERR_FILENO);
            close(ends[0]);
            close(ends[1]);
            start();
            HSL::HSLog(CCat(3), "nobody reads this");
            HSL::HSLog(CCat(3), "nor this");
            waitForThePass();
            usleep(200000);
            const StandardErrorFile file;
            HSL::HSLog(CCat(3), "seen");
            CLogManager::Cleanup();
            const std::string text = file.Text();
            const std::size_t told = text.find("*** HSLOG LOST 2 LINE(S) THAT STANDARD ERROR REFUSED ***\n");
            const std::size_t line = text.find("\tseen\n");
            _exit(told != std::string::npos && line != std::string::npos && told < line ? 5 : 6);
        },
        testing::ExitedWithCode(5), "");
}

TEST(CollectionThreadStandardError, LossIsToldOnceAndNothingIsToldWithoutOne)
{
    EXPECT_EXIT(
        {
            const int full = open("/dev/full", O_WRONLY);
            const StandardErrorFile file;
            const int works = dup(STDERR_FILENO);
            start();
            for (int round = 0; round < 2; ++round) {
                HSL::HSLog(CCat(3), "before");
                waitForThePass();
                usleep(50000);
                dup2(full, STDERR_FILENO);
                HSL::HSLog(CCat(3), "lost");
                waitForThePass();
                usleep(50000);
                dup2(works, STDERR_FILENO);
                HSL::HSLog(CCat(3), "after");
                HSL::HSLog(CCat(3), "and after");
                waitForThePass();
            }
            CLogManager::Cleanup();
            const std::string text = file.Text();
            int told = 0;
            for (std::size_t at = 0; (at = text.find("LOST 1 LINE(S)", at)) != std::string::npos; ++at) {
                ++told;
            }
            _exit(told);
        },
        testing::ExitedWithCode(2), "");
}
