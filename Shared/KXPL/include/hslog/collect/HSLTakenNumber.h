// What a pass knows of a record whose marker and number it has given back to the ring's writer.
//
// A pass takes the number of each context's next record ahead of the rest, and the writer gets those five bytes back at
// once. Whoever looks at a ring meanwhile, after a crash or in a pass that follows one that was left early, would take
// the rest for the beginning of a record. So the pass notes the number and the read position behind it, in this order,
// and only then moves the read position there:
//
//     read position is the noted one:  the number is the noted one, and the record goes on there;
//     it is any other one:             a record begins there.
//
// That holds behind each of the stores, wherever a crash comes. While a note is made the read position, P, is the
// beginning of a record, and the position noted before is that behind the number of an earlier record of the pass. The
// read position has moved on from there, by 13 bytes at least, as so many follow a number, and by less than the ring
// has slots, as all records of a pass lie in the ring when it begins. So it is another slot.
//
//     the first store, of the number     The noted position is still the earlier record's: not P.
//     the second, of the position        It is P + 5: not P.
//     the third, of the read position    Both are P + 5, and the number is that record's.
//     the one at the record's end        The read position is that end: not P + 5, for the same two reasons.
//
// A pass that comes to its end forgets its notes; one that is left early leaves them to the next. Whoever moves a read
// position otherwise forgets the note first. What was misread may end anywhere; where it ends at the noted position the
// note is forgotten.
//
// Each store is a release, so that they become visible in this order on every processor.
#ifndef HSLOG_COLLECT_HSL_TAKEN_NUMBER_H
#define HSLOG_COLLECT_HSL_TAKEN_NUMBER_H

#include "hslog/detail/HSLTakenNumber.h"
#include "hslog/record/HSLRecordReader.h"

#include "detail/KxAtomic.h"

namespace HSL {

// Notes the number that was taken last and hands all that was taken back to the writer.
inline void publishNumber(detail::TakenNumber& taken, RingCursor& ring, int number)
{
    // Pair TAKEN-NUMBER, release: behind the end of the record before.
    KxStoreRelease(taken.mNumber, number);
    // Pair TAKEN-NUMBER, release: the number is this position's.
    KxStoreRelease(taken.mOffset, ring.Offset());
    ring.Publish();
}

// Precondition: the read position is the beginning of a record, or what lies there makes none.
inline void forgetNumber(detail::TakenNumber& taken)
{
    // Pair TAKEN-NUMBER, release: in front of the read position's next store.
    KxStoreRelease(taken.mOffset, 0u);
}

// Whether the number of the record at the read position was taken by a pass that was left early.
inline bool isNumberTaken(const detail::TakenNumber& taken, const RingCursor& ring)
{
    return taken.mOffset != 0 && taken.mOffset == ring.Offset();
}

} // namespace HSL

#endif
