// Logs of processes that were killed.
#include "hslog/HSLLastingLog.h"

#include "hslog/HSL.h"
#include "hslog/HSLCrashLog.h"
#include "hslog/crash/CrashLedger.h"
#include "hslog/crash/CrashLogText.h"
#include "hslog/crash/DeadLogs.h"
#include "hslog/crash/LastingObject.h"

#include "ManualPass.h"
#include "platform/KxSharedObjects.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using HSL::CCat;
using HSL::CDeadLog;
using HSL::CLogContext;
using HSL::CLogManager;

namespace {

int gBytesLeft = -1; // of the file system that objects lie in, where that is full; else -1

} // namespace

// In the C library's place.
extern "C" int posix_fallocate(int file, off_t from, off_t size)
{
    if (gBytesLeft >= 0 && size > gBytesLeft) {
        return ENOSPC;
    }
    gBytesLeft -= gBytesLeft >= 0 ? static_cast<int>(size) : 0;
    const int flags = 0;
    return fallocate(file, flags, from, size) == 0 ? 0 : errno;
}

namespace {

void logTo(CLogContext& context, int messages, const char* format = "message %d")
{
    for (int i = 0; i < messages; ++i) {
        context.Log(CCat(3), format, i);
    }
}

class LastingLog : public testing::Test {
protected:
    struct Found {
        std::vector<int> processes;
        std::string lines;
        std::string notes;
        bool isDamaged = false;
    };

    LastingLog()
        : mProduct("a product/of \xC3\xA4 test " + std::to_string(getpid()))
    {
    }
    ~LastingLog() override
    {
        Take();
        std::vector<std::string> names;
        HSL::CrashLog::listLastingObjects(mProduct.c_str(), names);
        for (const std::string& name : names) {
            KXPL::KxRemoveSharedObject(name.c_str());
        }
    }

    // Has a process of its own run the body with a manager whose log lasts, and end without a word.
    int InAProcess(const std::function<void(CLogManager&)>& body)
    {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            if (HSL::MakeLogLast(mProduct.c_str(), HSL::kLeastLastingBytes) != 0) {
                _exit(100);
            }
            {
                ManualPass pass;
                body(pass.Manager());
                kill(getpid(), SIGKILL);
            }
            _exit(101);
        }
        return EndOf(child);
    }

    static int EndOf(pid_t child)
    {
        int status = 0;
        waitpid(child, &status, 0);
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }

    Found Take(bool isRemoved = true)
    {
        mIsRemoved = isRemoved;
        mFound = {};
        mTaken = HSL::TakeLogsOfDead(
            mProduct.c_str(),
            [](const CDeadLog& log, void* self) {
                LastingLog& test = *static_cast<LastingLog*>(self);
                test.mFound.processes.push_back(log.mProcess);
                test.mFound.lines += log.mLines;
                test.mFound.notes += log.mNotes;
                test.mFound.isDamaged = test.mFound.isDamaged || log.mIsDamaged;
                return test.mIsRemoved;
            },
            this);
        return mFound;
    }

    std::vector<std::string> Messages() const
    {
        std::vector<std::string> messages;
        for (std::size_t at = 0; at < mFound.lines.size();) {
            const std::size_t end = mFound.lines.find('\n', at) + 1;
            messages.push_back(messageOf(mFound.lines.substr(at, end - at)));
            at = end;
        }
        return messages;
    }

    std::size_t Objects() const
    {
        std::vector<std::string> names;
        EXPECT_TRUE(HSL::CrashLog::listLastingObjects(mProduct.c_str(), names));
        return names.size();
    }

    std::string mProduct;
    Found mFound;
    int mTaken = 0;
    bool mIsRemoved = true;
};

constexpr int kKilled = -SIGKILL;

} // namespace

