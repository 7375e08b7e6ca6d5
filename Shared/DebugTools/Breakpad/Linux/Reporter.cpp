#include "Reporter.h"

#include "Keys.h"
#include "ReportFile.h"
#include "ReportWriter.h"
#include "Spawn.h"

#include <dirent.h>
#include <unistd.h>

namespace BreakpadLinux {

namespace {

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool hasReports(const std::string& folder)
{
    DIR* directory = opendir(folder.c_str());
    bool found = false;
    while (directory != nullptr && !found) {
        const dirent* entry = readdir(directory);
        if (entry == nullptr) {
            break;
        }
        found = endsWith(entry->d_name, kReportSuffix);
    }
    if (directory != nullptr) {
        closedir(directory);
    }
    return found;
}

char* argument(const char* text)
{
    return const_cast<char*>(text); // execve does not write to it
}

} // namespace

Reporter::Reporter(const Settings& settings)
    : mParameters(settings.parameters)
    , mProduct(settings.product)
    , mDumpFolder(settings.dumpFolder)
    , mStateFolder(settings.stateFolder)
    , mSender(settings.sender)
    , mStart(time(nullptr))
{
    mParameters.Set(kStartTime, std::to_string(mStart));
    publish();
    sendLeftovers();

    mHandler = std::make_unique<google_breakpad::ExceptionHandler>(
        google_breakpad::MinidumpDescriptor(mDumpFolder), beforeDump, afterDump, this, true, -1);
}

// A process that the host forks has the host's handler and with it the dump's name. The first of them to crash
// takes the name; the others only die.
bool Reporter::beforeDump(void* reporter)
{
    const auto* self = static_cast<const Reporter*>(reporter);
    return self->mHandler == nullptr || access(self->mHandler->minidump_descriptor().path(), F_OK) != 0;
}

bool Reporter::afterDump(const google_breakpad::MinidumpDescriptor& descriptor, void* reporter, bool succeeded)
{
    auto* self = static_cast<Reporter*>(reporter);
    const char* dump = descriptor.path();
    if (!succeeded) {
        unlink(dump); // half a dump is no report
        return false;
    }
    // Without its report the dump stays for whoever looks for it, but nobody sends it.
    const char* report = WriteReport(dump, *self->mText.Hold(), self->mStart);
    if (report != nullptr) {
        char* const arguments[] = {
            argument(self->mSender.c_str()),      argument("--crashed"), argument("--state"),
            argument(self->mStateFolder.c_str()), argument(report),      nullptr
        };
        StartDetached(self->mSender.c_str(), arguments, TrustedEnvironment());
    }
    return true;
}

void Reporter::SetKeyValue(const std::string& key, const std::string& value)
{
    const std::lock_guard<std::mutex> guard(mLock);
    mParameters.Set(key, value);
    publish();
}

void Reporter::RemoveKey(const std::string& key)
{
    const std::lock_guard<std::mutex> guard(mLock);
    mParameters.Remove(key);
    publish();
}

void Reporter::publish()
{
    std::string text = kReportHeader;
    for (const auto& pair : mParameters.Pairs()) {
        AppendPair(text, pair.first, pair.second);
    }
    mText.Replace(std::move(text));
}

void Reporter::sendLeftovers() const
{
    if (hasReports(mDumpFolder)) {
        const std::string host = std::to_string(getpid());
        char* const arguments[] = { argument(mSender.c_str()),
                                    argument("--host"),
                                    argument(host.c_str()),
                                    argument("--state"),
                                    argument(mStateFolder.c_str()),
                                    argument("--product"),
                                    argument(mProduct.c_str()),
                                    argument(mDumpFolder.c_str()),
                                    nullptr };
        StartDetached(mSender.c_str(), arguments, TrustedEnvironment());
    }
}

} // namespace BreakpadLinux
