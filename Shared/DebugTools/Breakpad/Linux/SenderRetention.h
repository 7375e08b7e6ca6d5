// How much is kept.
#ifndef FALLCATCH_BREAKPAD_SENDER_RETENTION_H
#define FALLCATCH_BREAKPAD_SENDER_RETENTION_H

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace BreakpadLinux {

struct Limits {
    std::size_t reports = 20;
    std::uint64_t bytes = 64ULL << 20;
    time_t seconds = 90LL * 24 * 60 * 60;
};

struct Kept {
    std::uint64_t bytes = 0; // of report, dump and what lies beside them
    time_t when = 0;
};

// Empty for a report that stays; else why it goes, as in "the product keeps 20 reports". Oldest first in both:
// of those beyond a limit the oldest go. A report from the future, by a clock that was set back, is as old as
// now.
std::vector<std::string> TooMuch(const std::vector<Kept>& oldestFirst, const Limits& limits, time_t now);

// The limits with those of the texts in place that are whole numbers from 1 on; others change nothing.
Limits LimitsFrom(const std::string& reports, const std::string& megabytes, const std::string& days);

} // namespace BreakpadLinux

#endif
