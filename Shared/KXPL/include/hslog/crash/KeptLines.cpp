#include "CrashLedger.h"
#include "CrashLogFormat.h"

#include "KxShortBytes.h"
#include "detail/KxAtomic.h"

#include <algorithm>
#include <cstring>

namespace HSL {
namespace CrashLog {
namespace {

// So that an entry's size never wraps.
std::uint64_t inUnits(std::uint64_t size)
{
    return (size + kLineUnit - 1) / kLineUnit * kLineUnit;
}

} // namespace

void KeptLines::Cut(KeptLineHead& head) const
{
    const std::uint32_t most = mSize / 2 - static_cast<std::uint32_t>(sizeof head); // whole units
    head.mNameLength = std::min(head.mNameLength, most / 2);
    head.mMessageLength = std::min(head.mMessageLength, most - head.mNameLength);
}

// Overwritten entries are let go before a byte of them changes, and an entry counts once all of it lies there.
// The reader looks at mBegin once more when it has read. Partner: the crash log's writer, which reads through
// the system.
void KeptLines::MakeRoom(std::uint32_t size)
{
    const std::uint32_t wanted = std::max(size, mSize / kSharesDropped);
    const std::uint32_t end = mEnd;
    std::uint32_t begin = mBegin;
    while (mSize - (end - begin) < wanted) {
        std::uint32_t oldest;
        std::memcpy(&oldest, Bytes() + (begin & (mSize - kLineUnit)), sizeof oldest);
        // A host that overwrites its memory must not make the pass go on for ever.
        const bool isSound = oldest >= sizeof(KeptLineHead) && oldest <= end - begin && oldest % kLineUnit == 0;
        begin = isSound ? begin + oldest : end;
    }
    // A barrier: no byte of a line changes before the line has been let go.
    KxAtomicAdd32Barrier(static_cast<int>(begin - mBegin), reinterpret_cast<int*>(&mBegin));
}

// Nearly always the line finds room, in one piece. The rest is apart, so that this needs few registers.
void KeptLines::Append(KeptLineHead& head, const char* name, const char* message)
{
    const std::uint32_t end = mEnd;
    const std::uint32_t at = end & (mSize - 1);
    const std::uint64_t size = inUnits(sizeof head + std::uint64_t { head.mNameLength } + head.mMessageLength);
    if (size > mSize - (end - mBegin) || size > mSize - at || size > mSize / 2) {
        return AppendSlowly(head, name, message);
    }
    head.mSize = static_cast<std::uint32_t>(size);
    unsigned char* const to = Bytes() + at;
    std::memcpy(to, &head, sizeof head);
    KXPL::copyShort(to + sizeof head, name, head.mNameLength);
    KXPL::copyShort(to + sizeof head + head.mNameLength, message, head.mMessageLength);
    // Pair CRASH-LEDGER, release.
    KxStoreRelease(mEnd, end + head.mSize);
}

void KeptLines::AppendSlowly(KeptLineHead& head, const char* name, const char* message)
{
    const auto size = [&head] {
        return inUnits(sizeof head + std::uint64_t { head.mNameLength } + head.mMessageLength);
    };
    if (size() > mSize / 2) {
        Cut(head);
    }
    head.mSize = static_cast<std::uint32_t>(size());
    if (head.mSize > mSize - (mEnd - mBegin)) {
        MakeRoom(head.mSize);
    }
    const std::uint32_t end = mEnd;
    Put(end, &head, sizeof head);
    Put(end + static_cast<std::uint32_t>(sizeof head), name, head.mNameLength);
    Put(end + static_cast<std::uint32_t>(sizeof head) + head.mNameLength, message, head.mMessageLength);
    // Pair CRASH-LEDGER, release.
    KxStoreRelease(mEnd, end + head.mSize);
}

void KeptLines::Put(std::uint32_t position, const void* bytes, std::size_t size)
{
    const std::size_t at = position & (mSize - 1);
    const std::size_t first = std::min<std::size_t>(size, mSize - at);
    std::memcpy(Bytes() + at, bytes, first);
    std::memcpy(Bytes(), static_cast<const unsigned char*>(bytes) + first, size - first);
}

} // namespace CrashLog
} // namespace HSL
