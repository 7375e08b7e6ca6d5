// The categories of a message; in practice its level.
#ifndef HSLOG_HSL_CAT_H
#define HSLOG_HSL_CAT_H

#include "../detail/KxHost.h"

class CCircularBuffer;

namespace HSL {

// Codes 0 to 6 are the levels "Ultra Verbose", "Verbose", "Chatty", "Info", "Warning", "Error" and
// "Catastrophy" (so spelled). A message passes the filter when any one of its codes is enabled.
class CCat {
public:
    // A record carries at most this many codes; the collector keeps no more.
    static constexpr int kMaxCodes = 10;

    // Of one code. Implicit, so that a call may name the bare code.
    CCat(unsigned char code)
        : mCount(1)
        , mCodes { code }
    {
    }
    ~CCat() = default;

    // Copies are the same.
    CCat(const CCat&) = default;
    CCat& operator=(const CCat&) = default;

    // Registers the level names with the manager, which must exist. Called by CLogManager::Initialize.
    static void Initialize();
    // No effect. Called by the manager's destructor.
    static void Cleanup();

    // Appends the count and the codes; always 0. A count above kMaxCodes is written as kMaxCodes.
    int Serialize(CCircularBuffer* buffer) const;

    // Number of codes that count: mCount, at most kMaxCodes.
    unsigned char UsableCount() const { return mCount < kMaxCodes ? mCount : kMaxCodes; }

    unsigned char mCount;            // of codes; see UsableCount
    unsigned char mCodes[kMaxCodes]; // the first mCount of them are set
};

} // namespace HSL

#endif
