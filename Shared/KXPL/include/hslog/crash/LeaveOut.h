// What must not be shown of a log.
#ifndef HSLOG_CRASH_LEAVE_OUT_H
#define HSLOG_CRASH_LEAVE_OUT_H

#include <bitset>
#include <string>
#include <vector>

namespace HSL {
namespace CrashLog {

// Categories and words, and no patterns: these can be tried on any text of any length without running long or deep.
class LeaveOut {
public:
    LeaveOut() = default;
    // A list separated by semicolons. "#30" is category 30, "#30-39" are ten of them; anything else is a word, compared
    // without regard to the case of ASCII letters. Empty entries count for nothing, and one that begins with "#" and is
    // no category is a word.
    explicit LeaveOut(const std::string& list);

    bool IsEmpty() const { return mWords.empty() && mCategories.none(); }
    // Whether one of the categories, a byte each, is to be left out.
    bool Holds(const std::string& categories) const;
    // Whether the text holds one of the words.
    bool IsIn(const std::string& text) const;

private:
    void Add(const std::string& entry);
    bool AddCategories(const std::string& entry);

    std::bitset<256> mCategories;
    std::vector<std::string> mWords; // in small letters
};

} // namespace CrashLog
} // namespace HSL

#endif
