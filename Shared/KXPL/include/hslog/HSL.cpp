#include "HSL.h"

namespace HSL {

CLogManager* LogManager()
{
    return CLogManager::Instance();
}

void HSLog(const CCat& cat, const char* format)
{
    if (CLogManager::IsEnabled()) {
        LogManager()->GetTLSContext()->Log(cat, format);
    }
}

void HSLog(const CCat& cat, const char* format, const CValue& value)
{
    if (CLogManager::IsEnabled()) {
        LogManager()->GetTLSContext()->Log(cat, format, value);
    }
}

} // namespace HSL
