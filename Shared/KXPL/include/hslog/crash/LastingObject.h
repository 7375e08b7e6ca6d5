// A shared memory object that holds a process's log, and who owns it.
#ifndef HSLOG_CRASH_LASTING_OBJECT_H
#define HSLOG_CRASH_LASTING_OBJECT_H

#include "platform/KxSharedObjects.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace HSL {
namespace CrashLog {

// To be raised with every change of this, of the ledger or of the kept lines.
constexpr std::uint32_t kLastingLayout = 3;
constexpr std::size_t kLastingHeaderBytes = 4096;
constexpr std::size_t kProductBytes = 256;

// At the start of the object; the rest is told by the ledger.
struct LastingHeader {
    static constexpr std::uint64_t kMark = 0x676E697473614C48;

    std::uint64_t mMark; // stored last
    std::uint32_t mByteOrder;
    std::uint32_t mLayout;
    std::uint32_t mLedgerSize; // of the struct
    std::uint32_t mBytes;      // of the object
    std::uint8_t mPointerSize;
    std::uint8_t mLongSize;
    std::uint8_t mUnused[6];
    std::int64_t mStarted; // seconds since 1970
    std::uint64_t mBase;   // where the object lay in its process
    std::uint64_t mLedger; // where the ledger did, 0 for none
    std::int32_t mProcess;
    char mProduct[kProductBytes]; // terminated
};
static_assert(sizeof(LastingHeader) <= kLastingHeaderBytes, "it has that much room");

// The object of this process. The system's calls that it makes are those of KxSharedObjects.h, mmap and flock.
struct LastingObject {
    // Makes, locks and maps an object whose first bytes, the header's, are filled in. An error number, or 0.
    int Make(const char* product, std::size_t bytes);
    // For the child of a fork: puts memory of its own in the object's place and closes it, so that neither what the
    // child does there nor its life is taken for the parent's.
    void LeaveToParent();
    // Nobody will find it any more. Whoever still uses the memory can.
    void Remove();
    void Unmap();

    LastingHeader* Header() const { return reinterpret_cast<LastingHeader*>(mMemory); }
    bool Holds(const void* address) const
    {
        const unsigned char* at = static_cast<const unsigned char*>(address);
        return at >= mMemory && at < mMemory + mBytes;
    }

    unsigned char* mMemory = nullptr;
    std::size_t mBytes = 0;
    int mEntry = -1;
    int mObject = -1;
    char mName[KXPL::kLongestSharedName + 1] = {};

private:
    int Map(const char* product, std::int64_t started);
    void Close();
};

// Names of objects of the product that this user may have made, oldest first. False when they cannot be listed.
bool listLastingObjects(const char* product, std::vector<std::string>& names);

// An object that no process uses, held for as long as this lives.
class DeadObject {
public:
    explicit DeadObject(const std::string& name);
    ~DeadObject();

    DeadObject(const DeadObject&) = delete;
    DeadObject& operator=(const DeadObject&) = delete;

    // It is this user's and nobody else's, and the process that made it has ended.
    bool IsDead() const { return mIsDead; }
    // All of its bytes. False when they cannot be read or are too many to have been made by Make.
    bool Read(std::string& image) const;
    void Remove();

private:
    bool IsOwn() const;

    std::string mName;
    int mEntry;
    bool mIsDead = false;
};

} // namespace CrashLog
} // namespace HSL

#endif
