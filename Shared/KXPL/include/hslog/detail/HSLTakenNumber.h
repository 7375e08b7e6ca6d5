#ifndef HSLOG_DETAIL_HSL_TAKEN_NUMBER_H
#define HSLOG_DETAIL_HSL_TAKEN_NUMBER_H

#include "../../detail/KxHost.h"

namespace HSL {
namespace detail {

// A record whose marker and number were taken off a ring while the rest is still there.
struct TakenNumber {
    unsigned int mOffset; // the read position behind the two; 0 for none
    int mNumber;
};

} // namespace detail
} // namespace HSL

#endif
