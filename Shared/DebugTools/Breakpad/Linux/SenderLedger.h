// What the sender remembers from one start to the next of places that did not take reports, and of reports that
// no place took.
#ifndef FALLCATCH_BREAKPAD_SENDER_LEDGER_H
#define FALLCATCH_BREAKPAD_SENDER_LEDGER_H

#include <ctime>
#include <map>
#include <set>
#include <string>

namespace BreakpadLinux {

constexpr time_t kDay = 24 * 60 * 60;

// Seconds until the next try after so many failures in a row: between the half and the whole of 1, 2, 4 ...
// minutes, at most a day. random is in [0, 1). A fleet that failed together does not come back together.
time_t BackOff(int failures, double random);

// The times are seconds since 1970; they are handed in, so that a test has them as it likes. A place is a URL's
// scheme, host and port. The text is a file that anything may have happened to: lines that make no sense are
// passed over, and a time further ahead than the longest wait that is given counts for nothing.
class Ledger {
public:
    // The longest wait that a server may ask for.
    static constexpr time_t kLongestWait = 7 * kDay;
    // Tries on different days after which a refused report is given up.
    static constexpr int kRefusals = 3;

    static Ledger Parse(const std::string& text);
    std::string Text() const;

    // When the report may be posted. In the past when nothing speaks against it.
    time_t NotBefore(const std::string& place, const std::string& report, time_t now) const;

    // retryAfter: the seconds that the server asked for, 0 for none.
    void PlaceFailed(const std::string& place, time_t now, time_t retryAfter, double random);
    void PlaceAnswered(const std::string& place);

    // How often the report has been refused, this time included. The next try is due after a day, within four
    // hours.
    int Refused(const std::string& report, time_t now, double random);

    // Taken by a server, but still on the disk.
    void RememberSent(const std::string& report);
    bool WasSent(const std::string& report) const;

    void Forget(const std::string& report);

    // Reports that are gone, and places that nobody has tried for as long as a report lives, are forgotten.
    void KeepOnly(const std::set<std::string>& reports, time_t now);

private:
    struct Wait {
        int count = 0;
        time_t until = 0;
    };
    using Waits = std::map<std::string, Wait>;

    static time_t until(const Waits& waits, const std::string& name, time_t now);

    Waits mPlaces;
    Waits mReports;
    std::set<std::string> mSent;
};

} // namespace BreakpadLinux

#endif
