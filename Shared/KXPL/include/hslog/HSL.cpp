#include "HSL.h"

namespace HSL {

CLogManager* LogManager()
{
    return CLogManager::Instance();
}

void CLogContext::LogOnThisThread(const CCat& cat, const char* format)
{
    if (cat.mCount == 1) {
        if (CLogContext* context = OfThisThreadIfPassed(cat.mCodes[0])) {
            context->LogPassed(cat.mCodes[0], format);
        }
    } else {
        CLogManager::Instance()->GetTLSContext()->Log(cat, format);
    }
}

void CLogContext::LogOnThisThread(const CCat& cat, const char* format, const CValue& value)
{
    if (cat.mCount == 1) {
        if (CLogContext* context = OfThisThreadIfPassed(cat.mCodes[0])) {
            context->LogPassed(cat.mCodes[0], format, value.mType, ContentOf(value));
        }
    } else {
        CLogManager::Instance()->GetTLSContext()->Log(cat, format, value);
    }
}

// The context first, also for a message that is refused: a thread's first call makes it.
CLogContext* CLogContext::OfThisThreadIfPassed(unsigned char code)
{
    CLogManager* manager = CLogManager::Instance();
    CLogContext* context = manager->GetTLSContext();
    return manager->GetFilterValue(code) ? context : nullptr;
}

void CLogContext::LogPassed(unsigned char code, const char* format)
{
    const int sequence = KxAtomicAdd32Barrier(1, &CLogManager::Instance()->mSequence);
    RecordMeasured(code, sequence, MeasureFormat(format));
}

void CLogContext::LogPassed(unsigned char code, const char* format, unsigned char type,
                            unsigned long long content)
{
    const int sequence = KxAtomicAdd32Barrier(1, &CLogManager::Instance()->mSequence);
    RecordMeasured(code, sequence, MeasureFormat(format), MeasureContent(type, content));
}

} // namespace HSL
