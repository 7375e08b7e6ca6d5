#include "hslog/HSLCategory.h"

#include "KxLock.h"
#include "hslog/HSLLogManager.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace HSL {
namespace {

constexpr int kCodes = 256;
constexpr int kFirstCodeOfOurs = 120;
constexpr int kOff = kLevels;
constexpr const char* kLevelNames[] = { "Ultra Verbose", "Verbose", "Chatty",     "Info",
                                        "Warning",       "Error",   "Catastrophy" };

struct NamedLevel {
    const char* mName;
    int mLevel;
};
constexpr NamedLevel kWords[] = { { "ultraverbose", 0 }, { "trace", 0 },    { "verbose", 1 },
                                  { "chatty", 2 },       { "debug", 2 },    { "info", 3 },
                                  { "warning", 4 },      { "warn", 4 },     { "error", 5 },
                                  { "catastrophy", 6 },  { "critical", 6 }, { "off", kOff } };

// A wish for a category, or for all with an empty name.
struct Wish {
    std::string mName;
    int mLeast;
};

// What this module was told, for categories to come. Guarded by the manager's lock.
std::vector<Wish>& wishes()
{
    static std::vector<Wish> sWishes;
    return sWishes;
}

std::string trimmed(const std::string& text)
{
    const char* const kBlanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// -1 for what is no level.
int levelOf(const std::string& word)
{
    std::string plain;
    for (const char character : word) {
        if (std::strchr(" -_", character) == nullptr) {
            plain += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
        }
    }
    if (plain.size() == 1 && plain[0] >= '0' && plain[0] < '0' + kLevels) {
        return plain[0] - '0';
    }
    for (const NamedLevel& known : kWords) {
        if (plain == known.mName) {
            return known.mLevel;
        }
    }
    return -1;
}

bool parse(const std::string& list, std::vector<Wish>& parsed, std::string* problem)
{
    for (std::size_t begin = 0; begin <= list.size();) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        const std::string entry = trimmed(list.substr(begin, end - begin));
        begin = end + 1;
        if (entry.empty()) {
            continue;
        }
        const std::size_t equals = entry.find('=');
        const std::string name = equals == std::string::npos ? "*" : trimmed(entry.substr(0, equals));
        const std::string level = equals == std::string::npos ? entry : trimmed(entry.substr(equals + 1));
        const int least = levelOf(level);
        if (least < 0 || name.empty()) {
            if (problem != nullptr) {
                *problem = name.empty() ? "no name in front of '=' in \"" + entry + "\""
                                        : "\"" + level
                        + "\" is no level; take ultra-verbose, verbose, chatty, info, "
                          "warning, error, catastrophy or off";
            }
            return false;
        }
        parsed.push_back({ name == "*" ? "" : name, least });
    }
    return true;
}

std::string codeName(const std::string& category, int level)
{
    return category + ": " + kLevelNames[level];
}

bool beginsCategory(const CLogManager& manager, int code)
{
    const std::string& name = manager.mCategoryNames[static_cast<std::size_t>(code)];
    const std::string end = codeName("", 0);
    return name.size() > end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0;
}

std::string nameOfCategoryAt(const CLogManager& manager, int code)
{
    const std::string& name = manager.mCategoryNames[static_cast<std::size_t>(code)];
    return name.substr(0, name.size() - codeName("", 0).size());
}

void setLeast(CLogManager& manager, int first, int least)
{
    for (int level = 0; level < kLevels; ++level) {
        manager.SetFilterValue(static_cast<unsigned char>(first + level), level >= least);
    }
}

// The wish for a name that came last; null for none.
const Wish* wishFor(const std::vector<Wish>& all, const std::string& name)
{
    const Wish* found = nullptr;
    for (const Wish& wish : all) {
        if (wish.mName == name) {
            found = &wish;
        }
    }
    return found;
}

const Wish* wishForOrAll(const std::vector<Wish>& all, const std::string& name)
{
    const Wish* own = wishFor(all, name);
    return own != nullptr ? own : wishFor(all, "");
}

void applyWishes(CLogManager& manager, const std::vector<Wish>& all)
{
    if (const Wish* everything = wishFor(all, "")) {
        setLeast(manager, 0, everything->mLeast);
    }
    for (int code = kLevels; code < kCodes; ++code) {
        if (beginsCategory(manager, code)) {
            if (const Wish* wish = wishForOrAll(all, nameOfCategoryAt(manager, code))) {
                setLeast(manager, code, wish->mLeast);
            }
            code += kLevels - 1;
        } else if (!manager.mCategoryNames[static_cast<std::size_t>(code)].empty()) {
            if (const Wish* wish = wishForOrAll(all, manager.mCategoryNames[static_cast<std::size_t>(code)])) {
                manager.SetFilterValue(static_cast<unsigned char>(code), wish->mLeast != kOff);
            }
        }
    }
}

bool isFree(const CLogManager& manager, int first)
{
    for (int level = 0; level < kLevels; ++level) {
        if (!manager.mCategoryNames[static_cast<std::size_t>(first) + static_cast<std::size_t>(level)]
                 .empty()) {
            return false;
        }
    }
    return true;
}

int findPlace(const CLogManager& manager, const std::string& name, int first)
{
    for (int code = kLevels; code + kLevels <= kCodes; ++code) {
        if (manager.mCategoryNames[static_cast<std::size_t>(code)] == codeName(name, 0)) {
            return code;
        }
    }
    if (first != 0) {
        return first >= kLevels && first + kLevels <= kCodes && isFree(manager, first) ? first : 0;
    }
    for (int code = kFirstCodeOfOurs; code + kLevels <= kCodes; ++code) {
        if (isFree(manager, code)) {
            return code;
        }
    }
    return 0;
}

} // namespace

