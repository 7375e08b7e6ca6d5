#include "HSL.h"

#include "hslog/record/HSLRecord.h"

#include <new>

namespace HSL {
namespace {

// The calling thread's context. Null where there is no memory for one: a message must not cost the host an
// exception. One that would have passed then counts as dropped: it takes a number, and the gap tells of it.
CLogContext* contextOrDrop(CLogManager& manager, unsigned char count, const unsigned char* codes)
{
    try {
        return manager.GetTLSContext();
    } catch (const std::bad_alloc&) {
        if (manager.PassesFilter(count, codes)) {
            KxAtomicAdd32Barrier(1, &manager.mSequence);
        }
        return nullptr;
    }
}

} // namespace

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
    } else if (CLogContext* context = contextOrDrop(*CLogManager::Instance(), cat.UsableCount(), cat.mCodes)) {
        context->Log(cat, format);
    }
}

void CLogContext::LogOnThisThread(const CCat& cat, const char* format, const CValue& value)
{
    if (cat.mCount == 1) {
        if (CLogContext* context = OfThisThreadIfPassed(cat.mCodes[0])) {
            context->LogPassed(cat.mCodes[0], format, value.mType, detail::ContentOf(value));
        }
    } else if (CLogContext* context = contextOrDrop(*CLogManager::Instance(), cat.UsableCount(), cat.mCodes)) {
        context->Log(cat, format, value);
    }
}

// The context first, also for a message that is refused: a thread's first call makes it.
CLogContext* CLogContext::OfThisThreadIfPassed(unsigned char code)
{
    CLogManager* manager = CLogManager::Instance();
    CLogContext* context = contextOrDrop(*manager, 1, &code);
    return manager->GetFilterValue(code) ? context : nullptr;
}

void CLogContext::LogPassed(unsigned char code, const char* format)
{
    const int sequence = KxAtomicAdd32Barrier(1, &CLogManager::Instance()->mSequence);
    RecordTyped(code, sequence, detail::Typed::Format(format));
}

void CLogContext::LogPassed(unsigned char code, const char* format, unsigned char type,
                            unsigned long long content)
{
    const int sequence = KxAtomicAdd32Barrier(1, &CLogManager::Instance()->mSequence);
    RecordTyped(code, sequence, detail::Typed::Format(format), Measured(type, content));
}

} // namespace HSL
