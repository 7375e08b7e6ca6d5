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

// Logs to the calling thread's context; returns at once while there is no manager or it is switched off. More
// values, and format ids, are for CLogContext::Log on LogManager()->GetTLSContext(). That is also faster: it
// becomes part of the calling code, which knows the types of the values, while these two are functions.
void HSLog(const CCat& cat, const char* format);
void HSLog(const CCat& cat, const char* format, const CValue& value);

} // namespace HSL

#endif
