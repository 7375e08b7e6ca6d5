#include <hslog/HSL.h>

int main()
{
    HSL::CLogManager::Initialize();             // 1 the manager and its thread
    HSL::LogManager()->SetEnable(true);         // 2 the switch
    HSL::LogManager()->SetFilterValue(3, true); // 3 the level "Info"

    HSL::HSLog(HSL::CCat(3), "%d files opened", 42);
    HSL::CLogContext* log = HSL::LogManager()->GetTLSContext();
    log->Log(3, "%s took %.1f ms", "layout", 7.25);

    HSL::CLogManager::Cleanup(); // outputs what is left
}