TEST_F(LastingLog, OfAKilledProcessArrivesOnce)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  const short id = static_cast<short>(manager.AddFormatString("registered %d"));
                  CLogContext& context = *manager.GetTLSContext();
                  context.SetName("a thread");
                  context.mDepth = 1;
                  context.Log(CCat(3), "inline %s", "text");
                  context.Log(CCat(3), id, 7);
              }),
              kKilled);
    Take();
    EXPECT_EQ(Messages(), (std::vector<std::string> { "|  inline text", "|  registered 7" }));
    EXPECT_NE(mFound.lines.find("[a thread          ]\t"), std::string::npos) << mFound.lines;
    EXPECT_EQ(mFound.notes, "-- 2 pending; 0 more that the filter hides\n");
    EXPECT_FALSE(mFound.isDamaged);
    EXPECT_EQ(mTaken, 1);
    EXPECT_TRUE(Take().processes.empty());
    EXPECT_EQ(Objects(), 0u);
}

// The pass has taken the numbers of the other contexts' next records off their rings.
TEST_F(LastingLog, OfAProcessThatIsKilledInACallbackHoldsWhatThePassHasNotOutput)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  CLogContext one("one", 20000, HSL::LastingMalloc, HSL::LastingFree);
                  CLogContext two("two", 20000, HSL::LastingMalloc, HSL::LastingFree);
                  CLogContext three("three", 20000, HSL::LastingMalloc, HSL::LastingFree);
                  for (int i = 0; i < 4; ++i) {
                      one.Log(CCat(3), "%d of one", i);
                      two.Log(CCat(3), "%d of two", i);
                      three.Log(CCat(3), "%d of three", i);
                  }
                  static int sCalls;
                  sCalls = 0;
                  manager.SetOutputCallback([](const char*) {
                      if (++sCalls == 5) {
                          kill(getpid(), SIGKILL);
                      }
                  });
                  manager.Collect();
              }),
              kKilled);
    Take();
    EXPECT_EQ(Messages(),
              (std::vector<std::string> { "1 of three", "2 of one", "2 of two", "2 of three", "3 of one",
                                          "3 of two", "3 of three" }));
    EXPECT_FALSE(mFound.isDamaged) << mFound.notes;
}

TEST_F(LastingLog, HoldsTheLinesThatThePlainCallbackWouldHaveGot)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(InAProcess([&](CLogManager& manager) {
                  HSL::KeepLines();
                  static int sEnd;
                  sEnd = ends[1];
                  manager.SetOutputCallback(
                      [](const char* line) { static_cast<void>(!write(sEnd, line, std::strlen(line))); });
                  CLogContext& context = *manager.GetTLSContext();
                  logTo(context, 3);
                  manager.Collect();
                  logTo(context, 2);
                  const pid_t child = fork(); // outputs what is pending too, from a copy of the records
                  if (child == 0) {
                      _exit(0);
                  }
                  EndOf(child);
              }),
              kKilled);
    close(ends[1]);
    char output[4096] = {};
    const ssize_t size = read(ends[0], output, sizeof output);
    close(ends[0]);
    Take();
    EXPECT_EQ(mFound.lines.substr(0, static_cast<std::size_t>(size)), output);
    EXPECT_EQ(Messages(),
              (std::vector<std::string> { "message 0", "message 1", "message 2", "message 0", "message 1" }));
    EXPECT_EQ(mFound.notes, "-- 3 output and 2 pending; 0 more that the filter hides\n");
}

TEST_F(LastingLog, DeltaIsThatToTheRecordOutputLast)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  CLogContext& context = *manager.GetTLSContext();
                  HandMadeRecord().Header(1, 1000, 250000).Inline("output").Count(0).PublishIn(context);
                  manager.Collect();
                  HandMadeRecord().Header(2, 1002, 750000).Inline("pending").Count(0).PublishIn(context);
              }),
              kKilled);
    EXPECT_NE(Take().lines.find("(02.500000)"), std::string::npos) << mFound.lines;
}

