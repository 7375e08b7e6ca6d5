// Makes a record that would not be whole fit into what the ring has left, by cutting its texts. For guarded managers.
#ifndef HSLOG_HSL_RECORD_CUT_H
#define HSLOG_HSL_RECORD_CUT_H

#include "HSLRecord.h"

namespace HSL {

using detail::kMostValues;

constexpr unsigned int kCutMarkUnits = 3; // "..." behind what is left of a text

// Bytes of a dropped-messages record of any category.
constexpr unsigned int kDroppedRecordSize = HeaderSize(CCat::kMaxCodes) + 3 + sizeof kDroppedText - 1 + 1;

// How many bytes of each field's text are written. Field 0 is the format, 1 to 10 are the values.
class CRecordCuts {
public:
    // Leaves everything as it is.
    CRecordCuts() = default;

    // Cuts the longest texts first, between characters, so that the record takes at most `room` bytes and leaves
    // kDroppedRecordSize of them. A record that fits as it is stays so. False: it does not fit without any text.
    bool Fit(unsigned int room, const AnyField* fields, int count);

    // VisitMessage, with each text as far as it is kept, and the mark where it was cut.
    void Write(CCircularBuffer& buffer, const AnyField* fields, int count) const;

private:
    void WriteText(Writes& writes, int which, const AnyField& field) const;

    bool mIsCut[kMostValues + 1] = {};
    unsigned int mKept[kMostValues + 1] = {}; // bytes, of the texts that are cut
};

} // namespace HSL

#endif
