#include "SenderLog.h"

#include "Keys.h"
#include "OwnFiles.h"

#include "hslog/crash/CrashLogText.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <new>
#include <optional>

namespace BreakpadLinux {

namespace {

using HSL::CrashLog::CrashLogText;

// Wide texts take the form that the locale gives them.
void useUtf8()
{
    for (const char* name : { "C.UTF-8", "en_US.UTF-8" }) {
        if (std::setlocale(LC_CTYPE, name) != nullptr) {
            return;
        }
    }
}

// The crashed process says in words why its log is not whole; these stand behind what there is of it.
std::string lastWords(const std::string& file)
{
    const std::size_t at = file.rfind("-- the log could not be written: ");
    return at != std::string::npos && file.size() - at < 200 ? file.substr(at) : std::string();
}

} // namespace

std::string TextOfLog(const std::string& file, std::size_t newest, const HSL::CrashLog::LeaveOut& leaveOut)
{
    useUtf8();
    HSL::CrashLog::TextOptions options;
    options.mNewest = newest;
    options.mLeaveOut = leaveOut;
    std::string text = lastWords(file);
    try {
        const CrashLogText log = HSL::CrashLog::textOf(file, options);
        if (log.mIsLog) {
            text = log.mLines + log.mNotes + text;
        } else if (text.empty()) {
            text = "-- " + log.mWhy + "\n";
        }
    } catch (const std::bad_alloc&) {
        text = "-- the log is too large to be shown\n" + text;
    }
    return HSL::CrashLog::asUtf8(text);
}

void AddLog(const StoredReport& report, Submission& submission)
{
    std::string field = report.Value(kLogField);
    if (field == "none") {
        return;
    }
    std::string why;
    const Descriptor folder = OpenOwnFolder(report.Folder(), why);
    const std::string name = report.Id() + kLogSuffix;
    const auto file =
        folder ? ReadOwnFile(folder.Number(), name, kLargestLogFile, why) : std::optional<std::string>();
    if (!file || file->empty()) {
        return;
    }
    field = field.empty() ? "upload_file_log" : field;
    submission.files.push_back({ field, name, "text/plain; charset=utf-8",
                                 TextOfLog(*file, LogBytesFrom(report.Value(kLogBytes)),
                                           HSL::CrashLog::LeaveOut(report.Value(kLogLeaveOut))) });
}

std::size_t LogBytesFrom(const std::string& text)
{
    char* end = nullptr;
    const unsigned long long bytes = std::strtoull(text.c_str(), &end, 10);
    if (text.empty() || *end != 0 || text[0] == '-') {
        return kUsualLogBytes;
    }
    return static_cast<std::size_t>(std::clamp(bytes, 1024ull, 64ull << 20));
}

} // namespace BreakpadLinux