TEST_F(LastingLog, KnowsWhatTheFilterHides)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  manager.SetFilterValue(5, true);
                  manager.GetTLSContext()->Log(CCat(5), "hidden");
                  manager.GetTLSContext()->Log(CCat(3), "shown");
                  manager.SetFilterValue(5, false);
              }),
              kKilled);
    Take();
    EXPECT_EQ(Messages(), std::vector<std::string> { "shown" });
    EXPECT_EQ(mFound.notes, "-- 1 pending; 1 more that the filter hides\n");
}

TEST_F(LastingLog, IsInOrderWhereNumbersTurnNegative)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  manager.mSequence = 2147483645;
                  manager.Collect();
                  logTo(*manager.GetTLSContext(), 4);
              }),
              kKilled);
    Take();
    EXPECT_EQ(Messages(), (std::vector<std::string> { "message 0", "message 1", "message 2", "message 3" }));
}

TEST_F(LastingLog, HoldsTheContextsThatTheHostMadeWithItsFunctions)
{
    ASSERT_EQ(InAProcess([](CLogManager&) {
                  static CLogContext sContext("own", 20000, HSL::LastingMalloc, HSL::LastingFree);
                  static CLogContext sPrivate("private", 20000, CLogContext::MallocFunc, CLogContext::FreeFunc);
                  logTo(sContext, 2);
                  logTo(sPrivate, 2);
              }),
              kKilled);
    Take();
    EXPECT_EQ(Messages(), (std::vector<std::string> { "message 0", "message 1" }));
    EXPECT_NE(mFound.notes.find("thread \"private\": its ring could not be read"), std::string::npos)
        << mFound.notes;
}

TEST_F(LastingLog, StaysUntilItIsTaken)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 1); }), kKilled);
    Take(false);
    EXPECT_EQ(mTaken, 0);
    const std::string lines = mFound.lines;
    EXPECT_NE(lines, "");
    EXPECT_EQ(Take().lines, lines);
}

TEST_F(LastingLog, OfSeveralProcessesComesInTheirOrder)
{
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(
            InAProcess([i](CLogManager& manager) { manager.GetTLSContext()->Log(CCat(3), "process %d", i); }),
            kKilled);
    }
    Take();
    EXPECT_EQ(mTaken, 3);
    std::vector<std::string> messages = Messages();
    std::sort(messages.begin(), messages.end()); // within a second that of their numbers, which may begin anew
    EXPECT_EQ(messages, (std::vector<std::string> { "process 0", "process 1", "process 2" }));
}

TEST_F(LastingLog, OfAnotherProductIsLeftAlone)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 1); }), kKilled);
    const std::string product = mProduct;
    for (char& c : mProduct) {
        c = c == ' ' ? '/' : c; // which looks the same in a name
    }
    EXPECT_TRUE(Take().processes.empty());
    mProduct = product;
    EXPECT_EQ(Take().processes.size(), 1u);
}

TEST_F(LastingLog, IsRemovedByCleanup)
{
    const pid_t child = fork();
    if (child == 0) {
        if (HSL::MakeLogLast(mProduct.c_str()) != 0 || Objects() != 1) {
            _exit(1);
        }
        for (int round = 0; round < 3; ++round) {
            CLogManager::Initialize();
            HSL::LogManager()->SetOutputCallback([](const char*) {});
            if (Objects() != 1) {
                _exit(2);
            }
            // A context of the host's may outlive the manager, and its ring with it.
            auto context = std::make_unique<CLogContext>("own", 20000, HSL::LastingMalloc, HSL::LastingFree);
            HSL::LogManager()->SetFilterValue(3, true);
            context->Log(CCat(3), "message");
            CLogManager::Cleanup();
            if (Objects() != 0 || context->mBuffer->mControl->num_elem != 20000) {
                _exit(3);
            }
        }
        _exit(0);
    }
    EXPECT_EQ(EndOf(child), 0);
}

