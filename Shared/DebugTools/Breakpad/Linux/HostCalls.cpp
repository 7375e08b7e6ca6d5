#include "HostCalls.h"

#include "Keys.h"
#include "Parameters.h"
#include "Places.h"
#include "Reporter.h"
#include "fallcatch_breakpad.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace BreakpadLinux {

namespace {

constexpr int kMostFiles = 8;

struct Wishes {
    std::mutex lock;
    std::vector<Reporter*> reporters; // one, as a rule
    Parameters pairs;
    std::optional<bool> upload;
    int files = 0;
};

// Never destroyed: threads may call while the process ends.
Wishes& wishes()
{
    static auto* made = new Wishes;
    return *made;
}

// Returns whether everyone has room for it.
bool set(Wishes& all, const std::string& key, const std::string& value)
{
    bool held = all.pairs.Set(key, value);
    for (Reporter* reporter : all.reporters) {
        held = reporter->SetKeyValue(key, value) && held;
    }
    return held;
}

bool isText(const char* text)
{
    return text != nullptr && *text != '\0';
}

} // namespace

void Introduce(Reporter& reporter)
{
    Wishes& all = wishes();
    const std::lock_guard<std::mutex> guard(all.lock);
    all.reporters.push_back(&reporter);
    for (const auto& pair : all.pairs.Pairs()) {
        reporter.SetKeyValue(pair.first, pair.second);
    }
    if (all.upload) {
        reporter.SetUpload(*all.upload);
    }
}

void Forget(Reporter& reporter)
{
    Wishes& all = wishes();
    const std::lock_guard<std::mutex> guard(all.lock);
    all.reporters.erase(std::remove(all.reporters.begin(), all.reporters.end(), &reporter),
                        all.reporters.end());
}

} // namespace BreakpadLinux

using namespace BreakpadLinux;

int FallcatchBreakpadSetTag(const char* name, const char* value)
{
    if (!isText(name) || value == nullptr) {
        return 0;
    }
    Wishes& all = wishes();
    const std::lock_guard<std::mutex> guard(all.lock);
    return set(all, std::string(kServerParameterPrefix) + name, value) ? 1 : 0;
}

void FallcatchBreakpadRemoveTag(const char* name)
{
    if (!isText(name)) {
        return;
    }
    Wishes& all = wishes();
    const std::lock_guard<std::mutex> guard(all.lock);
    const std::string key = std::string(kServerParameterPrefix) + name;
    all.pairs.Remove(key);
    for (Reporter* reporter : all.reporters) {
        reporter->RemoveKey(key);
    }
}

int FallcatchBreakpadAttachFile(const char* path)
{
    if (!isText(path)) {
        return 0;
    }
    Wishes& all = wishes();
    const std::lock_guard<std::mutex> guard(all.lock);
    const std::string whole = AbsolutePath(path);
    const auto& pairs = all.pairs.Pairs();
    if (std::any_of(pairs.begin(), pairs.end(), [&whole](const auto& pair) { return pair.second == whole; })) {
        return 1;
    }
    if (all.files == kMostFiles || !set(all, kAttachmentPrefix + std::to_string(all.files + 1), whole)) {
        return 0;
    }
    ++all.files;
    return 1;
}

int FallcatchBreakpadSetUpload(int allowed)
{
    Wishes& all = wishes();
    const std::lock_guard<std::mutex> guard(all.lock);
    all.upload = allowed != 0;
    bool remembered = true;
    for (Reporter* reporter : all.reporters) {
        remembered = reporter->SetUpload(allowed != 0) && remembered;
    }
    return remembered ? 1 : 0;
}

int FallcatchBreakpadReportNow(const char* reason)
{
    Wishes& all = wishes();
    const std::lock_guard<std::mutex> guard(all.lock);
    int reported = 0;
    for (Reporter* reporter : all.reporters) {
        reported += reporter->ReportNow(reason != nullptr ? reason : "") ? 1 : 0;
    }
    return reported > 0 ? 1 : 0;
}
