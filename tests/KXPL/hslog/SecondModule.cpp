// A plug-in that brings its own copy of the logger and lets the host's manager serve it.
#include "FunctionThread.h"
#include "hslog/HSL.h"

#include <thread>

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED bool module_has_manager()
{
    return HSL::CLogManager::IsInitialized();
}

EXPORTED void module_adopt(HSL::CLogManager* manager)
{
    HSL::CLogManager::Initialize(manager);
}

EXPORTED void module_log(int value)
{
    HSL::HSLog(HSL::CCat(3), "module %d", value);
}

EXPORTED void module_log_on_thread_object(int value)
{
    FunctionThread([value] { module_log(value); }).runToEnd();
}

EXPORTED void module_log_on_plain_thread(int value)
{
    std::thread([value] { module_log(value); }).join();
}

EXPORTED void module_cleanup()
{
    HSL::CLogManager::Cleanup();
}
