#include "SenderFolder.h"

#include "Keys.h"
#include "OwnFiles.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace BreakpadLinux {

namespace fs = std::filesystem;

namespace {

constexpr time_t kOrphanAge = 24 * 60 * 60;

std::vector<std::string> namesIn(const Descriptor& folder)
{
    std::vector<std::string> names;
    const int again = openat(folder.Number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* directory = again < 0 ? nullptr : fdopendir(again);
    while (const dirent* entry = directory != nullptr ? readdir(directory) : nullptr) {
        names.emplace_back(entry->d_name);
    }
    if (directory != nullptr) {
        closedir(directory);
    }
    return names;
}

// As Breakpad writes them: 8-4-4-4-12 hexadecimal digits.
bool isGuid(const std::string& text)
{
    if (text.size() != 36) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        if (dash ? text[i] != '-' : std::isxdigit(static_cast<unsigned char>(text[i])) == 0) {
            return false;
        }
    }
    return true;
}

std::string pathOf(const std::string& folder, const std::string& name)
{
    return (fs::path(folder) / name).string();
}

// Nothing for a report that cannot be looked at now: without its date it would count as older than any limit.
std::optional<Kept> factsOf(const Descriptor& folder, const std::string& id, timespec& changed)
{
    Kept kept;
    FileFacts facts;
    std::string why;
    for (const char* suffix : kCompanions) {
        if (OpenOwnFile(folder.Number(), id + suffix, facts, why)) {
            kept.bytes += facts.bytes;
        }
    }
    if (!OpenOwnFile(folder.Number(), id + kReportSuffix, facts, why)) {
        return std::nullopt;
    }
    kept.bytes += facts.bytes;
    changed = facts.changed;
    kept.when = facts.changed.tv_sec;
    return kept;
}

bool isOrphan(const std::string& folder, const fs::path& name)
{
    const std::string suffix = name.extension().string();
    std::string why;
    if (suffix == kPartSuffix) {
        return true;
    }
    if (suffix == kReportSuffix) {
        return !StoredReport::Read(pathOf(folder, name.string()), why);
    }
    const bool isCompanion =
        std::find(std::begin(kCompanions), std::end(kCompanions), suffix) != std::end(kCompanions);
    return isCompanion && !fs::exists(fs::path(folder) / (name.stem().string() + kReportSuffix));
}

bool isOld(const Descriptor& folder, const std::string& name, time_t now)
{
    struct stat facts = {};
    return fstatat(folder.Number(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(facts.st_mode)
        && facts.st_uid == geteuid() && now - facts.st_mtim.tv_sec > kOrphanAge;
}

} // namespace

std::vector<FoundReport> ReportsOf(const std::string& product, const std::string& folder)
{
    std::string why;
    const Descriptor opened = OpenOwnFolder(folder, why);
    using Dated = std::tuple<time_t, long, std::string, FoundReport>;
    std::vector<Dated> found;
    for (const std::string& name : opened ? namesIn(opened) : std::vector<std::string>()) {
        if (fs::path(name).extension() != kReportSuffix) {
            continue;
        }
        auto report = StoredReport::Read(pathOf(folder, name), why);
        if (report && report->Value(kProduct) == product) {
            timespec changed = {};
            if (const auto kept = factsOf(opened, report->Id(), changed)) {
                found.emplace_back(changed.tv_sec, changed.tv_nsec, name,
                                   FoundReport { std::move(*report), *kept });
            }
        }
    }
    std::sort(found.begin(), found.end(), [](const Dated& one, const Dated& other) {
        return std::tie(std::get<0>(one), std::get<1>(one), std::get<2>(one))
            < std::tie(std::get<0>(other), std::get<1>(other), std::get<2>(other));
    });
    std::vector<FoundReport> reports;
    reports.reserve(found.size());
    for (Dated& one : found) {
        reports.push_back(std::move(std::get<3>(one)));
    }
    return reports;
}

std::vector<std::string> RemoveOrphans(const std::string& folder, time_t now)
{
    std::vector<std::string> removed;
    std::string why;
    const Descriptor opened = OpenOwnFolder(folder, why);
    for (const std::string& name : opened ? namesIn(opened) : std::vector<std::string>()) {
        if (isGuid(fs::path(name).stem().string()) && isOld(opened, name, now) && isOrphan(folder, name)
            && unlinkat(opened.Number(), name.c_str(), 0) == 0) {
            removed.push_back(name);
        }
    }
    return removed;
}

bool RemoveReport(const StoredReport& report)
{
    std::string why;
    const Descriptor folder = OpenOwnFolder(report.Folder(), why);
    const std::string id = report.Id();
    for (const char* suffix : kCompanions) {
        if (unlinkat(folder.Number(), (id + suffix).c_str(), 0) != 0 && errno != ENOENT) {
            return false;
        }
    }
    return unlinkat(folder.Number(), (id + kReportSuffix).c_str(), 0) == 0 || errno == ENOENT;
}

} // namespace BreakpadLinux
