// The background thread: when it makes passes, and for which manager.
#include "hslog/HSL.h"

#include "Interpose.h"
#include "ManualPass.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace {

HandMadeRecord numbered(int sequence)
{
    return HandMadeRecord().Header(sequence).Inline("n=%d").Count(1).Int32(sequence);
}

// Runs the thread's body on the test's own thread; `betweenPasses` takes the place of each sleep and gets its
// number, from 1. It must set the manager's shutdown flag some time.
std::vector<useconds_t> runWith(const std::function<void(std::size_t)>& betweenPasses)
{
    std::vector<useconds_t> sleeps;
    Interposed hooks;
    hooks.usleepHook = [&sleeps, &betweenPasses](useconds_t microseconds) {
        sleeps.push_back(microseconds);
        if (sleeps.size() > 50) {
            HSL::CLogManager::Instance()->mShutdown = true;
        }
        betweenPasses(sleeps.size());
        return 0;
    };
    HSL::CCollectionThread thread;
    thread.Run();
    return sleeps;
}

// What the real collection thread did; its sleeps wait until the test lets them pass.
class Watched {
public:
    Watched()
    {
        sCurrent = this;
        mHooks.usleepHook = [this](useconds_t) {
            std::unique_lock<std::mutex> lock(mMutex);
            ++mSleeps;
            mChanged.notify_all();
            mChanged.wait(lock, [this] { return mOpen || mAllowed > 0; });
            --mAllowed;
            return 0;
        };
        mHooks.pthreadJoin = [this](pthread_t thread, void** result) {
            // By now the manager has been told to shut down.
            OpenSleeps();
            return __real_pthread_join(thread, result);
        };
    }

    ~Watched()
    {
        HSL::CLogManager::Cleanup();
        sCurrent = nullptr;
    }

    void Initialize()
    {
        HSL::CLogManager::Initialize();
        HSL::LogManager()->SetOutputCallback(TakeLine);
        HSL::LogManager()->SetEnable(true);
        HSL::LogManager()->SetFilterValue(3, true);
    }

    void WaitForSleep(int number)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait(lock, [this, number] { return mSleeps >= number; });
    }

    void LetOneSleepPass()
    {
        std::lock_guard<std::mutex> lock(mMutex);
        ++mAllowed;
        mChanged.notify_all();
    }

    void OpenSleeps()
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mOpen = true;
        mChanged.notify_all();
    }

    int Sleeps()
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mSleeps;
    }

    // To be read while no pass runs.
    std::vector<std::string> lines;
    pthread_t callbackThread = pthread_t();
    char callbackThreadName[16] = "";

private:
    static void TakeLine(const char* line)
    {
        sCurrent->lines.push_back(line);
        sCurrent->callbackThread = pthread_self();
        pthread_getname_np(pthread_self(), sCurrent->callbackThreadName, 16);
    }

    static inline Watched* sCurrent = nullptr;

    Interposed mHooks;
    std::mutex mMutex;
    std::condition_variable mChanged;
    int mSleeps = 0;
    int mAllowed = 0;
    bool mOpen = false;
};

} // namespace

TEST(CollectionThread, IsNamedAndOtherwiseLikeAnyThread)
{
    HSL::CCollectionThread thread;
    EXPECT_EQ(thread.mName, "HSL::Collection");
    EXPECT_EQ(thread.mPriority, 1005);
    EXPECT_EQ(thread.GetId(), pthread_t());
    EXPECT_EQ(sizeof thread, sizeof(KxThread));
}

TEST(CollectionThread, MakesAPassBeforeItsFirstSleep)
{
    ManualPass pass;
    numbered(1).PublishIn(pass.Context("Main"));
    std::vector<std::size_t> linesAtSleep;
    runWith([&pass, &linesAtSleep](std::size_t) {
        linesAtSleep.push_back(pass.lines.size());
        pass.Manager().mShutdown = true;
    });
    EXPECT_EQ(linesAtSleep, (std::vector<std::size_t> { 1 }));
}

TEST(CollectionThread, MakesOnePassBetweenSleepsOf100000Microseconds)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    std::vector<std::size_t> linesAtSleep;
    const std::vector<useconds_t> sleeps = runWith([&](std::size_t number) {
        linesAtSleep.push_back(pass.lines.size());
        numbered(static_cast<int>(number)).PublishIn(context);
        pass.Manager().mShutdown = number == 4;
    });
    EXPECT_EQ(sleeps, std::vector<useconds_t>(4, 100000));
    EXPECT_EQ(linesAtSleep, (std::vector<std::size_t> { 0, 1, 2, 3 }));
    EXPECT_EQ(pass.lines.size(), 4u);
}

TEST(CollectionThread, EndsWithoutASleepAfterAPassThatSawTheShutdown)
{
    ManualPass pass;
    pass.Manager().mShutdown = true;
    numbered(1).PublishIn(pass.Context("Main"));
    const std::vector<useconds_t> sleeps = runWith([](std::size_t) {});
    EXPECT_TRUE(sleeps.empty());
    EXPECT_EQ(pass.lines.size(), 1u);
}

TEST(CollectionThread, ShutdownDuringAPassEndsItAfterThatPass)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(1).PublishIn(context);
    numbered(2).PublishIn(context);
    pass.inCallback = [&pass] { pass.Manager().mShutdown = true; };
    const std::vector<useconds_t> sleeps = runWith([](std::size_t) {});
    EXPECT_TRUE(sleeps.empty());
    EXPECT_EQ(pass.lines.size(), 2u);
}