TEST_F(LastingLog, IsLeftByAnEndWithoutCleanup)
{
    const pid_t child = fork();
    if (child == 0) {
        HSL::MakeLogLast(mProduct.c_str());
        CLogManager::Initialize();
        HSL::LogManager()->SetFilterValue(3, true);
        const KxLockGuard noPass(HSL::LogManager()->mLock);
        logTo(*HSL::LogManager()->GetTLSContext(), 1);
        _exit(0);
    }
    EXPECT_EQ(EndOf(child), 0);
    Take();
    EXPECT_EQ(Messages(), std::vector<std::string> { "message 0" });
}

TEST_F(LastingLog, OfALivingProcessIsLeftAlone)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        HSL::MakeLogLast(mProduct.c_str());
        ManualPass pass;
        logTo(*pass.Manager().GetTLSContext(), 1);
        static_cast<void>(!write(ends[1], "x", 1));
        pause();
    }
    char ready = 0;
    ASSERT_EQ(read(ends[0], &ready, 1), 1);
    EXPECT_TRUE(Take().processes.empty());
    EXPECT_EQ(Objects(), 1u);
    kill(child, SIGKILL);
    EndOf(child);
    EXPECT_EQ(Take().processes, std::vector<int> { child });
    close(ends[0]);
    close(ends[1]);
}

TEST_F(LastingLog, OfADeadProcessIsFoundThoughItsForkedChildLives)
{
    int ready[2];
    int end[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(end), 0);
    char byte = 0;
    ASSERT_EQ(InAProcess([&](CLogManager& manager) {
                  close(end[1]);
                  logTo(*manager.GetTLSContext(), 1);
                  if (fork() == 0) {
                      static_cast<void>(!write(ready[1], "x", 1));
                      static_cast<void>(!read(end[0], &byte, 1)); // until the test closes it
                      _exit(0);
                  }
                  static_cast<void>(!read(ready[0], &byte, 1));
              }),
              kKilled);
    Take();
    EXPECT_EQ(Messages(), std::vector<std::string> { "message 0" });
    for (const int file : { ready[0], ready[1], end[0], end[1] }) {
        close(file);
    }
}

TEST_F(LastingLog, IsNoneOfAForkedChilds)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  auto* context = new CLogContext("own", 20000, HSL::LastingMalloc, HSL::LastingFree);
                  logTo(*context, 2);
                  logTo(*manager.GetTLSContext(), 2);
                  const pid_t child = fork();
                  if (child == 0) {
                      delete context;
                      logTo(*manager.GetTLSContext(), 5, "from the child %d");
                      manager.AddFormatString("a format of the child's");
                      manager.GetTLSContext()->SetName("renamed by the child");
                      _exit(0);
                  }
                  if (EndOf(child) != 0) {
                      _exit(1);
                  }
              }),
              kKilled);
    Take();
    EXPECT_EQ(Messages(), (std::vector<std::string> { "message 0", "message 1", "message 0", "message 1" }));
    EXPECT_FALSE(mFound.isDamaged) << mFound.notes;
}

TEST_F(LastingLog, IsOneOfItsOwnForAForkedChildsManager)
{
    const pid_t child = fork();
    if (child == 0) {
        HSL::MakeLogLast(mProduct.c_str());
        CLogManager::Initialize();
        HSL::LogManager()->SetFilterValue(3, true);
        HSL::LogManager()->mLock.Lock();
        logTo(*HSL::LogManager()->GetTLSContext(), 1, "parent %d");
        const pid_t grandchild = fork();
        if (grandchild == 0) {
            CLogManager::Cleanup();
            CLogManager::Initialize();
            HSL::LogManager()->SetFilterValue(3, true);
            HSL::LogManager()->mLock.Lock();
            logTo(*HSL::LogManager()->GetTLSContext(), 1, "child %d");
            kill(getpid(), SIGKILL);
        }
        EndOf(grandchild);
        kill(getpid(), SIGKILL);
    }
    EXPECT_EQ(EndOf(child), kKilled);
    Take();
    std::vector<std::string> messages = Messages();
    std::sort(messages.begin(), messages.end());
    EXPECT_EQ(messages, (std::vector<std::string> { "child 0", "parent 0" }));
}

