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
CLogManager* LogManager();

// Logs to the calling thread's context; returns at once while there is no manager or it is switched off: only that
// question becomes part of the calling code. More values, and format ids, are for CLogContext::Log on
// LogManager()->GetTLSContext(). That is also faster: all of it becomes part of the calling code, which knows the
// types of the values.
HSL_AT_CALL inline void HSLog(const CCat& cat, const char* format)
{
    if (CLogManager::IsEnabled()) {
        CLogContext::LogOnThisThread(cat, format);
    }
}

HSL_AT_CALL inline void HSLog(const CCat& cat, const char* format, const CValue& value)
{
    if (CLogManager::IsEnabled()) {
        CLogContext::LogOnThisThread(cat, format, value);
    }
}

} // namespace HSL

#endif
