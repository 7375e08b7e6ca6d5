#include "DeadLogs.h"

#include "CrashLogWriter.h"
#include "LastingObject.h"

#include "hslog/HSLLastingLog.h"
#include "hslog/HSLLogManager.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <vector>

namespace HSL {
namespace CrashLog {
namespace {

// A ledger may name the same memory again and again.
constexpr std::size_t kMostMore = 16u << 20;

// The bytes of an object, under the addresses that they had.
class Image {
public:
    Image(const std::string& bytes, const LastingHeader& header, std::string& file)
        : mBytes(bytes)
        , mBase(header.mBase)
        , mProcess(header.mProcess)
        , mFile(file)
    {
    }

    bool IsOpen() const { return true; }
    std::int32_t Process() const { return mProcess; }

    bool Read(void* to, std::uintptr_t from, std::size_t size) const
    {
        if (Readable(from) < size) {
            return false;
        }
        std::memcpy(to, mBytes.data() + (from - mBase), size);
        return true;
    }

    ssize_t Put(const void* bytes, std::size_t size)
    {
        if (mFile.size() + size > 2 * mBytes.size() + kMostMore) {
            errno = EFBIG;
            return -1;
        }
        mFile.append(static_cast<const char*>(bytes), size);
        return static_cast<ssize_t>(size);
    }

    ssize_t PutFrom(std::uintptr_t from, std::size_t size)
    {
        const std::size_t readable = Readable(from);
        if (readable == 0) {
            errno = EFAULT;
            return -1;
        }
        return Put(mBytes.data() + (from - mBase), size < readable ? size : readable);
    }

private:
    // How many bytes lie there.
    std::size_t Readable(std::uintptr_t from) const
    {
        const std::uint64_t offset = from - mBase;
        return from >= mBase && offset < mBytes.size() ? mBytes.size() - static_cast<std::size_t>(offset) : 0;
    }

    const std::string& mBytes;
    std::uint64_t mBase;
    std::int32_t mProcess;
    std::string& mFile;
};

} // namespace

bool crashLogOf(const std::string& image, DeadLog& log)
{
    LastingHeader header = {};
    if (image.size() < kLastingHeaderBytes) {
        log.mWhy = "it holds nothing";
        return false;
    }
    std::memcpy(&header, image.data(), sizeof header);
    log.mProcess = header.mProcess;
    log.mStarted = header.mStarted;
    if (header.mMark != LastingHeader::kMark) {
        log.mWhy = "it was never finished";
        return false;
    }
    if (header.mByteOrder != kByteOrder || header.mLayout != kLastingLayout
        || header.mLedgerSize != sizeof(Ledger) || header.mPointerSize != sizeof(void*)
        || header.mLongSize != sizeof(long)) {
        log.mWhy = "it comes from another version or from a build for another processor";
        return false;
    }
    Image source(image, header, log.mFile);
    Writer<Image>(source).Run({ static_cast<std::uintptr_t>(header.mLedger) });
    return true;
}

int takeDeadLogs(const char* product, const std::function<bool(const DeadLog& log)>& take)
{
    std::vector<std::string> names;
    if (!listLastingObjects(product, names)) {
        return -1;
    }
    int taken = 0;
    for (const std::string& name : names) {
        DeadObject object(name);
        if (!object.IsDead()) {
            continue;
        }
        DeadLog log;
        std::string image;
        if (!object.Read(image)) {
            log.mWhy = "it cannot be read";
        } else {
            crashLogOf(image, log);
        }
        if (take(log)) {
            object.Remove();
            ++taken;
        }
    }
    return taken;
}

} // namespace CrashLog

namespace {

// A manager's passes use the same renderer.
CrashLog::CrashLogText textUnderLock(const std::string& file)
{
    CLogManager* manager = CLogManager::Instance();
    if (manager == nullptr) {
        return CrashLog::textOf(file, {});
    }
    const KxLockGuard guard(manager->mLock);
    return CrashLog::textOf(file, {});
}

} // namespace

int TakeLogsOfDead(const char* product, bool (*take)(const CDeadLog& log, void* context), void* context)
{
    if (product == nullptr) {
        return 0;
    }
    const auto hand = [take, context](const CrashLog::DeadLog& log) {
        CrashLog::CrashLogText text;
        text.mNotes = "-- " + log.mWhy + "\n";
        text.mIsDamaged = true;
        if (log.mWhy.empty()) {
            text = textUnderLock(log.mFile);
        }
        return take({ log.mProcess, log.mStarted, text.mLines.c_str(), text.mNotes.c_str(), text.mIsDamaged },
                    context);
    };
    try {
        return CrashLog::takeDeadLogs(product, hand);
    } catch (const std::bad_alloc&) {
        return -1;
    }
}

} // namespace HSL
