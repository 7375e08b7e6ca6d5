#include "Reporter.h"

#include "DumpFile.h"
#include "DumpStack.h"
#include "HostCalls.h"
#include "Keys.h"
#include "LogWriter.h"
#include "OwnFiles.h"
#include "ReportFile.h"
#include "ReportWriter.h"
#include "Spawn.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <random>
#include <stdio.h>
#include <string.h>
#include <sys/syscall.h>
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

// As Breakpad names them: 8-4-4-4-12 hexadecimal digits.
std::string makeGuid()
{
    std::random_device random;
    char text[37];
    snprintf(text, sizeof(text), "%08x-%04x-4%03x-8%03x-%04x%08x", random(), random() & 0xFFFF,
             random() & 0xFFF, random() & 0xFFF, random() & 0xFFFF, random());
    return text;
}

void writeHex(char* digits, std::size_t count, unsigned long number)
{
    for (std::size_t i = count; i-- > 0; number >>= 4) {
        digits[i] = "0123456789abcdef"[number & 0xF];
    }
}

std::string valueOf(const Parameters& parameters, const char* key)
{
    for (const auto& pair : parameters.Pairs()) {
        if (pair.first == key) {
            return pair.second;
        }
    }
    return std::string();
}

// One crash at a time is handled in a process.
DumpFile gDump;

} // namespace

Reporter::Reporter(const Settings& settings)
    : mParameters(settings.parameters)
    , mProduct(settings.product)
    , mDumpFolder(settings.dumpFolder)
    , mStateFolder(settings.stateFolder)
    , mSender(settings.sender)
    , mStart(time(nullptr))
    , mProcess(getpid())
    , mVersion(valueOf(settings.parameters, kVersion))
    , mKeepEnvironment(settings.keepEnvironment)
    , mTexts(FindProcessTexts())
    , mAbortText(FindAbortText())
{
    snprintf(mPath, sizeof(mPath), "%s/%s%s", mDumpFolder.c_str(), makeGuid().c_str(), kDumpSuffix);
    mParameters.Set(kStartTime, std::to_string(mStart));
    publish();
    sendLeftovers();

    mHandler = std::make_unique<google_breakpad::ExceptionHandler>(
        google_breakpad::MinidumpDescriptor(mFiles.DumpNumber()), beforeDump, afterDump, this, true, -1);
    Introduce(*this);
}

Reporter::~Reporter()
{
    Forget(*this);
}

// Without a file of its own to write to, or a process to write it, this one only dies. Breakpad would not tell
// that it could start none, and the empty file would stay.
bool Reporter::beforeDump(void* reporter)
{
    auto* self = static_cast<Reporter*>(reporter);
    // A report without a crash is written in the same places; the crash may be in the midst of it.
    for (int wait = 0; self->mReporting && wait < 200; ++wait) {
        const timespec nap = { 0, 10000000 };
        nanosleep(&nap, nullptr);
    }
    return CanStartProcesses() && self->openDump();
}

// A file is made or there is none: what another process has written is not touched. One that the host forks has
// the host's name for its dump, and puts its number into it.
bool Reporter::openDump()
{
    constexpr std::size_t kName = 36 + sizeof(kDumpSuffix) - 1;
    const std::size_t length = strlen(mPath);
    if (length < kName) {
        return false;
    }
    char* const guid = mPath + length - kName;
    const pid_t process = static_cast<pid_t>(syscall(SYS_getpid));
    if (process != mProcess) {
        writeHex(guid + 28, 8, static_cast<unsigned long>(process));
    }
    mFiles.Release();
    for (unsigned long number = 0; number < 256; ++number) {
        const int file = open(mPath, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (file < 0 && errno == EEXIST) {
            writeHex(guid, 2, number);
            continue;
        }
        const bool placed = file >= 0 && mFiles.Place(file);
        if (file >= 0) {
            close(file);
        }
        if (file >= 0 && !placed) {
            unlink(mPath);
        }
        return placed;
    }
    return false;
}

// What goes out of it must be out of it before anything else may fail.
bool Reporter::amendDump() const
{
    const auto thread = static_cast<std::uint32_t>(syscall(SYS_gettid));
    if (!gDump.Open(mFiles.DumpNumber())) {
        return mKeepEnvironment;
    }
    if (!mKeepEnvironment && !BlankTexts(gDump, mTexts)) {
        return false;
    }
    CompleteStack(gDump, thread);
    AddThreadNames(gDump);
    AddDistribution(gDump);
    const Note notes[] = { { "prod", mProduct.c_str(), mProduct.size() },
                           { "ver", mVersion.c_str(), mVersion.size() },
                           AbortNote(mAbortText) };
    AddNotes(gDump, notes, sizeof(notes) / sizeof(*notes));
    gDump.Commit();
    return mKeepEnvironment || BlankTexts(gDump, mTexts);
}

bool Reporter::afterDump(const google_breakpad::MinidumpDescriptor&, void* reporter, bool succeeded)
{
    auto* self = static_cast<Reporter*>(reporter);
    if (!succeeded || !self->amendDump()) {
        unlink(self->mPath); // half a dump is no report
        return false;
    }
    // Without its report the dump stays for whoever looks for it, but nobody sends it.
    const char* report = WriteReport(self->mPath, *self->mText.Hold(), self->mStart);
    if (report != nullptr) {
        WriteLog(self->mPath);
        char* const arguments[] = {
            argument(self->mSender.c_str()),      argument("--crashed"), argument("--state"),
            argument(self->mStateFolder.c_str()), argument(report),      nullptr
        };
        StartDetached(self->mSender.c_str(), arguments, TrustedEnvironment());
    }
    return true;
}

bool Reporter::SetKeyValue(const std::string& key, const std::string& value)
{
    const std::lock_guard<std::mutex> guard(mLock);
    const bool held = mParameters.Set(key, value);
    publish();
    return held;
}

bool Reporter::SetUpload(bool allowed) const
{
    std::string why;
    const Descriptor folder = OpenOwnFolder(mStateFolder, why);
    const bool remembered = folder && WriteOwnFile(folder.Number(), kConsentFile, allowed ? "1\n" : "0\n");
    if (allowed) {
        sendLeftovers();
    }
    return remembered;
}

bool Reporter::ReportNow(const std::string& reason)
{
    const std::string key = std::string(kServerParameterPrefix) + "Reason";
    if (mReporting.exchange(true)) {
        return false;
    }
    SetKeyValue(key, reason);
    const bool reported = openDump() && mHandler->WriteMinidump();
    mFiles.Renew();
    RemoveKey(key);
    mReporting = false;
    return reported;
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
