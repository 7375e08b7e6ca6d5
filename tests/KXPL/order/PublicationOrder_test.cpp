// What is published once and then looked at, in every order that the memory model allows: the manager, what a thread
// wrote before it ended, and the text that a signal handler holds.
#include "hslog/HSL.h"
#include "hslog/collect/HSLCollectionThreadHolder.h"

#include "Snapshot.h"

#include "Explorer.h"
#include "Substitutes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

using BreakpadLinux::Snapshot;
using HSL::CCollectionThreadHolder;
using HSL::CLogManager;
using order::gDeleted;
using order::gThreadsAskedFor;
using order::Program;
using order::Result;
using order::Weakened;

namespace {

using Location = std::function<const void*()>;

void expectProven(const Program& program)
{
    const Result result = order::explore(program);
    EXPECT_EQ(result.failure, "");
    EXPECT_TRUE(result.complete);
    std::printf("%lld executions\n", result.executions);
}

void expectNeeded(const Program& program, const std::vector<Weakened::Kind>& kinds, const Location& location)
{
    for (const Weakened::Kind kind : kinds) {
        EXPECT_NE(order::explore(program, Weakened(kind, location)).failure, "") << "kind " << kind;
    }
}

// One thread makes the manager, the other one looks for it and then at one of its fields.
Program managerMadeBy(const std::function<void()>& make, std::set<bool>& seen)
{
    return { [] {
                order::track(&CLogManager::msThis, sizeof CLogManager::msThis);
                // Where it will lie, to be tracked before it exists.
                auto* manager = static_cast<CLogManager*>(order::nextBlock(sizeof(CLogManager)));
                order::track(&manager->mDefaultContextSize, sizeof manager->mDefaultContextSize);
            },
             { make,
               [&seen] {
                   const CLogManager* manager = CLogManager::Instance();
                   seen.insert(manager != nullptr);
                   if (manager != nullptr && manager->mDefaultContextSize != 262144) {
                       order::fail("a manager that is not whole");
                   }
               } },
             [] {
                 CLogManager::msAdopted = false;
                 CLogManager::Cleanup();
             } };
}

void initialize()
{
    CLogManager::Initialize();
}

void initializeWithAnother()
{
    CLogManager::Initialize(new CLogManager);
}

const void* managersPlace()
{
    return &CLogManager::msThis;
}

// Its work is to write a result.
class Worker : public KxThread {
public:
    Worker() { order::track(&mResult, sizeof mResult); }

    void Run() override { mResult = 7; }

    int mResult = 0;
};

struct Started {
    std::unique_ptr<Worker> worker;
    std::set<int> asked;
};

// The thread ends while its owner starts it anew.
Program startedAgain(Started& shared)
{
    return { [&shared] {
                shared.worker = std::make_unique<Worker>();
                shared.worker->Start();
                order::track(&shared.worker->mPlatformData->mIsRunning, sizeof(bool));
                gThreadsAskedFor = 0;
            },
             { [&shared] { KxThread::ThreadStart(shared.worker.get()); },
               [&shared] {
                   shared.worker->Start();
                   shared.asked.insert(gThreadsAskedFor);
                   if (gThreadsAskedFor != 0 && shared.worker->mResult != 7) {
                       order::fail("the result of the run before is not there");
                   }
               } },
             [&shared] { shared.worker.reset(); } };
}

struct Held {
    alignas(CCollectionThreadHolder) unsigned char memory[sizeof(CCollectionThreadHolder)];
    CCollectionThreadHolder* holder = nullptr;
    CLogManager* manager = nullptr;
    KxThreadPlatformData* platformData = nullptr;
};

// The module ends while the thread does.
Program moduleThatEnds(Held& shared)
{
    return { [&shared] {
                shared.manager = new CLogManager;
                shared.manager->mShutdown = true;
                CLogManager::msThis = shared.manager;
                shared.holder = new (shared.memory) CCollectionThreadHolder;
                shared.holder->mThread.Start();
                order::track(shared.memory, sizeof shared.memory);
                order::track(&shared.holder->mThread.mPlatformData->mIsRunning, sizeof(bool));
            },
             { [&shared] { KxThread::ThreadStart(&shared.holder->mThread); },
               [&shared] { shared.holder->~CCollectionThreadHolder(); } },
             [&shared] {
                 CLogManager::msThis = nullptr;
                 delete shared.manager;
             } };
}

// A handler takes a text to hold while another thread replaces it twice.
struct Replaced {
    std::unique_ptr<Snapshot> snapshot;
    const std::string* held = nullptr;
    std::vector<const void*> deleted;
    std::set<std::string> seen;

