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

// The same for a message of one category. The filter is asked first, so that a refused call has nothing to
// remember while the context is looked up; it is made all the same.
void CLogContext::LogPlainOnThisThread(unsigned char code, const char* format)
{
    CLogManager* manager = CLogManager::Instance();
    if (manager->GetFilterValue(code)) {
        LogPassed(manager, code, format);
    } else {
        manager->GetTLSContext();
    }
}

void CLogContext::LogPlainOnThisThread(unsigned char code, const char* format, unsigned char type,
                                       unsigned long long content)
{
    CLogManager* manager = CLogManager::Instance();
    if (manager->GetFilterValue(code)) {
        LogPassed(manager, code, format, type, content);
    } else {
        manager->GetTLSContext();
    }
}

void CLogContext::LogPassed(CLogManager* manager, unsigned char code, const char* format)
{
    CLogContext* context = manager->GetTLSContext();
    const int sequence = KxAtomicAdd32Barrier(1, &manager->mSequence);
    context->RecordMeasured(code, sequence, MeasureFormat(format));
}

void CLogContext::LogPassed(CLogManager* manager, unsigned char code, const char* format, unsigned char type,
                            unsigned long long content)
{
    CLogContext* context = manager->GetTLSContext();
    const int sequence = KxAtomicAdd32Barrier(1, &manager->mSequence);
    context->RecordMeasured(code, sequence, MeasureFormat(format), MeasureContent(type, content));
}

} // namespace HSL
