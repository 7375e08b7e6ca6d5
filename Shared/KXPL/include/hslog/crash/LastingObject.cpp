#include "LastingObject.h"

#include "CrashLedger.h"
#include "CrashLogFormat.h"

#include "detail/KxAtomic.h"
#include "hslog/HSLLastingLog.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace HSL {
namespace CrashLog {
namespace {

constexpr int kAttempts = 100;
constexpr std::size_t kLongestLabel = 64;

// What the names of all objects of the product and this user begin with: readable, and, as different products may look
// the same then, with a number made of all of it (FNV-1a).
std::string nameBeginning(const char* product)
{
    std::uint32_t hash = 2166136261u;
    std::string label;
    for (const char* at = product; *at != 0 && at < product + kProductBytes - 1; ++at) {
        hash = (hash ^ static_cast<unsigned char>(*at)) * 16777619u;
        const bool isPlain = (*at >= 'a' && *at <= 'z') || (*at >= 'A' && *at <= 'Z')
            || (*at >= '0' && *at <= '9') || *at == '-';
        if (label.size() < kLongestLabel) {
            label += isPlain ? *at : '_';
        }
    }
    char end[16];
    std::snprintf(end, sizeof end, ".%08x.", static_cast<unsigned int>(hash));
    return "fallcatch." + std::to_string(geteuid()) + '.' + label + end;
}

bool isLocked(int entry)
{
    int result = 0;
    do {
        result = flock(entry, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// Still there under its name, and not removed between open and flock.
bool hasName(int entry)
{
    struct stat status = {};
    return fstat(entry, &status) == 0 && status.st_nlink > 0;
}

// The process that the name tells; 0 for none.
pid_t processIn(const std::string& name)
{
    const std::size_t dot = name.rfind('.');
    const std::size_t before = dot != std::string::npos && dot > 0 ? name.rfind('.', dot - 1) : dot;
    return before != std::string::npos ? static_cast<pid_t>(std::atoi(name.c_str() + before + 1)) : 0;
}

} // namespace

// Locked before anybody can take it for one that its process left: who comes in between leaves an object alone that has
// no mark yet, as long as there is a process of its number. One that was lost to somebody all the same is given up.
int LastingObject::Make(const char* product, std::size_t bytes)
{
    const std::int64_t started = std::time(nullptr);
    const std::string beginning = nameBeginning(product);
    int error = EEXIST;
    for (int attempt = 0; attempt < kAttempts && error == EEXIST; ++attempt) {
        std::snprintf(mName, sizeof mName, "%s%010llx.%d.%d", beginning.c_str(),
                      static_cast<unsigned long long>(started), static_cast<int>(getpid()), attempt);
        mEntry = KXPL::KxOpenSharedEntry(mName, true);
        if (mEntry < 0) {
            error = errno;
            continue;
        }
        if (!isLocked(mEntry) || !hasName(mEntry)) {
            KXPL::KxRemoveSharedObject(mName);
            close(mEntry);
            continue;
        }
        mObject = KXPL::KxOpenSharedObject(mEntry, mName, bytes, true);
        error = mObject < 0 ? errno : KXPL::KxCommitSharedObject(mObject, 0, kLastingHeaderBytes);
        mBytes = bytes;
        error = error == 0 ? Map(product, started) : error;
        if (error != 0) {
            Remove();
            Close();
        }
    }
    return error;
}

int LastingObject::Map(const char* product, std::int64_t started)
{
    void* memory = mmap(nullptr, mBytes, PROT_READ | PROT_WRITE, MAP_SHARED, mObject, 0);
    if (memory == MAP_FAILED) {
        return errno;
    }
    mMemory = static_cast<unsigned char*>(memory);
    LastingHeader* header = Header();
    header->mByteOrder = kByteOrder;
    header->mLayout = kLastingLayout;
    header->mLedgerSize = sizeof(Ledger);
    header->mBytes = static_cast<std::uint32_t>(mBytes);
    header->mPointerSize = sizeof(void*);
    header->mLongSize = sizeof(long);
    header->mStarted = started;
    header->mBase = reinterpret_cast<std::uintptr_t>(memory);
    header->mProcess = static_cast<std::int32_t>(getpid());
    std::strncpy(header->mProduct, product, kProductBytes - 1);
    // Whoever takes it has the lock first, by which time the process has ended.
    header->mMark = LastingHeader::kMark;
    return 0;
}

void LastingObject::Close()
{
    if (mObject >= 0) {
        close(mObject);
    }
    if (mEntry >= 0) {
        close(mEntry);
    }
    mObject = -1;
    mEntry = -1;
}

void LastingObject::LeaveToParent()
{
    // Without memory for that the pages stay the parent's, in which a child, whose logging is off, logs nothing.
    static_cast<void>(mmap(mMemory, mBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON | MAP_FIXED, -1, 0));
    Close();
    mName[0] = 0;
}

void LastingObject::Remove()
{
    if (mName[0] != 0) {
        KXPL::KxRemoveSharedObject(mName);
        mName[0] = 0;
    }
}

void LastingObject::Unmap()
{
    munmap(mMemory, mBytes);
    mMemory = nullptr;
    Close();
}

bool listLastingObjects(const char* product, std::vector<std::string>& names)
{
    if (!KXPL::KxListSharedObjects(nameBeginning(product), names)) {
        return false;
    }
    std::sort(names.begin(), names.end()); // behind the same beginning stands the time, in as many digits
    return true;
}

DeadObject::DeadObject(const std::string& name)
    : mName(name)
    , mEntry(KXPL::KxOpenSharedEntry(name.c_str(), false))
{
    if (mEntry < 0 || !IsOwn() || !isLocked(mEntry) || !hasName(mEntry)) {
        return;
    }
    std::string header;
    const int object = KXPL::KxOpenSharedObject(mEntry, mName.c_str(), 0, false);
    std::uint64_t mark = 0;
    if (object >= 0 && KXPL::KxReadSharedObject(object, kLastingHeaderBytes, header)) {
        std::memcpy(&mark, header.data(), sizeof mark);
    }
    if (object >= 0) {
        close(object);
    }
    // One that is just being made has no mark.
    const pid_t process = processIn(mName);
    mIsDead = mark == LastingHeader::kMark || process <= 0 || (kill(process, 0) != 0 && errno == ESRCH);
}

DeadObject::~DeadObject()
{
    if (mEntry >= 0) {
        close(mEntry);
    }
}

// Nobody but this user has ever been able to write there.
bool DeadObject::IsOwn() const
{
    struct stat status = {};
    return fstat(mEntry, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid()
        && (status.st_mode & 077) == 0;
}

bool DeadObject::Read(std::string& image) const
{
    const int object = KXPL::KxOpenSharedObject(mEntry, mName.c_str(), 0, false);
    struct stat status = {};
    const bool isRead = object >= 0 && fstat(object, &status) == 0 && status.st_uid == geteuid()
        && status.st_size >= static_cast<off_t>(kLastingHeaderBytes)
        && status.st_size <= static_cast<off_t>(kMostLastingBytes)
        && KXPL::KxReadSharedObject(object, static_cast<std::size_t>(status.st_size), image);
    if (object >= 0) {
        close(object);
    }
    return isRead;
}

void DeadObject::Remove()
{
    KXPL::KxRemoveSharedObject(mName.c_str());
}

} // namespace CrashLog
} // namespace HSL
