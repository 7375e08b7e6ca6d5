#include "SenderRetention.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace BreakpadLinux {

namespace {

constexpr unsigned long long kMost = 1000000;

unsigned long long number(const std::string& text, unsigned long long otherwise)
{
    if (text.empty() || text.size() > 7 || text.find_first_not_of("0123456789") != std::string::npos) {
        return otherwise;
    }
    const unsigned long long value = std::strtoull(text.c_str(), nullptr, 10);
    return value == 0 ? otherwise : std::min(value, kMost);
}

} // namespace

std::vector<std::string> TooMuch(const std::vector<Kept>& oldestFirst, const Limits& limits, time_t now)
{
    std::vector<std::string> reasons(oldestFirst.size());
    std::size_t reports = 0;
    std::uint64_t bytes = 0;
    for (std::size_t i = oldestFirst.size(); i-- > 0;) {
        const Kept& one = oldestFirst[i];
        if (now - one.when > limits.seconds) {
            reasons[i] = "a report is kept for " + std::to_string(limits.seconds / (24 * 60 * 60)) + " days";
        } else if (reports >= limits.reports) {
            reasons[i] = "the product keeps " + std::to_string(limits.reports) + " reports";
        } else if (bytes + one.bytes > limits.bytes) {
            reasons[i] = "the product keeps " + std::to_string(limits.bytes >> 20) + " MiB";
        }
        // What is older than a report that no longer fits does not fit either.
        reports += 1;
        bytes += one.bytes;
    }
    return reasons;
}

Limits LimitsFrom(const std::string& reports, const std::string& megabytes, const std::string& days)
{
    Limits limits;
    limits.reports = static_cast<std::size_t>(number(reports, limits.reports));
    limits.bytes = static_cast<std::uint64_t>(number(megabytes, limits.bytes >> 20)) << 20;
    limits.seconds =
        static_cast<time_t>(number(days, static_cast<unsigned long long>(limits.seconds) / (24 * 60 * 60))) * 24
        * 60 * 60;
    return limits;
}

} // namespace BreakpadLinux
