#include "HSL.h"

namespace HSL {

CLogManager* LogManager()
{
    return CLogManager::Instance();
}

namespace {

// PassesFilter, without a loop for a message of one category, as nearly all are.
bool passes(CLogManager* manager, const CCat& cat)
{
    return cat.mCount == 1 ? manager->GetFilterValue(cat.mCodes[0])
                           : manager->PassesFilter(cat.UsableCount(), cat.mCodes);
}

} // namespace

// The filter is asked first, so that a refused call has nothing to remember while the context is looked up. The
// context is made all the same.
void CLogContext::LogOnThisThread(const CCat& cat, const char* format)
{
    CLogManager* manager = CLogManager::Instance();
    if (passes(manager, cat)) {
        LogPassed(manager, cat, format);
    } else {
        manager->GetTLSContext();
    }
}

void CLogContext::LogOnThisThread(const CCat& cat, const char* format, const CValue& value)
{
    CLogManager* manager = CLogManager::Instance();
    if (passes(manager, cat)) {
        LogPassed(manager, cat, format, value);
    } else {
        manager->GetTLSContext();
    }
}

void CLogContext::LogPassed(CLogManager* manager, const CCat& cat, const char* format)
{
    CLogContext* context = manager->GetTLSContext();
    const int sequence = KxAtomicAdd32Barrier(1, &manager->mSequence);
    context->RecordMeasured(cat, sequence, MeasureFormat(format));
}

void CLogContext::LogPassed(CLogManager* manager, const CCat& cat, const char* format, const CValue& value)
{
    CLogContext* context = manager->GetTLSContext();
    const int sequence = KxAtomicAdd32Barrier(1, &manager->mSequence);
    context->RecordMeasured(cat, sequence, MeasureFormat(format), MeasureValue(value));
}

} // namespace HSL
