#include "HSL.h"

namespace HSL {

CLogManager* LogManager()
{
    return CLogManager::Instance();
}

void CLogContext::LogOnThisThread(const CCat& cat, const char* format)
{
    if (cat.mCount == 1) {
        LogPlainOnThisThread(cat.mCodes[0], format);
    } else {
        CLogManager::Instance()->GetTLSContext()->Log(cat, format);
    }
}

void CLogContext::LogOnThisThread(const CCat& cat, const char* format, const CValue& value)
{
    if (cat.mCount == 1) {
        LogPlainOnThisThread(cat.mCodes[0], format, value.mType, ContentOf(value));
    } else {
        CLogManager::Instance()->GetTLSContext()->Log(cat, format, value);
    }
}

// The same for a message of one category. What becomes of a message that passes is a function of its own, so
// that a refused one keeps little while the thread's context is looked up.
void CLogContext::LogPlainOnThisThread(unsigned char code, const char* format)
{
    CLogManager* manager = CLogManager::Instance();
    CLogContext* context = manager->GetTLSContext();
    if (manager->GetFilterValue(code)) {
        context->LogPassed(manager, code, format);
    }
}

void CLogContext::LogPlainOnThisThread(unsigned char code, const char* format, unsigned char type,
                                       unsigned long long content)
{
    CLogManager* manager = CLogManager::Instance();
    CLogContext* context = manager->GetTLSContext();
    if (manager->GetFilterValue(code)) {
        context->LogPassed(manager, code, format, type, content);
    }
}

void CLogContext::LogPassed(CLogManager* manager, unsigned char code, const char* format)
{
    const int sequence = KxAtomicAdd32Barrier(1, &manager->mSequence);
    RecordMeasured(code, sequence, MeasureFormat(format));
}

void CLogContext::LogPassed(CLogManager* manager, unsigned char code, const char* format, unsigned char type,
                            unsigned long long content)
{
    const int sequence = KxAtomicAdd32Barrier(1, &manager->mSequence);
    RecordMeasured(code, sequence, MeasureFormat(format), MeasureContent(type, content));
}

} // namespace HSL
