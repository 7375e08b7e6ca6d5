#ifndef HSLOG_DETAIL_HSL_TAKEN_NUMBER_H
#define HSLOG_DETAIL_HSL_TAKEN_NUMBER_H

#include "../../detail/KxHost.h"

namespace HSL {

// A record whose marker and number were taken off a ring while the rest is still there.
struct CTakenNumber {
    unsigned int mOffset; // the read position behind the two; 0 for none
    int mNumber;
};

} // namespace HSL

#endif
