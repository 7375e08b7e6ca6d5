// The time of day in the lines, whatever the zone, the clock and the order of the records do.
#include "hslog/HSL.h"

#include "ManualPass.h"
#include "hslog/collect/HSLLineHeader.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>

#include <unistd.h>

namespace {

// Zones whose offsets have changed in many ways: by hours, halves and quarters, across the date line, twice a
// year on either half of the globe, and by law on a day's notice.
const char* const kZones[] = {
    "UTC",
    "Africa/Casablanca",
    "Africa/Monrovia",
    "America/Caracas",
    "America/New_York",
    "America/Santiago",
    "America/Sao_Paulo",
    "America/St_Johns",
    "Antarctica/Troll",
    "Asia/Dhaka",
    "Asia/Gaza",
    "Asia/Kathmandu",
    "Asia/Kolkata",
    "Asia/Pyongyang",
    "Asia/Tehran",
    "Australia/Adelaide",
    "Australia/Eucla",
    "Australia/Lord_Howe",
    "Europe/Berlin",
    "Europe/Dublin",
    "Europe/London",
    "Europe/Moscow",
    "Pacific/Apia",
    "Pacific/Chatham",
    "Pacific/Kwajalein",
};

constexpr unsigned int kHour = 3600;
constexpr unsigned int kHoursIn40Years = 40u * 365 * 24 + 10 * 24;
constexpr unsigned int kStartOf1985 = 473385600;

bool hasZone(const std::string& zone)
{
    return access(("/usr/share/zoneinfo/" + zone).c_str(), R_OK) == 0;
}

std::string localTime(unsigned int seconds)
{
    const std::time_t time = static_cast<std::time_t>(seconds);
    std::tm local = {};
    localtime_r(&time, &local);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

// Quicker than comparing texts.
bool isLocalTime(const char* text, unsigned int seconds)
{
    const std::time_t time = static_cast<std::time_t>(seconds);
    std::tm local = {};
    localtime_r(&time, &local);
    const int fields[] = { local.tm_hour, local.tm_min, local.tm_sec };
    for (int i = 0; i < 3; ++i) {
        const char* field = text + 3 * i;
        if (field[0] != '0' + fields[i] / 10 || field[1] != '0' + fields[i] % 10
            || (i < 2 && field[2] != ':')) {
            return false;
        }
    }
    return true;
}

std::string timeOf(const std::string& line)
{
    return line.substr(line.find(':') - 2, 8);
}

HandMadeRecord at(unsigned int seconds)
{
    return HandMadeRecord().Header(1, seconds).Inline("m").Count(0);
}

class CollectTimeZone : public testing::TestWithParam<const char*> {
protected:
    ~CollectTimeZone() override { setTimeZone("UTC0"); }
};

} // namespace

TEST_P(CollectTimeZone, EveryHourOf40YearsIsLocal)
{
    if (!hasZone(GetParam())) {
        GTEST_SKIP() << "the system does not know this zone";
    }
    setTimeZone(GetParam());
    HSL::ClockCache clock;
    for (unsigned int hour = 0; hour < kHoursIn40Years; ++hour) {
        const unsigned int start = kStartOf1985 + hour * kHour;
        // Both sides of a change of offset on the hour, and somewhere within it.
        for (unsigned int seconds : { start - 1, start, start + hour % kHour }) {
            ASSERT_TRUE(isLocalTime(clock.Text(seconds), seconds)) << seconds;
        }
    }
}

TEST_P(CollectTimeZone, LinesOfAClockThatLeapsAreLocal)
{
    if (!hasZone(GetParam())) {
        GTEST_SKIP() << "the system does not know this zone";
    }
    ManualPass pass;
    setTimeZone(GetParam());
    HSL::CLogContext& context = pass.Context("Main");
    std::mt19937 random(40);
    for (int round = 0; round < 100; ++round) {
        std::vector<unsigned int> times;
        for (int i = 0; i < 100; ++i) {
            const bool leaps = i == 0 || random() % 3 == 0;
            const unsigned int step = static_cast<unsigned int>(random());
            times.push_back(leaps ? step : times.back() + step % 3 - 1);
            at(times.back()).PublishIn(context);
        }
        pass.lines.clear();
        pass.Manager().Collect();
        ASSERT_EQ(pass.lines.size(), times.size());
        for (std::size_t i = 0; i < times.size(); ++i) {
            ASSERT_EQ(timeOf(pass.lines[i]), localTime(times[i])) << times[i];
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Zones, CollectTimeZone, testing::ValuesIn(kZones),
                         [](const testing::TestParamInfo<const char*>& tested) {
                             std::string name = tested.param;
                             for (char& character : name) {
                                 character = character == '/' ? '_' : character;
                             }
                             return name;
                         });

TEST(CollectTime, ChangedZoneShowsInTheNextPass)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    for (const char* zone : { "UTC0", "EST5", "XYZ-05:30", "UTC0" }) {
        setTimeZone(zone);
        at(1700000000).PublishIn(context);
        pass.Manager().Collect();
        EXPECT_EQ(timeOf(pass.lines.back()), localTime(1700000000)) << zone;
    }
    EXPECT_NE(timeOf(pass.lines[0]), timeOf(pass.lines[1]));
}

TEST(CollectTime, ChangedZoneShowsInTheNextRecordThatIsOutputAlone)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    for (const char* zone : { "UTC0", "EST5" }) {
        setTimeZone(zone);
        HandMadeRecord bytes = HandMadeRecord().Raw(1700000000u).Raw(0u).Byte(0).Byte(1).Byte(3);
        bytes.Inline("m").Count(0).PushTo(*context.mBuffer);
        pass.Manager().OutputNextMessage(&context, 1);
        EXPECT_EQ(timeOf(pass.lines.back()), localTime(1700000000)) << zone;
    }
}