    // The text replaced, and the one held.
    const void* Field(std::size_t place) const
    {
        return reinterpret_cast<const unsigned char*>(snapshot.get()) + place * sizeof(void*);
    }
};

Program textThatIsReplaced(Replaced& shared)
{
    return { [&shared] {
                shared.deleted.clear();
                shared.deleted.reserve(8);
                shared.held = nullptr;
                shared.snapshot = std::make_unique<Snapshot>();
                shared.snapshot->Replace("first");
                order::track(shared.snapshot.get(), sizeof(Snapshot));
                gDeleted = &shared.deleted;
            },
             { [&shared] {
                  shared.snapshot->Replace("second");
                  shared.snapshot->Replace("third");
              },
               [&shared] { shared.held = shared.snapshot->Hold(); } },
             [&shared] {
                 gDeleted = nullptr;
                 const auto& deleted = shared.deleted;
                 if (std::find(deleted.begin(), deleted.end(), shared.held) != deleted.end()) {
                     order::fail("the text that is held was deleted");
                 } else {
                     shared.seen.insert(*shared.held);
                 }
             } };
}

} // namespace

TEST(PublicationOrder, ManagerIsSeenWholeOrNotAtAll)
{
    std::set<bool> seen;
    expectProven(managerMadeBy(initialize, seen));
    EXPECT_EQ(seen.size(), 2u);
    seen.clear();
    expectProven(managerMadeBy(initializeWithAnother, seen));
    EXPECT_EQ(seen.size(), 2u);
}

TEST(PublicationOrder, EachOrderIsNeededForTheManager)
{
    std::set<bool> seen;
    for (const auto make : { initialize, initializeWithAnother }) {
        expectNeeded(managerMadeBy(make, seen), { Weakened::Releases, Weakened::Acquires }, managersPlace);
    }
}

TEST(PublicationOrder, OwnerThatStartsAThreadAgainSeesWhatTheLastRunWrote)
{
    Started shared;
    expectProven(startedAgain(shared));
    EXPECT_EQ(shared.asked, (std::set<int> { 0, 1 }));
}

TEST(PublicationOrder, EachOrderIsNeededForAThreadThatIsStartedAgain)
{
    Started shared;
    expectNeeded(startedAgain(shared), { Weakened::Releases, Weakened::Acquires },
                 [&shared]() -> const void* { return &shared.worker->mPlatformData->mIsRunning; });
}

TEST(PublicationOrder, ModuleEndsBehindItsCollectionThreadOrLeavesItAlone)
{
    Held shared;
    expectProven(moduleThatEnds(shared));
}

TEST(PublicationOrder, EachOrderIsNeededForTheModulesEnd)
{
    Held shared;
    expectNeeded(moduleThatEnds(shared), { Weakened::Releases, Weakened::Acquires },
                 [&shared]() -> const void* { return &shared.holder->mThread.mPlatformData->mIsRunning; });
}

TEST(PublicationOrder, TextThatAHandlerHoldsIsLeftToIt)
{
    Replaced shared;
    expectProven(textThatIsReplaced(shared));
    EXPECT_EQ(shared.seen, (std::set<std::string> { "first", "second", "third" }));
}

// That one order of all accesses: with releases and acquires alone either side may overlook the other's store.
TEST(PublicationOrder, TotalOrderIsNeededForEachFieldOfTheSnapshot)
{
    Replaced shared;
    for (const std::size_t field : { 0u, 1u }) {
        expectNeeded(textThatIsReplaced(shared), { Weakened::TotalOrder },
                     [&shared, field] { return shared.Field(field); });
    }
}
