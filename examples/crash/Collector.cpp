// A crash-report collector for trying things out: takes posts on the loopback address, keeps what it gets in a
// folder and says what came. No production server: it knows no users, no limits and no symbols.
#include "httplib.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;

struct Options {
    int port = 0;
    fs::path folder = ".";
    int reports = 0;
    int status = 200;
    bool ask = false;
};

int usage(std::FILE* out)
{
    std::fputs("usage: fallcatch_collector [--port N] [--folder DIR] [--reports N] [--status CODE] [--ask]\n"
               "\n"
               "  --port N       of 127.0.0.1; without it a free one is taken and told\n"
               "  --folder DIR   where report-N.dmp, report-N.txt and report-N.log go\n"
               "  --reports N    ends after that many\n"
               "  --status CODE  the answer to every report\n"
               "  --ask          answers a report when a line comes on standard input\n",
               out);
    return out == stdout ? EXIT_SUCCESS : 2;
}

bool parse(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (name == "--ask") {
            options.ask = true;
        } else if (i + 1 == argc) {
            return false;
        } else if (name == "--port") {
            options.port = std::atoi(argv[++i]);
        } else if (name == "--folder") {
            options.folder = argv[++i];
        } else if (name == "--reports") {
            options.reports = std::atoi(argv[++i]);
        } else if (name == "--status") {
            options.status = std::atoi(argv[++i]);
        } else {
            return false;
        }
    }
    return true;
}

class Collector {
public:
    explicit Collector(const Options& options)
        : mOptions(options)
    {
        mServer.set_payload_max_length(256U << 20);
        mServer.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
            take(request, response);
        });
    }

    int Run()
    {
        const int port = mOptions.port != 0
            ? (mServer.bind_to_port("127.0.0.1", mOptions.port) ? mOptions.port : -1)
            : mServer.bind_to_any_port("127.0.0.1");
        if (port <= 0) {
            std::fprintf(stderr, "fallcatch_collector: the port cannot be had\n");
            return EXIT_FAILURE;
        }
        say("listening on http://127.0.0.1:" + std::to_string(port) + "/submit");
        return mServer.listen_after_bind() ? EXIT_SUCCESS : EXIT_FAILURE;
    }

private:
    static void say(const std::string& line)
    {
        std::printf("%s\n", line.c_str());
        std::fflush(stdout);
    }

    void take(const httplib::Request& request, httplib::Response& response)
    {
        const std::lock_guard<std::mutex> guard(mLock);
        const int number = ++mCount;
        const bool hasDump = keep(request, number);
        say("report " + std::to_string(number) + (hasDump ? " received" : " received without a dump"));
        std::string line;
        if (mOptions.ask) {
            std::getline(std::cin, line);
        }
        response.status = hasDump ? mOptions.status : 400;
        response.set_content("CrashID=report-" + std::to_string(number) + "\n", "text/plain");
        if (number == mOptions.reports) {
            // The answer to this one goes out first.
            std::thread([this] { mServer.stop(); }).detach();
        }
    }

    // One line a field, sorted; line ends inside a value are shown as such.
    bool keep(const httplib::Request& request, int number) const
    {
        const std::string name = "report-" + std::to_string(number);
        std::map<std::string, std::string> fields;
        bool hasDump = false;
        for (const auto& item : request.params) {
            fields["?" + item.first] = item.second;
        }
        for (const auto& item : request.files) {
            if (item.first == "upload_file_minidump") {
                std::ofstream(mOptions.folder / (name + ".dmp"), std::ios::binary) << item.second.content;
                fields[item.first] = std::to_string(item.second.content.size()) + " bytes";
                hasDump = item.second.content.compare(0, 4, "MDMP") == 0;
            } else if (item.first == "upload_file_log") {
                std::ofstream(mOptions.folder / (name + ".log"), std::ios::binary) << item.second.content;
                fields[item.first] = std::to_string(item.second.content.size()) + " bytes";
            } else {
                fields[item.first] = item.second.content;
            }
        }
        std::ofstream file(mOptions.folder / (name + ".txt"));
        for (const auto& field : fields) {
            file << field.first << '=';
            for (const char c : field.second) {
                file << (c == '\n' ? "\\n" : std::string(1, c));
            }
            file << '\n';
        }
        return hasDump;
    }

    const Options mOptions;
    httplib::Server mServer;
    std::mutex mLock;
    int mCount = 0;
};

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (argc == 2 && std::string(argv[1]) == "--help") {
        return usage(stdout);
    }
    if (!parse(argc, argv, options)) {
        return usage(stderr);
    }
    std::error_code error;
    fs::create_directories(options.folder, error);
    return Collector(options).Run();
}
