#include "hslog/sinks/HSLFileSink.h"

#include "hslog/sinks/HSLTextSink.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <utility>

namespace HSL {
namespace Sinks {
namespace {

constexpr mode_t kMode = 0644;

// Handlers raise it, and the sinks' threads look at it; it orders nothing.
std::atomic<unsigned int> sReopenings { 0 };
static_assert(std::atomic<unsigned int>::is_always_lock_free, "for a signal's handler");

void onSignal(int)
{
    ReopenFiles();
}

// A number that differs between periods.
long periodOf(std::time_t time, Period period)
{
    std::tm split {};
    if (period == Period::kNever || localtime_r(&time, &split) == nullptr) {
        return 0;
    }
    const long day = split.tm_year * 366L + split.tm_yday;
    return period == Period::kDay ? day : day * 24 + split.tm_hour;
}

class FileSink : public TextSink {
public:
    FileSink(const char* path, FileOptions options, std::unique_ptr<Layout> layout)
        : TextSink(std::move(layout), options.mQueueBytes)
        , mPath(path)
        , mOptions(std::move(options))
        , mMustRotate(mOptions.mRotateAtStart)
    {
        Start();
    }

    ~FileSink() override
    {
        Stop();
        Close();
    }

private:
    void Consume(const std::string& bytes) override
    {
        std::size_t at = 0;
        while (at < bytes.size()) {
            if (!Prepare()) {
                Lose(bytes, at);
                return;
            }
            const std::size_t size = PieceAt(bytes, at);
            if (size == 0) {
                mMustRotate = true;
                continue;
            }
            const std::size_t written = WriteAll(mFile, bytes.data() + at, size);
            mSize += written;
            if (written < size) {
                mIsTorn = written != 0 && bytes[at + written - 1] != '\n';
                Complain(std::strerror(errno));
                Lose(bytes, at + written);
                return;
            }
            at += size;
        }
        if (mOptions.mSync) {
            ::fsync(mFile);
        }
    }

    // How much of the bytes may go to the file as it is: whole lines; nothing if it must be rotated first.
    std::size_t PieceAt(const std::string& bytes, std::size_t at) const
    {
        const std::size_t left = bytes.size() - at;
        if (mOptions.mRotateBytes == 0 || mSize + left <= mOptions.mRotateBytes) {
            return left;
        }
        const std::size_t room = mSize < mOptions.mRotateBytes ? mOptions.mRotateBytes - mSize : 0;
        const std::size_t end = room != 0 ? bytes.rfind('\n', at + room - 1) : std::string::npos;
        if (end != std::string::npos && end >= at) {
            return end + 1 - at;
        }
        // A line that is longer than any file may be has one of its own.
        return mSize == 0 ? bytes.find('\n', at) + 1 - at : 0;
    }

    // Makes the file ready for the next bytes: open, the one of that name, of this period, and told what was lost.
    bool Prepare()
    {
        const unsigned int reopenings = sReopenings.load(std::memory_order_relaxed);
        if (mFile >= 0 && (reopenings != mReopenings || IsOther())) {
            Close();
        }
        mReopenings = reopenings;
        if (mFile < 0 && !Open()) {
            return false;
        }
        const long period = periodOf(std::time(nullptr), mOptions.mRotateEvery);
        if ((mMustRotate || (period != mPeriod && mSize != 0)) && !Rotate()) {
            return false;
        }
        mPeriod = period;
        return mLost == 0 || TellLost();
    }

    // Whether the name stands for another file by now. If not, takes over its size: other processes append to it, too.
    bool IsOther()
    {
        struct stat named { };
        if (::stat(mPath.c_str(), &named) != 0 || named.st_ino != mInode || named.st_dev != mDevice) {
            return true;
        }
        mSize = static_cast<std::size_t>(named.st_size);
        return false;
    }