TEST_F(LastingLog, ArgumentsThatMakeNoSenseAreRefused)
{
    const pid_t child = fork();
    if (child == 0) {
        const bool isRight = HSL::MakeLogLast(nullptr) == EINVAL && HSL::MakeLogLast("") == EINVAL
            && HSL::MakeLogLast(mProduct.c_str(), HSL::kLeastLastingBytes - 1) == EINVAL
            && HSL::MakeLogLast(mProduct.c_str(), HSL::kMostLastingBytes + 1) == EINVAL && Objects() == 0;
        ManualPass pass;
        const bool isLate = HSL::MakeLogLast(mProduct.c_str()) == EBUSY;
        _exit(isRight && isLate ? 0 : 1);
    }
    EXPECT_EQ(EndOf(child), 0);
}

TEST_F(LastingLog, WithoutMemoryItIsRefusedAndLoggingGoesOn)
{
    for (const int bytes : { 0, 4096, 65536 }) {
        const pid_t child = fork();
        if (child == 0) {
            gBytesLeft = bytes;
            const bool isRefused = HSL::MakeLogLast(mProduct.c_str()) == ENOSPC && Objects() == 0;
            ManualPass pass;
            logTo(*pass.Manager().GetTLSContext(), 1);
            pass.Manager().Collect();
            _exit(isRefused && pass.lines.size() == 1 ? 0 : 1);
        }
        EXPECT_EQ(EndOf(child), 0) << bytes;
    }
}

TEST_F(LastingLog, BeyondTheLimitOfFilesItIsRefusedWithoutASignal)
{
    const pid_t child = fork();
    if (child == 0) {
        const rlimit limit = { 1 << 20, 1 << 20 };
        setrlimit(RLIMIT_FSIZE, &limit);
        _exit(HSL::MakeLogLast(mProduct.c_str()) == EFBIG && Objects() == 0 ? 0 : 1);
    }
    EXPECT_EQ(EndOf(child), 0);
}

TEST_F(LastingLog, RingsThatFindNoMemoryAnyMoreDoNotLast)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  logTo(*manager.GetTLSContext(), 2);
                  gBytesLeft = 0;
                  std::thread([&manager] {
                      manager.GetTLSContext()->SetName("late");
                      logTo(*manager.GetTLSContext(), 2);
                  }).join();
                  manager.AddFormatString(std::string(60000, 'f').c_str());
                  manager.AddFormatString(std::string(60000, 'f').c_str());
                  manager.Collect();
                  gBytesLeft = -1;
                  logTo(*manager.GetTLSContext(), 1, "last %d");
              }),
              kKilled);
    Take();
    EXPECT_EQ(Messages(), std::vector<std::string> { "last 0" });
    EXPECT_NE(mFound.notes.find("\"late\": its ring could not be read"), std::string::npos) << mFound.notes;
}

TEST_F(LastingLog, RingsBeyondItsSizeComeFromTheHeap)
{
    ASSERT_EQ(InAProcess([](CLogManager&) {
                  std::vector<std::unique_ptr<CLogContext>> contexts;
                  for (int i = 0; i < 100; ++i) {
                      contexts.push_back(
                          std::make_unique<CLogContext>("many", 0, HSL::LastingMalloc, HSL::LastingFree));
                      logTo(*contexts.back(), 1);
                  }
                  // Blocks are used again.
                  for (int i = 0; i < 1000; ++i) {
                      contexts.erase(contexts.begin());
                      contexts.push_back(
                          std::make_unique<CLogContext>("again", 0, HSL::LastingMalloc, HSL::LastingFree));
                      logTo(*contexts.back(), 1);
                  }
                  contexts.resize(90);
                  kill(getpid(), SIGKILL);
              }),
              kKilled);
    Take();
    EXPECT_GE(Messages().size(), 10u);
    EXPECT_LT(Messages().size(), 20u);
}

