// What a crash log's writer sees of a context's ring.
#ifndef HSLOG_CRASH_RING_NOW_H
#define HSLOG_CRASH_RING_NOW_H

#include "CrashLedger.h"
#include "CrashLogFormat.h"

#include "CircularBuffer.h"

#include <cstddef>
#include <cstdint>

namespace HSL {
namespace CrashLog {

// A ring at one moment, also while a pass goes on.
struct RingNow {
    // Of the slot that lies at an address. `Source` is told in CrashLogWriter.h.
    template <typename Source>
    static RingNow Read(const Source& source, const LedgerSlot& slot, std::uintptr_t at);

    // The offset of every ring's first slot.
    static std::uint32_t FirstSlot() { return cb_calc_buffer_size(1, 0) - 1; }

    // Whether the writer has the oldest record's marker and number back already, and `taken` tells the number.
    bool IsNumberTaken() const { return taken.mOffset != 0 && taken.mOffset == control.read_offset; }

    // The offset at which the oldest record begins, or would if all of it were still there: perhaps in front of the
    // first slot.
    std::uint32_t Begin() const { return control.read_offset - (IsNumberTaken() ? kMarkerAndNumber : 0); }

    // Bytes from the oldest record of an earlier moment to this one's; no pass may have taken more than lay there.
    std::uint32_t TakenSince(const RingNow& then) const
    {
        const std::uint32_t from = then.control.read_offset;
        const std::uint32_t to = control.read_offset;
        if (from == to) {
            return 0;
        }
        const std::uint32_t moved = to > from ? to - from : to - from + control.num_elem + 1;
        return moved + (from - then.Begin()) - (to - Begin());
    }

    cb_control control = {};
    detail::TakenNumber taken = {};
    RingProblem problem = kRingWhole; // unless whole, only `control` may be looked at

private:
    static constexpr std::uint32_t kMarkerAndNumber = 5; // bytes
    // A pass moves a read position once for each line that it outputs; a look takes some microseconds.
    static constexpr int kMostLooks = 100;

    // Whether the positions of a ring of single bytes agree with one another and with the memory that it was made in.
    bool IsSound(std::uint32_t capacity) const
    {
        const std::uint32_t first = FirstSlot();
        return control.elem_size == 1 && control.num_elem == capacity && control.start_offset == first
            && control.end_offset == first + capacity && control.read_offset >= first
            && control.read_offset <= control.end_offset && control.write_offset >= first
            && control.write_offset <= control.end_offset;
    }
};

// The pass stores the number, then its position, then the read position. While the latter stays the same the noted
// position cannot become it, and a number that goes with it cannot change.
//
// Pair TAKEN-NUMBER, acquire: each of the three is copied by a later call of the system than the one before.
template <typename Source>
RingNow RingNow::Read(const Source& source, const LedgerSlot& slot, std::uintptr_t at)
{
    RingNow now;
    if (slot.mControl == 0) {
        now.problem = kRingMissing;
        return now;
    }
    cb_control again = {};
    for (int looks = 0; looks < kMostLooks; ++looks) {
        if (!source.Read(&now.control, slot.mControl, sizeof now.control)
            || !source.Read(&now.taken, at + offsetof(LedgerSlot, mTaken), sizeof now.taken)
            || !source.Read(&again, slot.mControl, sizeof again)) {
            now = RingNow();
            now.problem = kRingUnreadable;
            return now;
        }
        if (again.read_offset == now.control.read_offset) {
            break;
        }
    }
    now.problem = now.IsSound(slot.mCapacity) ? kRingWhole : kRingDamaged;
    return now;
}

} // namespace CrashLog
} // namespace HSL

#endif
