#include "SenderState.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>

namespace BreakpadLinux {

namespace fs = std::filesystem;

namespace {

constexpr char kLastSubmission[] = "LastSubmission";
constexpr char kClientId[] = "ClientID";
constexpr char kLog[] = "uploads.log";
constexpr std::uintmax_t kLogLimit = 256 * 1024;

} // namespace

State::State(const std::string& folder)
    : mFolder(folder)
    , mLock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    while (mLock >= 0 && flock(mLock, LOCK_EX) != 0 && errno == EINTR) { }
}

State::~State()
{
    if (mLock >= 0) {
        close(mLock);
    }
}

bool State::IntervalHasPassed(double interval, time_t now) const
{
    const long long last = std::strtoll(read(kLastSubmission).c_str(), nullptr, 10);
    const auto span = static_cast<double>(static_cast<long long>(now) - last);
    return last <= 0 || span < 0 || span >= interval;
}

void State::SetLastSubmission(time_t when)
{
    write(kLastSubmission, std::to_string(when) + "\n");
}

std::string State::ClientId()
{
    std::string id = read(kClientId);
    if (id.empty()) {
        std::random_device random;
        char text[33];
        std::snprintf(text, sizeof(text), "%08x%08x%08x%08x", random(), random(), random(), random());
        id = text;
        write(kClientId, id + "\n");
    }
    return id;
}

void State::Log(const std::string& line)
{
    const fs::path path = fs::path(mFolder) / kLog;
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    const bool full = !error && size > kLogLimit;
    std::ofstream file(path, full ? std::ios::trunc : std::ios::app);
    const time_t now = std::time(nullptr);
    tm utc = {};
    char stamp[32];
    std::strftime(stamp, sizeof(stamp), "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&now, &utc));
    file << stamp << ' ' << line << '\n';
}

std::string State::read(const std::string& name) const
{
    std::ifstream file(fs::path(mFolder) / name);
    std::string text;
    std::getline(file, text);
    return text;
}

// Whole or not at all.
void State::write(const std::string& name, const std::string& text)
{
    const fs::path path = fs::path(mFolder) / name;
    const fs::path partial = path.string() + ".part";
    std::ofstream file(partial, std::ios::trunc);
    file << text;
    file.close();
    std::error_code error;
    if (file) {
        fs::rename(partial, path, error);
    } else {
        fs::remove(partial, error);
    }
}

} // namespace BreakpadLinux
