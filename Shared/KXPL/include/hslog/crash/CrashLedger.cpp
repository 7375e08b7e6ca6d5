#include "CrashLedger.h"

#include "CircularBuffer.h"
#include "hslog/HSLLogContext.h"
#include "KxTime.h"
#include "detail/KxAtomic.h"

#include <algorithm>
#include <cstring>

#include <sys/mman.h>

namespace HSL {
namespace CrashLog {
namespace {

// Reserved, not used: pages cost nothing until something lies in them.
constexpr std::size_t kLedgerBytes = 4u << 20;
// As much as lasting memory is asked for at a time.
constexpr std::size_t kCommitBytes = 64u << 10;
constexpr std::size_t kLongestText = 65535;

unsigned int sizeClass(std::size_t size)
{
    unsigned int logarithm = 5; // nothing is smaller than 32 bytes
    while (logarithm < 31 && std::size_t { 1 } << logarithm < size) {
        ++logarithm;
    }
    return logarithm;
}

} // namespace

const std::size_t Ledger::kCommittedAtFirst = (sizeof(Ledger) / kCommitBytes + 1) * kCommitBytes;

std::uintptr_t gNewestLedger = 0;
const LastingMemory* gLastingMemory = nullptr;
std::uint32_t gKeptBytes = 0;

Ledger* Ledger::Make(const int& sequence, const unsigned char (&filter)[256])
{
    const LastingMemory* lasting = gLastingMemory;
    void* memory = lasting != nullptr ? lasting->makeLedger(kLedgerBytes, kCommittedAtFirst) : nullptr;
    if (memory == nullptr) {
        lasting = nullptr;
        memory = mmap(nullptr, kLedgerBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    }
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    // The system hands over zeros.
    Ledger* ledger = static_cast<Ledger*>(memory);
    ledger->mBegin = reinterpret_cast<std::uintptr_t>(memory);
    ledger->mBytes = kLedgerBytes;
    ledger->mCommitted = static_cast<std::uint32_t>(lasting != nullptr ? kCommittedAtFirst : kLedgerBytes);
    ledger->mLasting = lasting;
    ledger->mUsed = sizeof(Ledger);
    ledger->mSequenceAt = reinterpret_cast<std::uintptr_t>(&sequence);
    ledger->mFilterAt = reinterpret_cast<std::uintptr_t>(&filter);
    if (gKeptBytes != 0) {
        ledger->KeepLines(gKeptBytes);
    }
    ledger->mMark = kMark; // nobody looks before the manager has been published
    gNewestLedger = ledger->mBegin;
    return ledger;
}

void Ledger::Destroy(Ledger* ledger)
{
    if (ledger == nullptr) {
        return;
    }
    if (gNewestLedger == ledger->mBegin) {
        gNewestLedger = 0;
    }
    if (ledger->mKeptBytes != 0) {
        munmap(ledger->Kept(), ledger->mKeptBytes);
    }
    if (ledger->mLasting != nullptr) {
        ledger->mLasting->endLedger(ledger);
    } else {
        munmap(ledger, ledger->mBytes);
    }
}

// The first `bytes` can be written to; false when they cannot.
bool Ledger::Commit(std::size_t bytes)
{
    if (bytes > mCommitted) {
        const std::size_t more = ((bytes - mCommitted - 1) / kCommitBytes + 1) * kCommitBytes;
        if (!mLasting->commit(reinterpret_cast<void*>(mBegin + mCommitted), more)) {
            return false;
        }
        mCommitted += static_cast<std::uint32_t>(more);
    }
    return true;
}

void* Ledger::Allocate(std::size_t size)
{
    const unsigned int logarithm = sizeClass(size);
    if (mFree[logarithm] != 0) {
        void* block = reinterpret_cast<void*>(mFree[logarithm]);
        std::memcpy(&mFree[logarithm], block, sizeof mFree[logarithm]);
        return block;
    }
    const std::size_t rounded = std::size_t { 1 } << logarithm;
    if (size > rounded || rounded > mBytes - mUsed || !Commit(mUsed + rounded)) {
        return nullptr;
    }
    void* block = reinterpret_cast<void*>(mBegin + mUsed);
    mUsed += static_cast<std::uint32_t>(rounded);
    return block;
}

void Ledger::Free(void* block, std::size_t size)
{
    const unsigned int logarithm = sizeClass(size);
    std::memcpy(block, &mFree[logarithm], sizeof mFree[logarithm]);
    mFree[logarithm] = reinterpret_cast<std::uintptr_t>(block);
}

LedgerText* Ledger::MakeText(const char* text)
{
    const std::size_t length = std::min(std::strlen(text), kLongestText);
    LedgerText* made = static_cast<LedgerText*>(Allocate(sizeof(LedgerText) + length));
    if (made != nullptr) {
        made->mNext = 0;
        made->mLength = static_cast<std::uint32_t>(length);
        made->mIsNarrow = 1;
        std::memcpy(made->Text(), text, length);
    }
    return made;
}

LedgerSlot* Ledger::Find(const CLogContext* context)
{
    const std::uintptr_t wanted = reinterpret_cast<std::uintptr_t>(context);
    for (std::uint32_t i = 0; i < mSlotsUsed; ++i) {
        if (mSlots[i].mContext == wanted) {
            return &mSlots[i];
        }
    }
    return nullptr;
}

void Ledger::AddContext(CLogContext& context)
{
    LedgerSlot* slot = Find(nullptr);
    if (slot == nullptr && mSlotsUsed < kMostContexts) {
        slot = &mSlots[mSlotsUsed];
    }
    if (slot == nullptr) {
        ++mContextsMissing;
        return;
    }
    const cb_control* control = context.mBuffer != nullptr ? context.mBuffer->mControl : nullptr;
    slot->mControl = reinterpret_cast<std::uintptr_t>(control);
    slot->mCapacity = control != nullptr ? control->num_elem : 0;
    slot->mName = reinterpret_cast<std::uintptr_t>(MakeText(context.mName.c_str()));
    slot->mCountAt = reinterpret_cast<std::uintptr_t>(&context.mRecordCount);
    slot->mDepthAt = reinterpret_cast<std::uintptr_t>(&context.mDepth);
    slot->mTaken = detail::TakenNumber();
    context.mLedgerSlot = static_cast<unsigned int>(slot - mSlots);
    ++slot->mGeneration;
    // Pair CRASH-LEDGER, release.
    KxStoreRelease(slot->mContext, reinterpret_cast<std::uintptr_t>(&context));
    if (slot == &mSlots[mSlotsUsed]) {
        // Pair CRASH-LEDGER, release.
        KxStoreRelease(mSlotsUsed, mSlotsUsed + 1);
    }
}

detail::TakenNumber& Ledger::TakenOf(Ledger* ledger, CLogContext& context)
{
    const std::uintptr_t wanted = reinterpret_cast<std::uintptr_t>(&context);
    if (ledger != nullptr && context.mLedgerSlot < kMostContexts
        && ledger->mSlots[context.mLedgerSlot].mContext == wanted) {
        context.mTaken = &ledger->mSlots[context.mLedgerSlot].mTaken;
    } else {
        context.mTaken = &context.mTakenElsewhere;
    }
    return *context.mTaken;
}

void Ledger::RemoveContext(const CLogContext* context)
{
    LedgerSlot* slot = context != nullptr ? Find(context) : nullptr;
    if (slot == nullptr) {
        return;
    }
    const int left = KxLoadRelaxed(context->mRecordCount);
    mRecordsLost += left > 0 ? static_cast<std::uint32_t>(left) : 0;
    // Pair CRASH-LEDGER, release.
    KxStoreRelease(slot->mContext, std::uintptr_t { 0 });
    LedgerText* name = reinterpret_cast<LedgerText*>(slot->mName);
    slot->mName = 0;
    if (name != nullptr) {
        Free(name, sizeof(LedgerText) + name->mLength);
    }
}

void Ledger::Rename(const CLogContext* context, const char* name)
{
    LedgerSlot* slot = Find(context);
    LedgerText* made = slot != nullptr ? MakeText(name) : nullptr;
    if (made == nullptr) {
        return;
    }
    LedgerText* before = reinterpret_cast<LedgerText*>(slot->mName);
    // Pair CRASH-LEDGER, release.
    KxStoreRelease(slot->mName, reinterpret_cast<std::uintptr_t>(made));
    if (before != nullptr) {
        Free(before, sizeof(LedgerText) + before->mLength);
    }
}

void Ledger::AddFormat(bool isNarrow, const char* text)
{
    LedgerText* made = MakeText(isNarrow ? text : "");
    if (made == nullptr || mFormatsMissing != 0) {
        ++mFormatsMissing; // and so for all that follow: a format's id is its place
        return;
    }
    made->mIsNarrow = isNarrow ? 1 : 0;
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(made);
    LedgerText* last = reinterpret_cast<LedgerText*>(mLastFormat);
    // Pair CRASH-LEDGER, release.
    KxStoreRelease(last != nullptr ? last->mNext : mFirstFormat, address);
    mLastFormat = address;
}

void Ledger::NoteFilterValue(unsigned char category, bool on)
{
    KxStoreRelaxed(mFilter[category], static_cast<std::uint8_t>(on));
}

void Ledger::NoteZone(long long seconds, const KxTimeOfDay& local)
{
    // Days since 1 March of a year 0, in which leap days come last.
    const long long year = local.mYear + 1900LL - (local.mMonth < 2 ? 1 : 0);
    const long long month = (local.mMonth + 10) % 12;
    const long long days =
        365 * year + year / 4 - year / 100 + year / 400 + (month * 306 + 5) / 10 + local.mDay - 1;
    constexpr long long kDaysUpTo1970 = 719468;
    const long long shown =
        (((days - kDaysUpTo1970) * 24 + local.mHour) * 60 + local.mMinute) * 60 + local.mSecond;
    const long long offset = shown - seconds;
    if (local.mDay != 0 && offset > -86400
        && offset < 86400) { // a time that could not be broken down is all zeros
        mZoneOffset = static_cast<std::int32_t>(offset);
    }
}

bool Ledger::KeepLines(std::uint32_t bytes)
{
    if (mKept != 0) {
        return true;
    }
    std::uint32_t size = 4096;
    // What is dropped at a time comes on top.
    while (size < 1u << 30 && size - size / KeptLines::kSharesDropped < bytes) {
        size *= 2;
    }
    const std::size_t whole = sizeof(KeptLines) + size;
    KeptLines* kept =
        static_cast<KeptLines*>(mLasting != nullptr ? mLasting->makeLines(whole) : Allocate(whole));
    if (kept == nullptr && mLasting != nullptr) {
        return false;
    }
    if (kept == nullptr) {
        void* memory = mmap(nullptr, whole, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
        if (memory == MAP_FAILED) {
            return false;
        }
        kept = static_cast<KeptLines*>(memory);
        mKeptBytes = static_cast<std::uint32_t>(whole);
    }
    kept->mSize = size;
    kept->mBegin = 0;
    kept->mEnd = 0;
    // Pair CRASH-LEDGER, release.
    KxStoreRelease(mKept, reinterpret_cast<std::uintptr_t>(kept));
    return true;
}

} // namespace CrashLog
} // namespace HSL
