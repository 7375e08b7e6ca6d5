#include "ReportWriter.h"

#include "Keys.h"
#include "ReportFile.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

namespace BreakpadLinux {

namespace {

// The stack of a signal handler is small.
char gPartialPath[PATH_MAX];
char gReportPath[PATH_MAX];

bool writeAll(int file, const char* bytes, size_t count)
{
    while (count > 0) {
        const ssize_t written = write(file, bytes, count);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes += written;
        count -= static_cast<size_t>(written);
    }
    return true;
}

bool writeText(int file, const char* text)
{
    return writeAll(file, text, strlen(text));
}

// The decimal digits of a number, at the end of a buffer of its own.
class Decimal {
public:
    explicit Decimal(unsigned long long number)
    {
        *mStart = '\0';
        do {
            *--mStart = static_cast<char>('0' + number % 10);
            number /= 10;
        } while (number != 0);
    }

    const char* Text() const { return mStart; }

private:
    char mDigits[24];
    char* mStart = mDigits + sizeof(mDigits) - 1;
};

bool writePair(int file, const char* key, unsigned long long number)
{
    const Decimal value(number);
    return writeText(file, Decimal(strlen(key)).Text()) && writeText(file, " ")
        && writeText(file, Decimal(strlen(value.Text())).Text()) && writeText(file, "\n")
        && writeText(file, key) && writeText(file, value.Text()) && writeText(file, "\n");
}

bool makePath(char (&path)[PATH_MAX], const char* dump, const char* suffix)
{
    const size_t stem = strlen(dump) - (sizeof(kDumpSuffix) - 1);
    const size_t length = strlen(suffix);
    if (stem + length + 1 > sizeof(path)) {
        return false;
    }
    memcpy(path, dump, stem);
    memcpy(path + stem, suffix, length + 1);
    return true;
}

bool writeContents(int file, const std::string& pairs, time_t start)
{
    const time_t now = time(nullptr);
    // A clock that was set back makes no time that is negative.
    const time_t up = now > start ? now - start : 0;
    return writeAll(file, pairs.data(), pairs.size())
        && writePair(file, kCrashTime, static_cast<unsigned long long>(now))
        && writePair(file, kUpTime, static_cast<unsigned long long>(up) * 1000) && writeText(file, kReportEnd);
}

} // namespace

const char* WriteReport(const char* dump, const std::string& pairs, time_t start)
{
    if (!makePath(gPartialPath, dump, ".part") || !makePath(gReportPath, dump, kReportSuffix)) {
        return nullptr;
    }
    const int file = open(gPartialPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0) {
        return nullptr;
    }
    const bool written = writeContents(file, pairs, start);
    // Some file systems tell only now that there is no room.
    const bool closed = close(file) == 0;
    if (written && closed && rename(gPartialPath, gReportPath) == 0) {
        return gReportPath;
    }
    unlink(gPartialPath);
    return nullptr;
}

} // namespace BreakpadLinux
