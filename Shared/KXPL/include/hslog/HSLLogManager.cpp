#include "HSLLogManager.h"

#include "HSLCat.h"
#include "HSLCollectionThread.h"
#include "HSLForkGuard.h"
#include "HSLLogContext.h"
#include "hslog/collect/HSLCollectionThreadHolder.h"
#include "hslog/collect/LastRecord.h"
#include "hslog/crash/CrashLedger.h"
#include "hslog/record/HSLRecord.h"

#include "KxTime.h"
#include "platform/KxSignals.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

namespace HSL {

CLogManager* CLogManager::msThis = nullptr;
bool CLogManager::msAdopted = false;

namespace {

constexpr std::size_t kCategories = 256;
constexpr unsigned int kDefaultContextBytes = 262144;

// Clients register one of two ranges, told apart by their first category.
constexpr int kFirstClientCategory = 20;
constexpr int kLastClientCategory = 159;
constexpr int kSecondRangeStart = 100;
constexpr int kFirstRangeEnd = 99;
constexpr int kSecondRangeEnd = 119;

// Lines that standard error refused and that it was not told of yet. A host may call the default callback from
// one of its own, on any thread.
int gLinesLost = 0;

void defaultOutputCB(const char* line)
{
    const int lost = KxLoadRelaxed(gLinesLost);
    if (lost != 0) {
        // The last line may have been cut, so this begins one of its own.
        char notice[96];
        std::snprintf(notice, sizeof notice, "\n*** HSLOG LOST %d LINE(S) THAT STANDARD ERROR REFUSED ***\n",
                      lost);
        if (std::fputs(notice, stderr) >= 0) {
            KxAtomicAdd32Barrier(-lost, &gLinesLost);
        }
    }
    if (std::fputs(line, stderr) < 0) {
        KxAtomicAdd32Barrier(1, &gLinesLost);
    }
}

// These belong to the module: every manager that msThis points at shares them.
CLogManager::OutputCallback sOutputCB = defaultOutputCB;
CLogManager::StructuredOutputCallback sStructuredOutputCB = nullptr;
unsigned char sOutputCallbackType = CLogManager::kPlainCallback;

CCollectionThreadHolder gHolder;
CCollectionThread& gCollectionThread = gHolder.mThread;

void eraseEvery(std::vector<CLogContext*>& contexts, const CLogContext* context)
{
    contexts.erase(std::remove(contexts.begin(), contexts.end(), context), contexts.end());
}

// pthread_t is a number on some systems and a pointer on others.
std::string currentThreadNumber()
{
    return std::to_string((std::uintptr_t)KxThread::GetCurrentId());
}

} // namespace

CLogManager::CLogManager()
    : mEnabled(false)
    , mCategoryNames(kCategories)
    , mSequence(0)
    , mDefaultContextSize(kDefaultContextBytes)
    , mShutdown(false)
    , mLedger(CrashLog::Ledger::Make(mSequence, mFilter))
{
    // Touches the clock's first-use costs here rather than in the first log call; the value is not kept.
    KxTime now;
    now.SetToCurrentTime();
    std::fill(std::begin(mFilter), std::end(mFilter), static_cast<unsigned char>(0));
    if (mLedger != nullptr) {
        const RecordTime last = lastRecordTime();
        mLedger->NoteTime(last.mSeconds, last.mMicroseconds);
    }
}

CLogManager::~CLogManager()
{
    SetEnable(false);
    {
        const KxLockGuard guard(mLock);
        mShutdown = true;
    }
    gCollectionThread.WaitForExit();
    CForkGuard::Forget(*this);
    CCat::Cleanup();
    {
        // Each context's destructor takes the lock again.
        const KxLockGuard guard(mLock);
        for (std::size_t i = 0; i < mTLSContexts.size(); ++i) {
            delete mTLSContexts[i];
        }
    }
    for (std::string& name : mCategoryNames) {
        name.clear();
    }
    mFormatStrings.clear();
    mTLSContexts.clear();
    mContexts.clear();
    mTLSContext.Set(nullptr);
    CrashLog::Ledger::Destroy(mLedger);
    mLedger = nullptr;
}

void CLogManager::Initialize()
{
    if (IsInitialized()) {
        return;
    }
    // Pair MANAGER, release: the manager's fields are visible to whoever finds it.
    KxStoreRelease(msThis, new CLogManager);
    CCat::Initialize();
    CForkGuard::Watch(*Instance(), gCollectionThread);
    {
        // A host may take its signals with sigwait, and one that cut the write of a line would lose it.
        const KxSignalsBlocked blocked;
        gCollectionThread.Start();
    }
    Instance()->GetTLSContext()->SetName("Main");
}

void CLogManager::Initialize(CLogManager* other)
{
    msAdopted = true;
    // Pair MANAGER, release.
    KxStoreRelease(msThis, other);
}

void CLogManager::Cleanup()
{
    // The manager stays set while it is deleted: its contexts and the last pass look for it.
    if (!msAdopted) {
        delete Instance();
    }
    // Pair MANAGER, release: of no manager nothing is looked at.
    KxStoreRelease(msThis, static_cast<CLogManager*>(nullptr));
}

CLogContext* CLogManager::MakeTLSContext()
{
    // msThis, not this: in a module that adopted a manager the context belongs to the adopted one.
    CLogManager* manager = Instance();
    const std::string name = "TID " + currentThreadNumber();
    const CrashLog::LastingMemory* lasting = CrashLog::gLastingMemory;
    auto made =
        std::make_unique<CLogContext>(name.c_str(), static_cast<int>(manager->mDefaultContextSize),
                                      lasting != nullptr ? lasting->mallocRing : CLogContext::MallocFunc,
                                      lasting != nullptr ? lasting->freeRing : CLogContext::FreeFunc);
    manager->AdoptTLSContext(made.get());
    CLogContext* context = made.release();
    mTLSContext.Set(context);
    return context;
}

void CLogManager::AddContext(CLogContext* context)
{
    const KxLockGuard guard(mLock);
    mContexts.push_back(context);
    if (mLedger != nullptr && context != nullptr) {
        mLedger->AddContext(*context);
    }
}

void CLogManager::RemoveContext(CLogContext* context)
{
    const KxLockGuard guard(mLock);
    if (mLedger != nullptr) {
        mLedger->RemoveContext(context);
    }
    eraseEvery(mContexts, context);
}

void CLogManager::AdoptTLSContext(CLogContext* context)
{
    const KxLockGuard guard(mLock);
    mTLSContexts.push_back(context);
}

void CLogManager::CleanupTLSContext()
{
    CLogContext* context = mTLSContext.Get();
    if (context == nullptr) {
        return;
    }
    {
        const KxLockGuard guard(mLock);
        eraseEvery(mTLSContexts, context);
    }
    delete context;
    mTLSContext.Set(nullptr);
}

void CLogManager::SetEnable(bool on)
{
    KxStoreRelaxed(mEnabled, on);
}

void CLogManager::SetFilterValue(unsigned char cat, bool on)
{
    KxStoreRelaxed(mFilter[cat], static_cast<unsigned char>(on));
    if (mLedger != nullptr) {
        mLedger->NoteFilterValue(cat, on);
    }
}

bool CLogManager::RegisterCategoryRange(int first, int last)
{
    if (first > last || first < kFirstClientCategory || first > kLastClientCategory) {
        return false;
    }
    int bound = 0;
    if (first == kFirstClientCategory) {
        bound = kFirstRangeEnd;
    } else if (first == kSecondRangeStart) {
        bound = kSecondRangeEnd;
    }
    return bound >= last;
}

void CLogManager::SetCategoryName(unsigned char cat, const char* name)
{
    std::string& entry = mCategoryNames[cat];
    if (entry.empty() && name != nullptr) {
        entry = name;
    }
}

int CLogManager::AddFormatString(const char* format)
{
    return AddFormatEntry({ true, format != nullptr ? format : detail::kNullText, std::wstring() });
}

int CLogManager::AddFormatString(const wchar_t* format)
{
    return AddFormatEntry({ false, std::string(), format != nullptr ? format : detail::kNullWideText });
}

int CLogManager::AddFormatEntry(const CFormatStringEntry& entry)
{
    const KxLockGuard guard(mLock);
    mFormatStrings.push_back(entry);
    if (mLedger != nullptr) {
        mLedger->AddFormat(entry.mNarrow, entry.mString.c_str());
    }
    return static_cast<int>(mFormatStrings.size()) - 1;
}

CLogManager::OutputCallback CLogManager::SetOutputCallback(OutputCallback callback)
{
    const OutputCallback previous = GetOutputCallback();
    KxStoreRelaxed(sOutputCallbackType, static_cast<unsigned char>(kPlainCallback));
    KxStoreRelaxed(sOutputCB, callback);
    return previous;
}

CLogManager::OutputCallback CLogManager::GetOutputCallback() const
{
    return KxLoadRelaxed(sOutputCB);
}

CLogManager::StructuredOutputCallback
CLogManager::SetStructuredOutputCallback(StructuredOutputCallback callback)
{
    const StructuredOutputCallback previous = GetStructuredOutputCallback();
    KxStoreRelaxed(sOutputCallbackType, static_cast<unsigned char>(kStructuredCallback));
    KxStoreRelaxed(sStructuredOutputCB, callback);
    return previous;
}

CLogManager::StructuredOutputCallback CLogManager::GetStructuredOutputCallback() const
{
    return KxLoadRelaxed(sStructuredOutputCB);
}

unsigned char CLogManager::GetOutputCallbackType() const
{
    return KxLoadRelaxed(sOutputCallbackType);
}

} // namespace HSL
