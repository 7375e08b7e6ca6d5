#include "SenderReport.h"

#include "Keys.h"
#include "SenderLog.h"
#include "OwnFiles.h"
#include "Parameters.h"
#include "ReportFile.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <utility>

namespace BreakpadLinux {

namespace fs = std::filesystem;

namespace {

struct FieldName {
    const char* serverType;
    const char* pair;
    const char* field;
};

constexpr FieldName kFieldNames[] = {
    { kSocorro, kProduct, "ProductName" },
    { kSocorro, kVersion, "Version" },
    { kSocorro, kStartTime, "StartupTime" },
    { kSocorro, kCrashTime, "CrashTime" },
    { kSocorro, kComments, "Comments" },
    { kSocorro, kEmail, "Email" },
    { kGoogle, kProduct, "prod" },
    { kGoogle, kVersion, "ver" },
    { kGoogle, kUpTime, "ptime" },
    { kGoogle, kComments, "comments" },
    { kGoogle, kEmail, "email" },
};

constexpr std::size_t kAttachmentLimit = std::size_t { 1 } << 20;

// Far more than 64 pairs and a URL need.
constexpr std::size_t kReportLimit = std::size_t { 1 } << 20;

} // namespace

std::optional<StoredReport> StoredReport::Read(const std::string& path, std::string& why)
{
    StoredReport report;
    report.mPath = path;
    const Descriptor folder = OpenOwnFolder(report.Folder(), why);
    if (!folder) {
        why = "lies in a folder that " + why;
        return std::nullopt;
    }
    const auto text = ReadOwnFile(folder.Number(), fs::path(path).filename().string(), kReportLimit, why);
    auto pairs = text ? ParseReport(*text) : std::nullopt;
    if (!pairs) {
        why = text ? "is no whole report" : why;
        return std::nullopt;
    }
    report.mPairs = std::move(*pairs);
    return report;
}

std::string StoredReport::Folder() const
{
    const std::string folder = fs::path(mPath).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::string StoredReport::DumpPath() const
{
    return fs::path(mPath).replace_extension(kDumpSuffix).string();
}

std::string StoredReport::Id() const
{
    return fs::path(mPath).stem().string();
}

double StoredReport::Interval() const
{
    const double seconds = std::strtod(Value(kReportInterval).c_str(), nullptr);
    return std::isfinite(seconds) ? seconds : 0;
}

bool StoredReport::IsSet(const std::string& key) const
{
    return SaysYes(Value(key));
}

std::string StoredReport::Value(const std::string& key) const
{
    const auto found = mPairs.find(key);
    return found == mPairs.end() ? std::string() : found->second;
}

namespace {

// Read when it is sent, as a file of the user's own. What cannot be sent is told in its place.
void attach(Submission& submission, const std::string& key, const fs::path& path)
{
    const std::string field = "attachment_" + key.substr(std::strlen(kAttachmentPrefix));
    const std::string name = path.filename().string();
    std::string why = "lies nowhere";
    const Descriptor folder(open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    auto contents = folder ? ReadOwnFile(folder.Number(), name, kAttachmentLimit, why) : std::nullopt;
    if (contents) {
        submission.files.push_back({ field, name, "application/octet-stream", std::move(*contents) });
    } else {
        submission.fields[field] = "not attached: " + name + " " + why;
    }
}

} // namespace

Submission MakeSubmission(const StoredReport& report, const std::function<std::string()>& clientId)
{
    Submission submission;
    submission.url = report.Value(kUrl);
    submission.dump = report.DumpPath();
    submission.caFile = report.Value(kCaFile);
    submission.gzip = report.IsSet(kGzip);
    std::string serverType = report.Value(kServerType);
    if (serverType.empty()) {
        serverType = kGoogle;
    }
    for (const FieldName& name : kFieldNames) {
        const auto found = report.Pairs().find(name.pair);
        if (serverType == name.serverType && found != report.Pairs().end()) {
            submission.fields[name.field] = found->second;
        }
    }
    if (serverType == kGoogle) {
        const std::string guid = clientId();
        submission.fields["guid"] = guid;
        submission.query["product"] = report.Value(kProduct);
        submission.query["version"] = report.Value(kVersion);
        submission.query["guid"] = guid;
    }
    const std::string prefix = kServerParameterPrefix;
    for (const auto& pair : report.Pairs()) {
        if (pair.first.rfind(kAttachmentPrefix, 0) == 0) {
            attach(submission, pair.first, pair.second);
        }
        if (pair.first.size() > prefix.size() && pair.first.compare(0, prefix.size(), prefix) == 0) {
            submission.fields[pair.first.substr(prefix.size())] = pair.second;
        }
    }
    AddLog(report, submission);
    return submission;
}

} // namespace BreakpadLinux
