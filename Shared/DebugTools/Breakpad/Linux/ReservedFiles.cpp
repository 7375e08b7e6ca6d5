#include "ReservedFiles.h"

#include <algorithm>
#include <errno.h>
#include <fcntl.h>
#include <iterator>
#include <sys/resource.h>
#include <unistd.h>

namespace BreakpadLinux {

namespace {

// Out of the way of a host that closes all its files and opens new ones.
constexpr int kPreferred = 900;

} // namespace

ReservedFiles::ReservedFiles()
{
    std::fill(std::begin(mNumbers), std::end(mNumbers), -1);
    mNumbers[0] = kPreferred;
    reserve(0);
}

void ReservedFiles::Renew()
{
    const int dump = mNumbers[0];
    reserve(1);
    if (mNumbers[1] >= 0) {
        dup3(mNumbers[1], dump, O_CLOEXEC);
    }
}

// A pipe of our own, which no other descriptor can be.
void ReservedFiles::reserve(std::size_t first)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    close(ends[1]);
    fstat(ends[0], &mFacts);
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const auto end = static_cast<int>(std::min<rlim_t>(limit.rlim_cur, kPreferred + kCount));
    for (std::size_t i = first; i < kCount; ++i) {
        const int number = fcntl(ends[0], F_DUPFD_CLOEXEC, std::max(3, end - static_cast<int>(kCount)));
        mNumbers[i] = number < 0 ? mNumbers[i] : number;
    }
    close(ends[0]);
}

ReservedFiles::~ReservedFiles()
{
    Release();
    if (isOurs(mNumbers[0])) {
        close(mNumbers[0]);
    }
}

bool ReservedFiles::isOurs(int number) const
{
    struct stat facts = {};
    return number >= 0 && mFacts.st_ino != 0 && fstat(number, &facts) == 0 && facts.st_ino == mFacts.st_ino
        && facts.st_dev == mFacts.st_dev;
}

void ReservedFiles::Release()
{
    for (std::size_t i = 1; i < kCount; ++i) {
        if (isOurs(mNumbers[i])) {
            close(mNumbers[i]);
        }
        mNumbers[i] = -1;
    }
}

bool ReservedFiles::Place(int file) const
{
    const int number = mNumbers[0];
    const bool isFree = isOurs(number) || (fcntl(number, F_GETFD) < 0 && errno == EBADF);
    return isFree && dup3(file, number, O_CLOEXEC) == number;
}

} // namespace BreakpadLinux
