// What the sender remembers of a product between two reports, in the product's folder.
#ifndef FALLCATCH_BREAKPAD_SENDER_STATE_H
#define FALLCATCH_BREAKPAD_SENDER_STATE_H

#include <ctime>
#include <string>

namespace BreakpadLinux {

// Whoever has one is alone with the product's folder; the constructor waits for that. Without a usable folder
// nothing is remembered and nobody waits.
class State {
public:
    explicit State(const std::string& folder);
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State();

    // Seconds. True after no submission, and after one in the future of a clock that was set back since.
    bool IntervalHasPassed(double interval, time_t now) const;
    void SetLastSubmission(time_t when);

    // The same random text for all reports of this user and product.
    std::string ClientId();

    // One line of uploads.log, with the time before it. The file starts again when it has grown long.
    void Log(const std::string& line);

private:
    std::string read(const std::string& name) const;
    void write(const std::string& name, const std::string& text);

    const std::string mFolder;
    int mLock;
};

} // namespace BreakpadLinux

#endif