TEST_F(LastingLog, ObjectsThatOthersCanWriteToAreLeftAlone)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 1); }), kKilled);
    std::vector<std::string> names;
    ASSERT_TRUE(HSL::CrashLog::listLastingObjects(mProduct.c_str(), names));
    ASSERT_EQ(names.size(), 1u);
    const int entry = KXPL::KxOpenSharedEntry(names[0].c_str(), false);
    struct stat status = {};
    ASSERT_EQ(fstat(entry, &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    for (const mode_t mode : { 0606u, 0660u, 0640u }) {
        ASSERT_EQ(fchmod(entry, mode), 0);
        EXPECT_TRUE(Take().processes.empty());
    }
    ASSERT_EQ(fchmod(entry, 0600), 0);
    if (geteuid() == 0) {
        ASSERT_EQ(fchown(entry, 12345, 0), 0);
        EXPECT_TRUE(Take().processes.empty());
        ASSERT_EQ(fchown(entry, 0, 0), 0);
    }
    close(entry);
    EXPECT_EQ(Take().processes.size(), 1u);
}

TEST_F(LastingLog, LinksAreNotFollowed)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 1); }), kKilled);
    std::vector<std::string> names;
    ASSERT_TRUE(HSL::CrashLog::listLastingObjects(mProduct.c_str(), names));
    const std::string there = "/dev/shm/" + names.at(0);
    const std::string link = there + "9";
    ASSERT_EQ(symlink(there.c_str(), link.c_str()), 0);
    EXPECT_EQ(Take().processes.size(), 1u);
    EXPECT_EQ(access(there.c_str(), F_OK), -1);
    struct stat status = {};
    EXPECT_EQ(lstat(link.c_str(), &status), 0);
    unlink(link.c_str());
}

// A process may have got the number of one that died; and one that has just begun may not have come to its lock.
TEST_F(LastingLog, NumbersOfLivingProcessesAreNotBelievedButForObjectsInTheMaking)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 1); }), kKilled);
    std::vector<std::string> names;
    ASSERT_TRUE(HSL::CrashLog::listLastingObjects(mProduct.c_str(), names));
    const std::string folder = "/dev/shm/";
    const std::string stem = names.at(0).substr(0, names[0].rfind('.', names[0].rfind('.') - 1));
    const std::string mine = stem + "." + std::to_string(getpid()) + ".0";
    ASSERT_EQ(rename((folder + names[0]).c_str(), (folder + mine).c_str()), 0);
    const std::string begun = stem + "." + std::to_string(getpid()) + ".1";
    close(KXPL::KxOpenSharedEntry(begun.c_str(), true));
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    EndOf(child);
    const std::string given = stem + "." + std::to_string(child) + ".2";
    close(KXPL::KxOpenSharedEntry(given.c_str(), true));
    Take();
    EXPECT_EQ(Messages(), std::vector<std::string> { "message 0" });
    EXPECT_EQ(mTaken, 2);
    EXPECT_EQ(access((folder + begun).c_str(), F_OK), 0);
    EXPECT_EQ(access((folder + given).c_str(), F_OK), -1);
}

TEST_F(LastingLog, WhatIsMuchTooLargeIsNotRead)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 1); }), kKilled);
    std::vector<std::string> names;
    ASSERT_TRUE(HSL::CrashLog::listLastingObjects(mProduct.c_str(), names));
    ASSERT_EQ(truncate(("/dev/shm/" + names.at(0)).c_str(), (1ll << 30) + 4096), 0);
    Take();
    EXPECT_EQ(mFound.lines, "");
    EXPECT_EQ(mFound.notes, "-- it cannot be read\n");
    EXPECT_TRUE(mFound.isDamaged);
}

