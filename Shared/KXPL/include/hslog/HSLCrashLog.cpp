// The crash log's writer. What it may call and touch is told in the header.
#include "HSLCrashLog.h"

#include "HSLLogManager.h"
#include "hslog/crash/CrashLedger.h"
#include "hslog/crash/CrashLogWriter.h"
#include "hslog/crash/SafeMemory.h"

#include <cstddef>
#include <cstdint>

#include <errno.h>
#include <unistd.h>

namespace HSL {
namespace CrashLog {
namespace {

// This process, through the system.
class Living {
public:
    explicit Living(int file)
        : mFile(file)
    {
    }

    bool IsOpen() const { return mMemory.IsOpen(); }
    bool Read(void* to, std::uintptr_t from, std::size_t size) const { return mMemory.Read(to, from, size); }
    ssize_t Put(const void* bytes, std::size_t size) { return write(mFile, bytes, size); }
    ssize_t PutFrom(std::uintptr_t from, std::size_t size)
    {
        return write(mFile, reinterpret_cast<const void*>(from), size);
    }
    std::int32_t Process() const { return static_cast<std::int32_t>(getpid()); }

private:
    int mFile;
    SafeMemory mMemory;
};

} // namespace
} // namespace CrashLog

int WriteCrashLog(int file)
{
    const int errorBefore = errno;
    CrashLog::Living living(file);
    // The manager's ledger or, should the manager have been overwritten, the newest.
    std::uintptr_t candidates[] = { 0, 0 };
    const CLogManager* manager = CLogManager::Instance();
    if (manager != nullptr) {
        living.Read(&candidates[0], reinterpret_cast<std::uintptr_t>(&manager->mLedger), sizeof candidates[0]);
        candidates[1] = CrashLog::gNewestLedger;
    }
    const int result = CrashLog::Writer<CrashLog::Living>(living).Run(candidates);
    errno = errorBefore;
    return result;
}

bool KeepLines(unsigned int bytes)
{
    CrashLog::gKeptBytes = bytes;
    CLogManager* manager = CLogManager::Instance();
    if (manager == nullptr) {
        return true; // the manager will ask for the memory
    }
    const KxLockGuard guard(manager->mLock);
    return manager->mLedger != nullptr && manager->mLedger->KeepLines(bytes);
}

} // namespace HSL
