#include "SenderLedger.h"

#include <algorithm>
#include <cstddef>
#include <sstream>

namespace BreakpadLinux {

namespace {

constexpr char kHeader[] = "fallcatch ledger 1";
constexpr std::size_t kMostLines = 1000;
constexpr int kMostFailures = 1000; // beyond a day's wait the number tells nothing more
constexpr time_t kReportsLife = 90 * kDay;

bool isName(const std::string& name)
{
    return !name.empty() && name.size() <= 300 && name.find_first_of(" \t\r\n") == std::string::npos;
}

} // namespace

time_t BackOff(int failures, double random)
{
    time_t whole = 60;
    for (int i = 1; i < failures && whole < kDay; ++i) {
        whole *= 2;
    }
    whole = std::min(whole, kDay);
    return static_cast<time_t>(static_cast<double>(whole) * (0.5 + random / 2));
}

Ledger Ledger::Parse(const std::string& text)
{
    Ledger ledger;
    std::istringstream lines(text);
    std::string line;
    if (!std::getline(lines, line) || line != kHeader) {
        return ledger;
    }
    for (std::size_t count = 0; count < kMostLines && std::getline(lines, line); ++count) {
        std::istringstream words(line);
        std::string kind;
        std::string name;
        Wait wait;
        words >> kind >> name;
        if (kind == "sent" && isName(name)) {
            ledger.mSent.insert(name);
        } else if (isName(name) && words >> wait.count >> wait.until && wait.count > 0
                   && wait.count <= kMostFailures) {
            if (kind == "place") {
                ledger.mPlaces[name] = wait;
            } else if (kind == "report") {
                ledger.mReports[name] = wait;
            }
        }
    }
    return ledger;
}

std::string Ledger::Text() const
{
    std::ostringstream text;
    text << kHeader << '\n';
    for (const auto& place : mPlaces) {
        text << "place " << place.first << ' ' << place.second.count << ' ' << place.second.until << '\n';
    }
    for (const auto& report : mReports) {
        text << "report " << report.first << ' ' << report.second.count << ' ' << report.second.until << '\n';
    }
    for (const std::string& report : mSent) {
        text << "sent " << report << '\n';
    }
    return text.str();
}

time_t Ledger::until(const Waits& waits, const std::string& name, time_t now)
{
    const auto found = waits.find(name);
    // A time that nobody here has set: the file is damaged, or the clock was set back.
    return found == waits.end() || found->second.until > now + kLongestWait ? 0 : found->second.until;
}

time_t Ledger::NotBefore(const std::string& place, const std::string& report, time_t now) const
{
    return std::max(until(mPlaces, place, now), until(mReports, report, now));
}

void Ledger::PlaceFailed(const std::string& place, time_t now, time_t retryAfter, double random)
{
    if (!isName(place)) {
        return;
    }
    Wait& wait = mPlaces[place];
    wait.count = std::min(wait.count + 1, kMostFailures);
    const time_t asked = std::min(std::max<time_t>(retryAfter, 0), kLongestWait);
    wait.until = now + std::max(asked, BackOff(wait.count, random));
}

void Ledger::PlaceAnswered(const std::string& place)
{
    mPlaces.erase(place);
}

int Ledger::Refused(const std::string& report, time_t now, double random)
{
    if (!isName(report)) {
        return 1; // no reporter's; it goes when it is old
    }
    Wait& wait = mReports[report];
    wait.count = std::min(wait.count + 1, kMostFailures);
    wait.until = now + kDay + static_cast<time_t>(random * 4 * 60 * 60);
    return wait.count;
}

void Ledger::RememberSent(const std::string& report)
{
    if (isName(report)) {
        mSent.insert(report);
    }
}

bool Ledger::WasSent(const std::string& report) const
{
    return mSent.count(report) != 0;
}

void Ledger::Forget(const std::string& report)
{
    mReports.erase(report);
    mSent.erase(report);
}

void Ledger::KeepOnly(const std::set<std::string>& reports, time_t now)
{
    for (auto one = mReports.begin(); one != mReports.end();) {
        one = reports.count(one->first) == 0 ? mReports.erase(one) : std::next(one);
    }
    for (auto one = mSent.begin(); one != mSent.end();) {
        one = reports.count(*one) == 0 ? mSent.erase(one) : std::next(one);
    }
    for (auto one = mPlaces.begin(); one != mPlaces.end();) {
        one = one->second.until + kReportsLife < now ? mPlaces.erase(one) : std::next(one);
    }
}

} // namespace BreakpadLinux
