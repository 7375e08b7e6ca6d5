// Logs of processes that were killed.
#include "LastingLogFixture.h"

#include "hslog/HSLCrashLog.h"
#include "ThreadSanitizer.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CLogManager;

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
    if (kUnderThreadSanitizer) {
        GTEST_SKIP() << "ThreadSanitizer starts no threads behind a fork";
    }
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

// The tool prints them, tells of the rest on standard error, and removes what it printed.
TEST_F(LastingLog, IsPrintedAndRemovedByTheTool)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 2); }), kKilled);
    const std::string command = std::string(FALLCATCH_LOG) + " --product '" + mProduct + "' 2>&1";
    const auto output = [](const std::string& line) {
        std::string text;
        std::FILE* pipe = popen(line.c_str(), "r");
        for (int c = 0; (c = std::fgetc(pipe)) != EOF;) {
            text += static_cast<char>(c);
        }
        return text + "status " + std::to_string(WEXITSTATUS(pclose(pipe)));
    };
    const std::string full = output(command + " > /dev/full");
    EXPECT_EQ(full.substr(full.size() - 8), "status 1");
    const std::string shown = output(command);
    EXPECT_NE(shown.find("]\tmessage 0\n"), std::string::npos) << shown;
    EXPECT_NE(shown.find("-- 2 pending; 0 more that the filter hides\nstatus 0"), std::string::npos) << shown;
    EXPECT_EQ(output(command), "fallcatch_log: no dead process of \"" + mProduct + "\" left a log\nstatus 2");
}
