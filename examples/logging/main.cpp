// Logs a little of everything, to standard error, to a file and to a file of JSON lines:
//
//     logging_example [FOLDER]
//
// MYAPP_LOG sets levels: MYAPP_LOG="*=warning,net=verbose" logging_example
#define HSL_LOG_SOURCE
#include "hslog/HSLLog.h"

#include "hslog/HSLCategory.h"
#include "hslog/sinks/HSLFileSink.h"
#include "hslog/sinks/HSLStreamSink.h"
#ifdef WITH_GZIP
#include "hslog/sinks/HSLGzip.h"
#endif

#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <system_error>

using namespace std::chrono_literals;

namespace {

struct Point {
    int x;
    int y;
};

std::string ToLogText(const Point& point)
{
    return "(" + std::to_string(point.x) + ", " + std::to_string(point.y) + ")";
}

void logAllKinds()
{
    const std::string name = "layout.xml";
    const std::optional<int> pages;
    HSL_INFO("{} files in {}, {:.1f}% of the disk", std::size_t(42), 17ms, 93.25);
    HSL_INFO("[{:>8}] [{:<8}] {:08x} {:#x}", 7, "left", 0xC0FFEE, 255);
    HSL_INFO("{} has {} pages, the caret is at {}", name, pages, Point { 3, 4 });
    HSL_WARNING("{} {}", L"wide and narrow:", u8"\u20ac");
    HSL_ERROR("cannot open {}: {}", name, std::make_error_code(std::errc::no_such_file_or_directory));
    for (int i = 0; i < 1000; ++i) {
        HSL_INFO_EVERY_N(500, "{} of 1000", i);
        HSL_WARNING_ONCE("told once");
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::string folder = argc > 1 ? argv[1] : ".";
    HSL::CLogManager::Initialize();
    {
        HSL::Sinks::Output output;
        output.Add(HSL::Sinks::MakeStandardErrorSink(), "info");

        HSL::Sinks::FileOptions rotated;
        rotated.mRotateBytes = 10 << 20;
        rotated.mRotateEvery = HSL::Sinks::Period::kDay;
        rotated.mKeep = 7;
#ifdef WITH_GZIP
        rotated.mCompress = HSL::Sinks::Gzip;
#endif
        rotated.mLayout = HSL::Sinks::MakePatternLayout("{date} {time}{zone} {level:8} {source} {message}");
        output.Add(HSL::Sinks::MakeFileSink((folder + "/example.log").c_str(), std::move(rotated)));

        HSL::Sinks::FileOptions json;
        json.mLayout = HSL::Sinks::MakeJsonLayout();
        output.Add(HSL::Sinks::MakeFileSink((folder + "/example.json").c_str(), std::move(json)),
                   "warning,net=chatty");

        HSL::LogManager()->SetEnable(true);
        std::string problem;
        if (!HSL::SetLevel("info") || !HSL::SetLevelsFromEnvironment("MYAPP_LOG", &problem)) {
            std::fprintf(stderr, "MYAPP_LOG: %s\n", problem.c_str());
        }
        const HSL::Category net = HSL::RegisterCategory("net");
        logAllKinds();
        HSL_LOG(net.Info(), "{} connections", 3);
        HSL_LOG(net.Verbose(), "not shown, and {} is not evaluated", std::string(1000, 'x'));
        HSL::CLogManager::Cleanup();
    }
    return 0;
}
