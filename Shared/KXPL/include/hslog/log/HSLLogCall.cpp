// What the calls of HSLLog.h need not have at the place of the call.
#include "hslog/detail/HSLLogCall.h"

#include <cstring>

namespace HSL {
namespace detail {

CLogManager* LogCall::ManagerIfOn(const CCat& cat)
{
    CLogManager* manager = CLogManager::Instance();
    const bool isOn = manager != nullptr && KxLoadRelaxed(manager->mEnabled)
        && manager->PassesFilter(cat.UsableCount(), cat.mCodes);
    return isOn ? manager : nullptr;
}

CLogContext* LogCall::ContextOfThisThread(CLogManager& manager)
{
    return manager.GetTLSContext();
}

std::size_t LogCall::Choose(char* to, const char* format, std::size_t length, const Choice* choices,
                            std::size_t count)
{
    std::size_t size = 0;
    std::size_t taken = 0;
    const auto take = [&](std::size_t end) {
        std::memcpy(to + size, format + taken, end - taken);
        size += end - taken;
    };
    for (std::size_t i = 0; i < count; ++i) {
        const Choice& choice = choices[i];
        if (choice.mEmpty != nullptr) {
            take(choice.mAt);
            std::memcpy(to + size, choice.mEmpty, choice.mEmptyLength);
            size += choice.mEmptyLength;
            taken = choice.mAt + choice.mLength;
        }
    }
    take(length);
    return size;
}

void LogCall::RecordChosen(CLogManager& manager, const CCat& cat, const AnyField* fields, int count)
{
    if (CLogContext* context = ContextOfThisThread(manager)) {
        context->RecordFields(cat, KxAtomicAdd32Barrier(1, &manager.mSequence), fields, count);
    }
}

} // namespace detail
} // namespace HSL
