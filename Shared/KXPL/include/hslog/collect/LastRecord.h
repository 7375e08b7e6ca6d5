// The time from which the next line's delta is measured.
#ifndef HSLOG_COLLECT_LAST_RECORD_H
#define HSLOG_COLLECT_LAST_RECORD_H

namespace HSL {

struct RecordTime {
    unsigned int mSeconds; // 0: the next delta is zero
    unsigned int mMicroseconds;
};

// Of the record that a pass of this module processed last. Reads two numbers and nothing else, at any time; in
// the middle of a pass they may be of two records.
RecordTime lastRecordTime();

} // namespace HSL

#endif
