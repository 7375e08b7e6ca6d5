#include "HSLCat.h"

#include "HSLLogManager.h"
#include "hslog/record/HSLRecord.h"

namespace HSL {
namespace {

const char* const kLevelNames[] = { "Ultra Verbose", "Verbose", "Chatty",     "Info",
                                    "Warning",       "Error",   "Catastrophy" };

} // namespace

void CCat::Initialize()
{
    CLogManager* manager = CLogManager::Instance();
    unsigned char code = 0;
    for (const char* name : kLevelNames) {
        manager->SetCategoryName(code, name);
        ++code;
    }
}

void CCat::Cleanup() { }

int CCat::Serialize(CCircularBuffer* buffer) const
{
    Writes writes { *buffer };
    VisitCategories(writes, UsableCount(), mCodes);
    return 0;
}

} // namespace HSL
