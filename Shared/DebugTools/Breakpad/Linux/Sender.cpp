// fallcatch_sender: posts crash reports. Crashed and starting hosts run it in the background; by hand it says
// what becomes of each report.
#include "Keys.h"
#include "SenderReport.h"
#include "SenderState.h"
#include "SenderUpload.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace {

using namespace BreakpadLinux;
namespace fs = std::filesystem;

enum class Outcome {
    done, // nothing of it is left to send
    kept,
    unreachable, // kept, and the next one to the same place would fare no better
};

void tell(State& state, const StoredReport& report, const std::string& what)
{
    std::fprintf(stderr, "%s: %s\n", report.Id().c_str(), what.c_str());
    state.Log(report.Id() + ": " + what);
}

// The dump goes first: should the sender be ended in between, the report without a dump is known to be sent.
void removeReport(const StoredReport& report)
{
    std::error_code ignored;
    fs::remove(report.DumpPath(), ignored);
    fs::remove(report.Path(), ignored);
}

Outcome post(State& state, const StoredReport& report)
{
    const Answer answer = Upload(MakeSubmission(report, [&state] { return state.ClientId(); }));
    if (answer.status < 200 || answer.status > 299) {
        const bool answered = answer.status != 0;
        tell(state, report, "kept, " + (answered ? "HTTP " + std::to_string(answer.status) : answer.error));
        return answered ? Outcome::kept : Outcome::unreachable;
    }
    state.SetLastSubmission(std::time(nullptr));
    removeReport(report);
    tell(state, report, "sent, HTTP " + std::to_string(answer.status) + " " + answer.text);
    return Outcome::done;
}

Outcome handle(const std::string& path)
{
    // One sender of a product at a time. What another one has sent meanwhile is gone.
    std::optional<StoredReport> report = StoredReport::Read(path);
    if (!report) {
        return Outcome::kept;
    }
    State state(report->StateFolder());
    std::error_code error;
    if (!fs::exists(path, error)) {
        return Outcome::done;
    }
    if (!fs::exists(report->DumpPath(), error)) {
        fs::remove(path, error);
        return Outcome::done;
    }
    if (!state.IntervalHasPassed(report->Interval(), std::time(nullptr))) {
        tell(state, *report, "kept, within the report interval");
        return Outcome::kept;
    }
    return post(state, *report);
}

int sendAll(const std::vector<std::string>& paths)
{
    int status = EXIT_SUCCESS;
    for (const std::string& path : paths) {
        const Outcome outcome = handle(path);
        if (outcome != Outcome::done) {
            status = EXIT_FAILURE;
        }
        if (outcome == Outcome::unreachable) {
            break;
        }
    }
    return status;
}

// The product's reports in the folder, oldest first.
std::vector<std::string> leftovers(const std::string& product, const std::string& folder)
{
    std::vector<std::pair<fs::file_time_type, std::string>> found;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.path().extension() != kReportSuffix) {
            continue;
        }
        const auto report = StoredReport::Read(entry.path().string());
        if (report && report->Value(kProduct) == product) {
            found.emplace_back(entry.last_write_time(error), entry.path().string());
        }
    }
    std::sort(found.begin(), found.end());
    std::vector<std::string> paths;
    for (const auto& one : found) {
        paths.push_back(one.second);
    }
    return paths;
}

int usage(std::FILE* out)
{
    std::fputs("usage: fallcatch_sender REPORT...                 posts these <guid>.report files\n"
               "       fallcatch_sender --product PRODUCT FOLDER  posts all of the product's in the folder\n"
               "\n"
               "A report and its dump are removed once the server has answered 2xx. Ends with 0 when none of\n"
               "those named is left. FALLCATCH_SENDER_TIMEOUT: the seconds without a byte after which a\n"
               "server is given up (60).\n",
               out);
    return out == stdout ? EXIT_SUCCESS : 2;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        return usage(stdout);
    }
    if (argc == 4 && std::strcmp(argv[1], "--product") == 0) {
        return sendAll(leftovers(argv[2], argv[3]));
    }
    if (argc < 2 || argv[1][0] == '-') {
        return usage(stderr);
    }
    return sendAll(std::vector<std::string>(argv + 1, argv + argc));
}