namespace {

std::string imageOf(const std::string& product)
{
    std::vector<std::string> names;
    std::string image;
    HSL::CrashLog::listLastingObjects(product.c_str(), names);
    HSL::CrashLog::DeadObject(names.at(0)).Read(image);
    return image;
}

} // namespace

// Whatever lies in an object: nothing is read outside of it, and it comes to an end.
TEST_F(LastingLog, NothingInAnObjectIsTrusted)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  HSL::KeepLines();
                  for (int i = 0; i < 20; ++i) {
                      manager.AddFormatString(("format %d number " + std::to_string(i)).c_str());
                  }
                  logTo(*manager.GetTLSContext(), 50);
                  manager.Collect();
                  logTo(*manager.GetTLSContext(), 50);
                  static CLogContext sOther("other", 20000, HSL::LastingMalloc, HSL::LastingFree);
                  logTo(sOther, 50);
              }),
              kKilled);
    const std::string whole = imageOf(mProduct);
    HSL::CrashLog::DeadLog log;
    ASSERT_TRUE(HSL::CrashLog::crashLogOf(whole, log));
    ASSERT_EQ(HSL::CrashLog::textOf(log.mFile, {}).mNotes,
              "-- 50 output and 100 pending; 0 more that the filter hides\n");
    // Where anything lies at all.
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        if (whole[i] != 0) {
            places.push_back(i);
        }
    }
    std::uint64_t base = 0;
    std::memcpy(&base, whole.data() + offsetof(HSL::CrashLog::LastingHeader, mBase), sizeof base);
    std::mt19937 random(3);
    std::string image = whole;
    std::size_t text = 0;
    for (int round = 0; round < 300; ++round) {
        image = whole;
        for (std::size_t changes = random() % 20 + 1; changes > 0; --changes) {
            const std::size_t at = places[random() % places.size()] / 8 * 8;
            const std::uint64_t values[] = { random(), base + random() % image.size(), ~0ull,
                                             base,     base + image.size() - 1,        0x7FFFFFFF };
            const std::uint64_t value = values[random() % 6];
            std::memcpy(&image[at], &value, random() % 2 == 0 ? 8 : 4);
        }
        image.resize(random() % 4 == 0 ? random() % image.size() : image.size());
        HSL::CrashLog::DeadLog other;
        HSL::CrashLog::crashLogOf(image, other);
        ASSERT_LE(other.mFile.size(), 2 * whole.size() + (17u << 20));
        text += HSL::CrashLog::textOf(other.mFile, {}).mLines.size();
    }
    EXPECT_GT(text, 0u);
}

TEST_F(LastingLog, FormatsInACircleComeToAnEnd)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  manager.AddFormatString(std::string(60000, 'f').c_str());
                  auto* first = reinterpret_cast<HSL::CrashLog::LedgerText*>(manager.mLedger->mFirstFormat);
                  first->mNext = manager.mLedger->mFirstFormat;
              }),
              kKilled);
    Take();
    EXPECT_TRUE(mFound.isDamaged);
    EXPECT_NE(mFound.notes.find("the file was cut short"), std::string::npos) << mFound.notes;
}

TEST_F(LastingLog, OfAnotherVersionIsToldAndRemoved)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  unsigned char* ledger = reinterpret_cast<unsigned char*>(manager.mLedger);
                  reinterpret_cast<HSL::CrashLog::LastingHeader*>(ledger - HSL::CrashLog::kLastingHeaderBytes)
                      ->mLayout = 77;
              }),
              kKilled);
    Take();
    EXPECT_EQ(mFound.notes, "-- it comes from another version or from a build for another processor\n");
    EXPECT_EQ(Objects(), 0u);
}
