#include "SenderReport.h"

#include "Keys.h"
#include "ReportFile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
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

} // namespace

std::optional<StoredReport> StoredReport::Read(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string text { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    auto pairs = ParseReport(text);
    if (!pairs) {
        return std::nullopt;
    }
    StoredReport report;
    report.mPath = path;
    report.mPairs = std::move(*pairs);
    return report;
}

std::string StoredReport::DumpPath() const
{
    return fs::path(mPath).replace_extension(kDumpSuffix).string();
}

std::string StoredReport::Id() const
{
    return fs::path(mPath).stem().string();
}

std::string StoredReport::StateFolder() const
{
    const std::string folder = Value(kStateFolder);
    return folder.empty() ? fs::path(mPath).parent_path().string() : folder;
}

double StoredReport::Interval() const
{
    return std::strtod(Value(kReportInterval).c_str(), nullptr);
}

std::string StoredReport::Value(const std::string& key) const
{
    const auto found = mPairs.find(key);
    return found == mPairs.end() ? std::string() : found->second;
}

Submission MakeSubmission(const StoredReport& report, const std::function<std::string()>& clientId)
{
    Submission submission;
    submission.url = report.Value(kUrl);
    submission.dump = report.DumpPath();
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
        if (pair.first.size() > prefix.size() && pair.first.compare(0, prefix.size(), prefix) == 0) {
            submission.fields[pair.first.substr(prefix.size())] = pair.second;
        }
    }
    return submission;
}

} // namespace BreakpadLinux
