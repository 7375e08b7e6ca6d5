#include "Host.h"

#include "detail/KxAtomic.h"
#include "hslog/HSL.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace soak {
namespace {

using HSL::CLogManager;
using Clock = std::chrono::steady_clock;

constexpr unsigned int kMostThreads = 64;
// What a host must bound itself, because it lives as long as the manager.
constexpr unsigned int kMostFormats = 300;
constexpr unsigned int kMostPlainThreads = 100;

Ledger* gLedger = nullptr;

void takeLine(const char* line)
{
    gLedger->TakeLine(line);
}

void takeMessage(const char* text, const std::string& context, unsigned char depth, unsigned char,
                 unsigned char*, unsigned int, unsigned int)
{
    gLedger->Take(0, context, depth, text);
}

} // namespace

Host::Host(unsigned long long seed)
    : mRandom(seed)
    , mSeed(seed)
    , mShapes(seed)
    , mLedger(seed, mShapes)
{
    gLedger = &mLedger;
}

Host::~Host()
{
    EndManager();
    gLedger = nullptr;
}

void Host::MakeManager()
{
    CLogManager::Initialize();
    CLogManager* manager = HSL::LogManager();
    manager->SetStructuredOutputCallback(takeMessage);
    manager->SetOutputCallback(takeLine);
    manager->SetFilterValue(kSteadyCategory, true);
    for (unsigned int i = 0; i < kSwitchedCategories; ++i) {
        manager->SetFilterValue(static_cast<unsigned char>(kFirstSwitchedCategory + i), true);
        manager->SetCategoryName(static_cast<unsigned char>(kFirstSwitchedCategory + i),
                                 "switched by the host");
    }
    manager->SetEnable(true);
    mRegistered = 0;
    mPlainThreads = 0;
    for (std::atomic<int>& id : mIds) {
        id = -1;
    }
}

void Host::EndManager()
{
    if (CLogManager::IsInitialized()) {
        HSL::LogManager()->SetOutputCallback(takeLine);
        CLogManager::Cleanup();
    }
}

void Host::RunPeriod(unsigned int milliseconds)
{
    if (!CLogManager::IsInitialized()) {
        MakeManager();
    }
    CLogManager* manager = HSL::LogManager();
    // From the smallest ring in which dropping ends below the level at which it starts.
    manager->mDefaultContextSize = 16384u << mRandom.Below(6);
    mFilterMoved = false;
    mLedger.Begin(mNextThread, KxLoadRelaxed(manager->mSequence));
    mThreadsAtOnce = 2 + (mRandom.Below(3) == 0 ? mRandom.Below(kMostThreads - 1) : mRandom.Below(15));
    for (unsigned int i = 0; i < mThreadsAtOnce; ++i) {
        StartWorker();
    }
    for (const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
         Clock::now() < end;) {
        Change();
        ReplaceEnded();
        std::this_thread::sleep_for(std::chrono::microseconds(mRandom.Below(4000)));
    }
    for (const std::unique_ptr<Worker>& worker : mWorkers) {
        worker->Stop();
    }
    for (const std::unique_ptr<Worker>& worker : mWorkers) {
        worker->Join();
    }
    Settle(KxLoadRelaxed(manager->mSequence), mRandom.Below(4) == 0);
}

// Everything is output either by the manager's end or by the host's own pass.
void Host::Settle(int lastNumber, bool endsManager)
{
    if (endsManager) {
        CLogManager::Cleanup();
    } else {
        HSL::LogManager()->Collect();
        CheckThatRingsAreEmpty();
    }
    std::vector<const Life*> lives;
    for (const std::unique_ptr<Worker>& worker : mWorkers) {
        lives.push_back(&worker->GetLife());
    }
    mLedger.Settle(lives, lastNumber, mFilterMoved);
    mWorkers.clear();
}

void Host::CheckThatRingsAreEmpty()
{
    CLogManager* manager = HSL::LogManager();
    const KxLockGuard guard(manager->mLock);
    for (const HSL::CLogContext* context : manager->mContexts) {
        const int count = KxLoadAcquire(context->mRecordCount);
        const unsigned int used = cb_get_num_elem_used(context->mBuffer->mControl);
        if (count != 0 || used != 0) {
            mLedger.Report("[" + context->mName + "] is left with " + std::to_string(count) + " records in "
                           + std::to_string(used) + " bytes");
        }
    }
}

void Host::StartWorker()
{
    Plan plan = {};
    plan.thread = mNextThread++;
    plan.isPlain = mPlainThreads < kMostPlainThreads && mRandom.Below(3) == 0;
    plan.releases = plan.isPlain && mRandom.Below(2) == 0;
    mPlainThreads += plan.isPlain && !plan.releases ? 1u : 0u;
    plan.asksForPass = mRandom.Below(2) == 0;
    constexpr unsigned int kLives[] = { 30, 200, 2000 };
    plan.longestLife = kLives[mRandom.Below(3)];
    // So that most rings fill up now and then, and most messages get through.
    plan.longestPause = 2 * mThreadsAtOnce;
    plan.longestBurst = mRandom.Below(4) == 0 ? 1500 : 60;
    mWorkers.push_back(std::make_unique<Worker>(mSeed, mShapes, mIds, plan));
}

void Host::ReplaceEnded()
{
    const auto ended = std::count_if(mWorkers.begin(), mWorkers.end(),
                                     [](const std::unique_ptr<Worker>& worker) { return worker->HasEnded(); });
    const std::size_t alive = mWorkers.size() - static_cast<std::size_t>(ended);
    for (std::size_t i = alive; i < mThreadsAtOnce; ++i) {
        StartWorker();
    }
}

void Host::Change()
{
    CLogManager* manager = HSL::LogManager();
    const unsigned char category =
        static_cast<unsigned char>(kFirstSwitchedCategory + mRandom.Below(kSwitchedCategories));
    switch (mRandom.Below(12)) {
    case 0:
    case 1:
        mFilterMoved = true;
        manager->SetFilterValue(category, false);
        break;
    case 2:
    case 3:
    case 4:
        manager->SetFilterValue(category, true);
        break;
    case 5:
        manager->SetEnable(false);
        std::this_thread::sleep_for(std::chrono::microseconds(mRandom.Below(1000)));
        manager->SetEnable(true);
        break;
    case 6:
    case 7:
        mWorkers[mRandom.Below(static_cast<unsigned int>(mWorkers.size()))]->Rename(
            "." + std::string(mRandom.Below(40), 'n'));
        break;
    case 8:
        if (mRegistered < kMostFormats) {
            ++mRegistered;
            const std::size_t shape = mRandom.Below(Shapes::kCount);
            if (mRandom.Below(8) == 0) {
                manager->AddFormatString(L"a wide format %d");
            } else {
                mIds[shape] = manager->AddFormatString(mShapes[shape].format.c_str());
            }
        }
        break;
    case 9:
        ChangeCallback();
        break;
    default:
        manager->Collect();
        break;
    }
}

void Host::ChangeCallback()
{
    if (HSL::LogManager()->GetOutputCallbackType() == CLogManager::kPlainCallback && mRandom.Below(3) == 0) {
        HSL::LogManager()->SetStructuredOutputCallback(takeMessage);
    } else {
        HSL::LogManager()->SetOutputCallback(takeLine);
    }
}

} // namespace soak