TEST(CollectionThread, AsksForTheManagerBeforeEveryPass)
{
    ManualPass pass;
    HSL::CLogManager& first = pass.Manager();
    auto second = std::make_unique<HSL::CLogManager>();
    second->SetFilterValue(3, true);
    HSL::CLogContext& context = pass.Context("first");
    HSL::CLogManager::msThis = second.get();
    HSL::CLogContext& contextOfSecond = pass.Context("second");
    HSL::CLogManager::msThis = &first;

    std::vector<std::string> shown;
    runWith([&](std::size_t number) {
        shown.insert(shown.end(), pass.lines.begin(), pass.lines.end());
        pass.lines.clear();
        HSL::CLogManager::msThis = number % 2 == 1 ? second.get() : &first;
        numbered(static_cast<int>(number)).PublishIn(number % 2 == 1 ? contextOfSecond : context);
        HSL::CLogManager::Instance()->mShutdown = number == 4;
    });
    ASSERT_EQ(shown.size() + pass.lines.size(), 4u);
    EXPECT_NE(shown[0].find("[second "), std::string::npos);
    EXPECT_NE(shown[1].find("[first "), std::string::npos);
    EXPECT_NE(shown[2].find("[second "), std::string::npos);
    second.reset();
}

TEST(CollectionThread, SkipsPassesWhileThereIsNoManager)
{
    ManualPass pass;
    HSL::CLogManager* manager = &pass.Manager();
    HSL::CLogContext& context = pass.Context("Main");
    std::vector<std::size_t> linesAtSleep;
    const std::vector<useconds_t> sleeps = runWith([&](std::size_t number) {
        linesAtSleep.push_back(pass.lines.size());
        if (number == 1) {
            numbered(1).PublishIn(context);
        }
        HSL::CLogManager::msThis = number < 4 ? nullptr : manager;
        manager->mShutdown = number == 4;
    });
    EXPECT_EQ(linesAtSleep, (std::vector<std::size_t> { 0, 0, 0, 0 }));
    EXPECT_EQ(sleeps, std::vector<useconds_t>(4, 100000));
    EXPECT_EQ(pass.lines.size(), 1u);
}

TEST(CollectionThread, CallbacksRunOnTheThreadOfThatName)
{
    Watched watched;
    watched.Initialize();
    watched.WaitForSleep(1);
    HSL::HSLog(HSL::CCat(3), "hello");
    watched.LetOneSleepPass();
    watched.WaitForSleep(2);
    ASSERT_EQ(watched.lines.size(), 1u);
    EXPECT_STREQ(watched.callbackThreadName, "HSL::Collection");
    EXPECT_FALSE(pthread_equal(watched.callbackThread, pthread_self()));
}

TEST(CollectionThread, FirstPassComesAtOnce)
{
    // The new thread waits at its start until there is something to output.
    static std::atomic<bool> sGo;
    sGo = false;
    KxThread::mAtStartFunctions.push_back([] {
        while (!sGo) {
            std::this_thread::yield();
        }
    });
    Watched watched;
    watched.Initialize();
    HSL::HSLog(HSL::CCat(3), "waiting");
    sGo = true;
    watched.WaitForSleep(1);
    KxThread::mAtStartFunctions.clear();
    ASSERT_EQ(watched.lines.size(), 1u);
    EXPECT_EQ(messageOf(watched.lines[0]), "waiting");
}

TEST(CollectionThread, CleanupDeliversEveryCountedRecord)
{
    Watched watched;
    watched.Initialize();
    watched.WaitForSleep(1);
    HSL::HSLog(HSL::CCat(3), "mine");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int j = 0; j < 250; ++j) {
                HSL::HSLog(HSL::CCat(3), "theirs %d", j);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    HSL::CLogManager::Cleanup();
    ASSERT_EQ(watched.lines.size(), 1001u);
    for (int i = 0; i < 1001; ++i) {
        EXPECT_EQ(numberOf(watched.lines[static_cast<std::size_t>(i)]), i + 1);
    }
}

TEST(CollectionThread, CleanupEndsItWithoutAFurtherSleep)
{
    Watched watched;
    watched.Initialize();
    watched.WaitForSleep(1);
    HSL::CLogManager::Cleanup();
    EXPECT_EQ(watched.Sleeps(), 1);
}

TEST(CollectionThread, IsStartedAgainByTheNextInitialize)
{
    for (int round = 1; round <= 3; ++round) {
        Watched watched;
        watched.Initialize();
        watched.WaitForSleep(1);
        HSL::HSLog(HSL::CCat(3), "round %d", round);
        watched.LetOneSleepPass();
        watched.WaitForSleep(2);
        ASSERT_EQ(watched.lines.size(), 1u);
        EXPECT_EQ(messageOf(watched.lines[0]), "round " + std::to_string(round));
        EXPECT_EQ(numberOf(watched.lines[0]), 1);
    }
}

TEST(CollectionThread, RunsWhileThreadsLog)
{
    Watched watched;
    watched.OpenSleeps();
    watched.Initialize();
    HSL::LogManager()->mDefaultContextSize = 1 << 22; // room for everything
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([i] {
            for (int j = 0; j < 2000; ++j) {
                HSL::HSLog(HSL::CCat(3), i == 0 ? "a %d" : (i == 1 ? "b %d" : "c %d"), j);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    HSL::CLogManager::Cleanup();
    ASSERT_EQ(watched.lines.size(), 6000u);
    int next[3] = {};
    for (const std::string& line : watched.lines) {
        const std::string message = messageOf(line);
        const std::size_t thread = static_cast<std::size_t>(message[0] - 'a');
        ASSERT_LT(thread, 3u) << line;
        EXPECT_EQ(message.substr(2), std::to_string(next[thread]++));
    }
}
