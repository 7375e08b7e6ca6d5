// Front door of the logger.
//
//     HSL::CLogManager::Initialize();
//     HSL::LogManager()->SetEnable(true);
//     HSL::LogManager()->SetFilterValue(3, true);   // level "Info"
//     HSL::HSLog(HSL::CCat(3), "%d files opened", 42);
//     HSL::CLogManager::Cleanup();                  // outputs what is left
#ifndef HSLOG_HSL_H
#define HSLOG_HSL_H

#include "HSLCat.h"
#include "HSLCollectionThread.h"
#include "HSLLogContext.h"
#include "HSLLogManager.h"
#include "HSLValue.h"

namespace HSL {

// The module's manager; null before CLogManager::Initialize.
inline CLogManager* LogManager()
{
    return CLogManager::Instance();
}

// Logs to the calling thread's context; returns at once while there is no manager or it is switched off. More
// values, and format ids, are for CLogContext::Log on LogManager()->GetTLSContext().
[[gnu::always_inline]] inline void HSLog(const CCat& cat, const char* format)
{
    if (CLogManager::IsEnabled()) {
        LogManager()->GetTLSContext()->Log(cat, format);
    }
}

[[gnu::always_inline]] inline void HSLog(const CCat& cat, const char* format, const CValue& value)
{
    if (CLogManager::IsEnabled()) {
        LogManager()->GetTLSContext()->Log(cat, format, value);
    }
}

} // namespace HSL

#endif
