// Calls of every kind, to be compiled only.
#define HSL_LOG_SOURCE
#include "hslog/HSLLog.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

enum class Colour {
    kRed
};

struct Point {
    int x, y;
};
std::string ToLogText(const Point& point);

inline void inlined(int number)
{
    HSL_INFO("{}", number);
}

template <typename T> void templated(const T& value)
{
    HSL_ERROR_EVERY_MS(1000, "{} {:>8}", value, value);
}

void everything(const std::string& text, std::optional<double> share, std::error_code code, const Point& point,
                std::size_t size, const char* file)
{
    HSL_INFO("100% of {}", size);
    HSL_WARNING("{:08x} {:#x} {:+.3f} {:<20} {:c}", size, 7, 1.5f, text, 'x');
    HSL_ERROR("{} {} {}", code, share, point);
    HSL_CHATTY("{} {}", std::chrono::milliseconds(5), Colour::kRed);
    HSL_VERBOSE("{}", std::chrono::system_clock::now());
    HSL_ULTRA_VERBOSE("{} {} {} {}", L"wide", u"sixteen", U"thirty-two", u8"eight");
    HSL_CATASTROPHY_ONCE("{0} {0} {1}", file, nullptr);
    HSL_LOG(HSL::CCat(20), "{}", std::string_view(text).substr(1));
    HSL_LOG_IF(25, size > 3, "{}", true);
    HSL_INFO_EVERY_N(10, "plain");
    inlined(1);
    templated(text);
    templated(static_cast<std::uint64_t>(size));
    [&](auto value) { HSL_INFO("{}", value); }(size);
}
