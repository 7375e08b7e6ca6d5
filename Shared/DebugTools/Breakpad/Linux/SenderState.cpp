#include "SenderState.h"

#include "CleanText.h"
#include "Keys.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace BreakpadLinux {

namespace {

constexpr char kLastSubmission[] = "LastSubmission";
constexpr char kClientId[] = "ClientID";
constexpr char kLedger[] = "Ledger";
constexpr char kLog[] = "uploads.log";
constexpr char kOldLog[] = "uploads.log.1";
constexpr off_t kLogLimit = 256 * 1024;
constexpr std::size_t kLedgerLimit = 512 * 1024;

// Never another's file and never what a link leads to.
Descriptor openLog(int folder)
{
    Descriptor file(openat(
        folder, kLog, O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600));
    struct stat facts = {};
    if (!file || fstat(file.Number(), &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_uid != geteuid()
        || facts.st_nlink != 1) {
        return Descriptor();
    }
    if (facts.st_size > kLogLimit) {
        // Once only: the new one is empty.
        return renameat(folder, kLog, folder, kOldLog) == 0 ? openLog(folder) : Descriptor();
    }
    fchmod(file.Number(), 0600); // earlier versions made it for all to read
    return file;
}

} // namespace

State::State(const std::string& folder)
    : mFolder(OpenOwnFolder(folder, mTrouble))
{
    if (!mFolder) {
        mTrouble = "the folder " + folder + " " + mTrouble;
        return;
    }
    int result = 0;
    do {
        result = flock(mFolder.Number(), LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    mIsBusy = result != 0 && errno == EWOULDBLOCK;
}

time_t State::LastSubmission() const
{
    const long long last = std::strtoll(readLine(kLastSubmission).c_str(), nullptr, 10);
    return last > 0 ? static_cast<time_t>(last) : 0;
}

bool State::IntervalHasPassed(double interval, time_t now) const
{
    const time_t last = LastSubmission();
    const auto span = static_cast<double>(now) - static_cast<double>(last);
    return last == 0 || span < 0 || span >= interval;
}

void State::SetLastSubmission(time_t when)
{
    WriteOwnFile(mFolder.Number(), kLastSubmission, std::to_string(when) + "\n");
}

std::optional<bool> State::consentIn(int folder)
{
    std::string why;
    const std::string text = ReadOwnFile(folder, kConsentFile, 1000, why).value_or("");
    return text == "1\n" || text == "0\n" ? std::optional<bool>(text == "1\n") : std::nullopt;
}

std::optional<bool> State::ConsentIn(const std::string& folder)
{
    std::string why;
    return consentIn(OpenOwnFolder(folder, why).Number());
}

std::string State::ClientId()
{
    std::string id = CleanLine(readLine(kClientId));
    if (id.empty()) {
        std::random_device random;
        char text[33];
        std::snprintf(text, sizeof(text), "%08x%08x%08x%08x", random(), random(), random(), random());
        id = text;
        WriteOwnFile(mFolder.Number(), kClientId, id + "\n");
    }
    return id;
}

Ledger State::ReadLedger() const
{
    std::string why;
    return Ledger::Parse(ReadOwnFile(mFolder.Number(), kLedger, kLedgerLimit, why).value_or(""));
}

bool State::WriteLedger(const Ledger& ledger)
{
    return WriteOwnFile(mFolder.Number(), kLedger, ledger.Text());
}

void State::Log(const std::string& text)
{
    const Descriptor file = openLog(mFolder.Number());
    if (!file) {
        return;
    }
    const time_t now = std::time(nullptr);
    tm utc = {};
    char stamp[32];
    std::strftime(stamp, sizeof(stamp), "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&now, &utc));
    // In one call, so that lines of two processes do not mix.
    const std::string line = stamp + (" " + CleanLine(text)) + "\n";
    const ssize_t written = write(file.Number(), line.data(), line.size());
    static_cast<void>(written); // a log that cannot be written stops nothing
}

std::string State::readLine(const char* name) const
{
    std::string why;
    const std::string text = ReadOwnFile(mFolder.Number(), name, 1000, why).value_or("");
    return text.substr(0, text.find('\n'));
}

} // namespace BreakpadLinux