    bool Open()
    {
        mFile = ::open(mPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kMode);
        struct stat opened { };
        if (mFile < 0 || ::fstat(mFile, &opened) != 0) {
            Complain(std::strerror(errno));
            Close();
            return false;
        }
        mInode = opened.st_ino;
        mDevice = opened.st_dev;
        mSize = static_cast<std::size_t>(opened.st_size);
        mPeriod = periodOf(mSize != 0 ? opened.st_mtime : std::time(nullptr), mOptions.mRotateEvery);
        return true;
    }

    void Close()
    {
        if (mFile >= 0) {
            ::close(mFile);
            mFile = -1;
        }
    }

    std::string Rotated(int number) const { return mPath + "." + std::to_string(number); }

    // Of several processes one rotates; the others find another file under the name when it is their turn.
    bool Rotate()
    {
        mMustRotate = false;
        const bool isLocked = ::flock(mFile, LOCK_EX) == 0;
        if (mSize != 0 && (!isLocked || !IsOther())) {
            ShiftRotated();
        }
        Close(); // gives the lock back
        return Open();
    }

    void ShiftRotated()
    {
        if (mOptions.mKeep <= 0) {
            ::unlink(mPath.c_str());
            return;
        }
        for (const std::string& suffix : { std::string(), mOptions.mSuffix }) {
            ::unlink((Rotated(mOptions.mKeep) + suffix).c_str());
            for (int number = mOptions.mKeep - 1; number > 0; --number) {
                ::rename((Rotated(number) + suffix).c_str(), (Rotated(number + 1) + suffix).c_str());
            }
        }
        if (::rename(mPath.c_str(), Rotated(1).c_str()) == 0 && mOptions.mCompress != nullptr) {
            const std::string from = Rotated(1);
            const std::string to = from + mOptions.mSuffix;
            ::unlink((mOptions.mCompress(from.c_str(), to.c_str()) ? from : to).c_str());
        }
    }

    void Lose(const std::string& bytes, std::size_t at)
    {
        for (; at < bytes.size(); ++at) {
            mLost += bytes[at] == '\n' ? 1 : 0;
        }
    }

    bool TellLost()
    {
        const std::string told =
            (mIsTorn ? "\n*** " : "*** ") + std::to_string(mLost) + " LINE(S) LOST: " + mProblem + " ***\n";
        const std::size_t written = WriteAll(mFile, told.data(), told.size());
        if (written < told.size()) {
            mIsTorn = mIsTorn || written != 0;
            return false;
        }
        mSize += told.size();
        mLost = 0;
        mIsTorn = false;
        mHasComplained = false;
        return true;
    }

    // On standard error, once until lines can be written again.
    void Complain(const char* problem)
    {
        mProblem = problem;
        if (!mHasComplained) {
            mHasComplained = true;
            const std::string told =
                "hslog: " + mPath + ": " + problem + "; lines are lost until this is mended\n";
            WriteAll(STDERR_FILENO, told.data(), told.size());
        }
    }

    std::string mPath;
    FileOptions mOptions;
    int mFile = -1;
    ino_t mInode = 0;
    dev_t mDevice = 0;
    std::size_t mSize = 0;
    long mPeriod = 0;
    bool mMustRotate;
    unsigned int mReopenings = sReopenings.load(std::memory_order_relaxed);
    unsigned long long mLost = 0;
    bool mIsTorn = false; // the last line in the file has no end
    bool mHasComplained = false;
    std::string mProblem;
};

} // namespace

std::unique_ptr<Sink> MakeFileSink(const char* path, FileOptions options)
{
    std::unique_ptr<Layout> layout =
        options.mLayout != nullptr ? std::move(options.mLayout) : MakePatternLayout();
    return std::make_unique<FileSink>(path, std::move(options), std::move(layout));
}

void ReopenFiles()
{
    sReopenings.fetch_add(1, std::memory_order_relaxed);
}

bool ReopenFilesOnSignal(int signal)
{
    struct sigaction action { };
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    return sigaction(signal, &action, nullptr) == 0;
}

} // namespace Sinks
} // namespace HSL
