// Front door of the logger.
//
//     HSL::CLogManager::Initialize();
//     HSL::LogManager()->SetEnable(true);
//     HSL::LogManager()->SetFilterValue(3, true);   // level "Info"
//     HSL::HSLog(HSL::CCat(3), "%d files opened", 42);
//     HSL::CLogManager::Cleanup();                  // outputs what is left
#ifndef HSLOG_HSL_H
#define HSLOG_HSL_H

#include "../detail/KxHost.h"

#include "HSLCat.h"
#include "HSLCollectionThread.h"
#include "HSLLogContext.h"
#include "HSLLogManager.h"
#include "HSLValue.h"

namespace HSL {

// The module's manager; null before CLogManager::Initialize.
CLogManager* LogManager();

// Logs to the calling thread's context; returns at once while there is no manager or it is switched off. Only
// the questions for the switch and for the filter become part of the calling code; the rest are functions of
// the library. More values, and format ids, are for CLogContext::Log on LogManager()->GetTLSContext(), which
// becomes part of the calling code altogether and is quicker for it.
//
// Throws nothing: where there is no memory for a thread's first call to make its context, the message counts as
// dropped and leaves a gap in the numbers, and the thread's next call tries again. GetTLSContext itself throws
// std::bad_alloc.
//
// The arguments are looked at in front of the switch, whose acquire would make the compiler store them and look
// anew; behind it they are handed on in registers, if their kinds are known by then, and only if the filter
// lets the message pass.
HSL_AT_CALL inline void HSLog(const CCat& cat, const char* format)
{
    const bool isPlain = detail::IsPlainHere(cat);
    const unsigned char code = cat.mCodes[0];
    if (CLogManager::IsEnabled()) {
        if (isPlain) {
            if (CLogContext* context = CLogContext::OfThisThreadIfPassed(code)) {
                context->LogPassed(code, format);
            }
        } else {
            CLogContext::LogOnThisThread(cat, format);
        }
    }
}

// The same with one value.
HSL_AT_CALL inline void HSLog(const CCat& cat, const char* format, const CValue& value)
{
    const bool isPlain = detail::IsPlainHere(cat) && detail::IsTypeKnownHere(value);
    const unsigned char code = cat.mCodes[0];
    const unsigned char type = value.mType;
    const unsigned long long content = detail::ContentOf(value);
    if (CLogManager::IsEnabled()) {
        if (isPlain) {
            if (CLogContext* context = CLogContext::OfThisThreadIfPassed(code)) {
                context->LogPassed(code, format, type, content);
            }
        } else {
            CLogContext::LogOnThisThread(cat, format, value);
        }
    }
}

} // namespace HSL

#endif
