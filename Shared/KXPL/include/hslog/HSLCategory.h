// Categories by name, each with the seven levels, and levels by name at run time. Optional.
//
//     HSL::SetLevels("*=info,net=chatty,ui=off");
//     HSL::SetLevelsFromEnvironment("MYAPP_LOG");
//
//     const HSL::Category net = HSL::RegisterCategory("net");
//     HSL_LOG(net.Chatty(), "{} bytes from {}", size, host);
//
// A category takes seven codes of the manager's filter in a row, one for each level, so that a log call still
// looks at one byte to know whether it is on. The names are kept in the manager ("net: Info"), so two modules
// that share one and register the same name get the same codes, each in its own time.
#ifndef HSLOG_HSL_CATEGORY_H
#define HSLOG_HSL_CATEGORY_H

#include "../detail/KxHost.h"

#include "HSLLevel.h"

#include <string>
#include <vector>

namespace HSL {

// A value. One that is not registered stands for the seven levels themselves, as calls without a category do.
class Category {
public:
    constexpr Category() = default;
    // Seven codes from `first` on, one a level, whoever registered them; 0 for the levels themselves.
    constexpr explicit Category(unsigned char first)
        : mFirst(first)
    {
    }

    // Whether it has codes of its own, and the code of each of its levels.
    constexpr bool IsRegistered() const { return mFirst != 0; }
    constexpr unsigned char At(Level level) const { return static_cast<unsigned char>(mFirst + CodeOf(level)); }
    constexpr unsigned char UltraVerbose() const { return At(Level::kUltraVerbose); }
    constexpr unsigned char Verbose() const { return At(Level::kVerbose); }
    constexpr unsigned char Chatty() const { return At(Level::kChatty); }
    constexpr unsigned char Info() const { return At(Level::kInfo); }
    constexpr unsigned char Warning() const { return At(Level::kWarning); }
    constexpr unsigned char Error() const { return At(Level::kError); }
    constexpr unsigned char Catastrophy() const { return At(Level::kCatastrophy); }

private:
    unsigned char mFirst = 0;
};

// Finds the category of that name, or makes it: from `first` on, or, with 0, where seven codes from 120 to 255
// are free, which is room for 19. A host that hands out codes 20 to 119 by RegisterCategoryRange may name one
// of those as `first` (7 to 249). Returns an unregistered one without a manager, for an empty or null name, one
// with '=', ',' or ':' in it, and where no room is left.
//
// A new category gets the levels that SetLevels in this module told for it, else those of calls without a
// category. Takes the manager's lock, so it waits for a pass to end: once, at start-up. Any thread.
Category RegisterCategory(const char* name, int first = 0);

// Lets a level and those above it pass, in every category: "ultra verbose", "verbose", "chatty", "info",
// "warning", "error", "catastrophy" or "off"; also "trace", "debug" (chatty), "warn", "critical" and 0 to 6.
// Blanks, '-' and '_' in a name and the case of its letters do not matter. False for anything else, and without
// a manager; then nothing has changed. Any thread. The master switch, SetEnable, is left alone.
bool SetLevel(const char* level);

// The same for a list of name=level with commas between; "*", or a level alone, means all that are not named. A
// category that is not known yet gets its level when this module registers it. A category that a host made with
// SetCategoryName has one code only, which every level but "off" lets pass. On failure `problem`, unless null,
// gets what is wrong, for people.
bool SetLevels(const char* list, std::string* problem = nullptr);

// SetLevels with the value of an environment variable; true, with nothing changed, if it is not set.
bool SetLevelsFromEnvironment(const char* variable, std::string* problem = nullptr);

// A list as SetLevels takes it, for a choice of one's own. Passes all at first.
class LevelFilter {
public:
    // On failure nothing has changed.
    bool Set(const char* list, std::string* problem = nullptr);
    // Whether a call of that category ("" for none) and level is on the list.
    bool Passes(const std::string& category, Level level) const;

private:
    struct Entry {
        std::string mCategory; // empty for all that are not named
        int mLeast;
    };
    std::vector<Entry> mEntries;
};

// What a code stands for: the name of its category, "" for the levels themselves, and its level. A code that
// nobody registered is of level "Info"; its name is the one that SetCategoryName gave it, or "". Only while the
// lock is held or no thread registers anything, as in a callback.
struct CategoryAndLevel {
    std::string mName; // "" for the levels themselves
    Level mLevel;      // "Info" for a code that nobody registered
};
CategoryAndLevel WhatCodeStandsFor(unsigned char code);

// As it is shown: "Ultra Verbose" to "Catastrophy".
const char* NameOf(Level level);

} // namespace HSL

#endif