Category RegisterCategory(const char* name, int first)
{
    CLogManager* manager = CLogManager::Instance();
    if (manager == nullptr || name == nullptr || *name == 0 || std::strpbrk(name, "=,:") != nullptr) {
        return Category();
    }
    const KxLockGuard guard(manager->mLock);
    const int place = findPlace(*manager, name, first);
    if (place == 0 || manager->mCategoryNames[static_cast<std::size_t>(place)] == codeName(name, 0)) {
        return Category(static_cast<unsigned char>(place));
    }
    for (int level = 0; level < kLevels; ++level) {
        manager->SetCategoryName(static_cast<unsigned char>(place + level), codeName(name, level).c_str());
        manager->SetFilterValue(static_cast<unsigned char>(place + level),
                                manager->GetFilterValue(static_cast<unsigned char>(level)));
    }
    if (const Wish* wish = wishFor(wishes(), name)) {
        setLeast(*manager, place, wish->mLeast);
    }
    return Category(static_cast<unsigned char>(place));
}

bool SetLevel(const char* level)
{
    return level != nullptr && levelOf(level) >= 0 && SetLevels(level);
}

bool SetLevels(const char* list, std::string* problem)
{
    CLogManager* manager = CLogManager::Instance();
    std::vector<Wish> parsed;
    if (manager == nullptr || list == nullptr) {
        if (problem != nullptr) {
            *problem = list == nullptr ? "there is no list" : "there is no log manager yet";
        }
        return false;
    }
    if (!parse(list, parsed, problem)) {
        return false;
    }
    const KxLockGuard guard(manager->mLock);
    // What is told for all takes back what was told for single ones.
    if (wishFor(parsed, "") != nullptr) {
        wishes().clear();
    }
    wishes().insert(wishes().end(), parsed.begin(), parsed.end());
    applyWishes(*manager, parsed);
    return true;
}

bool SetLevelsFromEnvironment(const char* variable, std::string* problem)
{
    const char* list = variable != nullptr ? std::getenv(variable) : nullptr;
    return list == nullptr || SetLevels(list, problem);
}

bool LevelFilter::Set(const char* list, std::string* problem)
{
    std::vector<Wish> parsed;
    if (list == nullptr || !parse(list, parsed, problem)) {
        return false;
    }
    mEntries.clear();
    for (const Wish& wish : parsed) {
        mEntries.push_back({ wish.mName, wish.mLeast });
    }
    return true;
}

bool LevelFilter::Passes(const std::string& category, Level level) const
{
    int least = 0;
    bool isNamed = false;
    for (const Entry& entry : mEntries) {
        const bool isOwn = !category.empty() && entry.mCategory == category;
        if (isOwn || (entry.mCategory.empty() && !isNamed)) {
            least = entry.mLeast;
            isNamed = isNamed || isOwn;
        }
    }
    return CodeOf(level) >= least;
}

CategoryAndLevel WhatCodeStandsFor(unsigned char code)
{
    if (code < kLevels) {
        return { "", static_cast<Level>(code) };
    }
    const CLogManager* manager = CLogManager::Instance();
    if (manager == nullptr) {
        return { "", Level::kInfo };
    }
    const std::string& name = manager->mCategoryNames[code];
    for (int level = 0; level < kLevels; ++level) {
        const std::string end = codeName("", level);
        if (name.size() > end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0) {
            return { name.substr(0, name.size() - end.size()), static_cast<Level>(level) };
        }
    }
    return { name, Level::kInfo };
}

const char* NameOf(Level level)
{
    return kLevelNames[static_cast<int>(level) % kLevels];
}

} // namespace HSL
