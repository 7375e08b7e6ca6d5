// What a started thread does around Run.
#include "KxThread.h"

#include "FunctionThread.h"
#include "Interpose.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <string>
#include <vector>

namespace {

using Events = std::vector<std::string>;

Events gEvents;

void late()
{
    gEvents.push_back("late");
}

void first()
{
    gEvents.push_back("first");
    KxThread::mAtStartFunctions.push_back(late);
}

void second()
{
    gEvents.push_back("second");
}

class EventWrapper : public KxThreadRunWrapper {
public:
    void RunWrapper(KxThread* thread) override
    {
        gEvents.push_back("before");
        KxThreadRunWrapper::RunWrapper(thread);
        gEvents.push_back(thread->mPlatformData->mIsRunning ? "after, running" : "after, not running");
    }
};

class SkippingWrapper : public KxThreadRunWrapper {
public:
    void RunWrapper(KxThread*) override { gEvents.push_back("skipped"); }
};

// The at-start functions are the process's: each test leaves none behind.
class KxThreadBody : public testing::Test {
protected:
    KxThreadBody() { gEvents.clear(); }
    ~KxThreadBody() override { KxThread::mAtStartFunctions.clear(); }
};

std::string currentThreadName()
{
    char name[64] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

// What a thread of this name shows as.
std::string shownName(const std::string& name)
{
    std::string shown;
    FunctionThread thread([&] { shown = currentThreadName(); });
    thread.mName = name;
    thread.runToEnd();
    return shown;
}

} // namespace

TEST_F(KxThreadBody, NoAtStartFunctionsAreThereFromTheOutset)
{
    EXPECT_TRUE(KxThread::mAtStartFunctions.empty());
}

TEST_F(KxThreadBody, RunsTheFunctionsThenNamesTheThreadThenRuns)
{
    KxThread::mAtStartFunctions = { first, second };
    {
        Interposed hooks;
        hooks.pthreadSetname = [](pthread_t thread, const char* name) {
            gEvents.push_back(std::string(pthread_equal(thread, pthread_self()) ? "name " : "name other ")
                              + name);
            return 0;
        };
        FunctionThread thread([] { gEvents.push_back("run"); });
        thread.mName = "worker";
        delete thread.mRunWrapper;
        thread.mRunWrapper = new EventWrapper;
        thread.runToEnd();
        EXPECT_FALSE(thread.mPlatformData->mIsRunning);
    }
    EXPECT_EQ(gEvents,
              (Events { "first", "second", "late", "name worker", "before", "run", "after, running" }));
}

TEST_F(KxThreadBody, FunctionsAddedMeanwhileAreRunByTheSameThread)
{
    KxThread::mAtStartFunctions = { first };
    FunctionThread thread([] { gEvents.push_back("run"); });
    thread.runToEnd();
    EXPECT_EQ(gEvents, (Events { "first", "late", "run" }));
}

TEST_F(KxThreadBody, EveryThreadRunsTheFunctionsAgain)
{
    KxThread::mAtStartFunctions = { second };
    FunctionThread thread;
    thread.runToEnd();
    thread.runToEnd();
    FunctionThread().runToEnd();
    EXPECT_EQ(gEvents, (Events { "second", "second", "second" }));
}

TEST_F(KxThreadBody, WithoutAThreadObjectOnlyTheFunctionsRun)
{
    KxThread::mAtStartFunctions = { first, second };
    {
        Interposed hooks;
        hooks.pthreadSetname = [](pthread_t, const char*) {
            gEvents.push_back("name");
            return 0;
        };
        KxThread::ThreadStart(nullptr);
    }
    EXPECT_EQ(gEvents, (Events { "first", "second", "late" }));
}

TEST_F(KxThreadBody, MayBeRunOnAnyThread)
{
    pthread_t identity = pthread_t();
    FunctionThread thread([&] { identity = pthread_self(); });
    thread.mName = currentThreadName();
    thread.mPlatformData->mIsRunning = true;
    KxThread::ThreadStart(&thread);
    EXPECT_EQ(identity, pthread_self());
    EXPECT_FALSE(thread.mPlatformData->mIsRunning);
    EXPECT_EQ(thread.GetId(), pthread_t());
}

TEST_F(KxThreadBody, WrapperDecidesWhetherRunIsCalled)
{
    FunctionThread thread([] { gEvents.push_back("run"); });
    delete thread.mRunWrapper;
    thread.mRunWrapper = new SkippingWrapper;
    thread.runToEnd();
    EXPECT_EQ(gEvents, (Events { "skipped" }));
}

TEST_F(KxThreadBody, ThreadShowsItsName)
{
    EXPECT_EQ(shownName("worker"), "worker");
}

TEST_F(KxThreadBody, ThreadWithoutANameOfItsOwnShowsAsUnnamed)
{
    std::string shown;
    FunctionThread thread([&] { shown = currentThreadName(); });
    thread.runToEnd();
    EXPECT_EQ(shown, "unnamed");
}

TEST_F(KxThreadBody, EmptyNameShowsAsBonehead)
{
    EXPECT_EQ(shownName(""), "BONEHEAD");
}

#ifdef __linux__
TEST_F(KxThreadBody, NameOfFifteenCharactersIsShownWhole)
{
    EXPECT_EQ(shownName("HSL::Collection"), "HSL::Collection");
}

TEST_F(KxThreadBody, LongerNameIsCutToFifteenCharacters)
{
    EXPECT_EQ(shownName("sixteen letters!"), "sixteen letters");
    EXPECT_EQ(shownName(std::string(100, 'x')), std::string(15, 'x'));
}
#endif

TEST_F(KxThreadBody, NameIsOfTheMomentOfTheStart)
{
    std::string shown;
    FunctionThread thread([&] { shown = currentThreadName(); });
    thread.mName = "one";
    thread.runToEnd();
    thread.mName = "two";
    thread.runToEnd();
    EXPECT_EQ(shown, "two");
}
