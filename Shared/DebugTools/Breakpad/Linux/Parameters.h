// The reporter's pairs of key and value and their limits.
#ifndef FALLCATCH_BREAKPAD_PARAMETERS_H
#define FALLCATCH_BREAKPAD_PARAMETERS_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace BreakpadLinux {

// At most maximum bytes of UTF-8 text, cut between two characters.
std::string CutAtCharacter(const std::string& text, std::size_t maximum);

// Of a value that means yes or no: "1", "YES" and "true", in any case, are yes.
bool SaysYes(const std::string& value);
// "0", "NO" and "false". Other texts say neither.
bool SaysNo(const std::string& value);

// Whether the text is a number of seconds and nothing else: finite, and at most what the bridge can set.
// Not-a-number and endless spans would mean "never", which nobody asks for in these words.
bool IsInterval(const std::string& text);

// Not safe for several threads at once.
class Parameters {
public:
    static constexpr std::size_t kMaximumPairs = 64;
    static constexpr std::size_t kMaximumBytes = 255;

    // Longer keys and values are cut; only the URL and folders stay whole. A new key is dropped when there is
    // no room for it, and so is an empty one. Returns whether the key is held.
    bool Set(const std::string& key, const std::string& value);
    void Remove(const std::string& key);

    // In the order in which the keys came.
    const std::vector<std::pair<std::string, std::string>>& Pairs() const { return mPairs; }

private:
    std::vector<std::pair<std::string, std::string>> mPairs;
};

} // namespace BreakpadLinux

#endif
