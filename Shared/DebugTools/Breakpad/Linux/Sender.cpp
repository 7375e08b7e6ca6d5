// fallcatch_sender: posts crash reports. Crashed and starting hosts run it in the background; by hand it says
// what becomes of each report.
#include "Keys.h"
#include "SenderFolder.h"
#include "SenderQueue.h"
#include "SenderState.h"
#include "SenderUpload.h"
#include "SenderWait.h"
#include "SenderWhere.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <getopt.h>
#include <optional>
#include <random>
#include <string>
#include <sys/auxv.h>
#include <vector>

namespace {

using namespace BreakpadLinux;

struct Options {
    std::string state;   // empty: beside the reports
    std::string product; // empty: the reports are named
    std::string where;   // the product whose folder is asked for
    std::vector<std::string> names;
    long host = 0;        // the process that started this one and while which it may wait
    bool crashed = false; // by a host that has crashed
    bool help = false;
};

double randomPart()
{
    static std::mt19937_64 random(std::random_device {}());
    return std::uniform_real_distribution<double>(0, 1)(random);
}

Queue::World realWorld()
{
    return { Upload, [] { return std::time(nullptr); }, randomPart,
             [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); } };
}

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// All of the product's in the folder if that is what was asked for; those named otherwise, and in the
// background whatever else of the product waits there.
class Run {
public:
    explicit Run(const Options& options)
        : mOptions(options)
        , mByHand(!options.crashed && options.host == 0)
        , mFolder(options.product.empty() ? folderOf(options.names[0]) : options.names[0])
        , mProduct(options.product)
    {
        std::string why;
        if (mProduct.empty() && options.crashed) {
            const auto report = StoredReport::Read(options.names[0], why);
            mProduct = report ? report->Value(kProduct) : "";
        }
    }

    // Nothing when another sender is at work, which looks at what has come meanwhile before it ends.
    bool Pass()
    {
        mConsent = State::ConsentIn(stateFolder());
        State state(stateFolder());
        if (state.IsBusy()) {
            std::fprintf(stderr, "fallcatch_sender: left to another one that is at work\n");
            mDone = false;
            // Whoever may wait comes again.
            mNextDue = std::time(nullptr) + 60;
            return false;
        }
        if (!state.Trouble().empty()) {
            std::fprintf(stderr, "fallcatch_sender: nothing is remembered: %s\n", state.Trouble().c_str());
        }
        Queue queue(realWorld(), state, mByHand);
        if (mOptions.product.empty()) {
            for (const std::string& path : mOptions.names) {
                queue.Handle(path);
            }
        }
        if (!mProduct.empty()) {
            queue.Drain(mProduct, mFolder);
        }
        mDone = queue.IsDone();
        mNextDue = queue.NextDue();
        mSeen = queue.Seen();
        return true;
    }

    // A sender that found this one at work has left its report before it looked for the lock, so that it can be
    // seen from here once the lock is free. So can a consent that came meanwhile.
    bool HasMissedOne() const
    {
        if (State::ConsentIn(stateFolder()) != mConsent) {
            return true;
        }
        if (mProduct.empty()) {
            return false;
        }
        for (const FoundReport& found : ReportsOf(mProduct, mFolder)) {
            if (mSeen.count(found.report.Id()) == 0) {
                return true;
            }
        }
        return false;
    }

    bool IsDone() const { return mDone; }
    time_t NextDue() const { return mNextDue; }

private:
    const std::string& stateFolder() const { return mOptions.state.empty() ? mFolder : mOptions.state; }

    const Options& mOptions;
    const bool mByHand;
    const std::string mFolder;
    std::string mProduct;
    std::optional<bool> mConsent;
    std::set<std::string> mSeen;
    bool mDone = true;
    time_t mNextDue = 0;
};

int work(const Options& options)
{
    Run run(options);
    const HostWatch host(options.host);
    for (;;) {
        while (run.Pass() && run.HasMissedOne()) { }
        if (run.NextDue() == 0 || !host.WaitUntil(run.NextDue())) {
            return run.IsDone() ? EXIT_SUCCESS : EXIT_FAILURE;
        }
    }
}

int tellWhere(const std::string& product)
{
    std::string why;
    const std::string folder = FolderOfProduct(product, why);
    if (folder.empty()) {
        std::fprintf(stderr, "fallcatch_sender: %s\n", why.c_str());
        return EXIT_FAILURE;
    }
    std::printf("%s\n", folder.c_str());
    return EXIT_SUCCESS;
}

int usage(std::FILE* out)
{
    std::fputs(
        "usage: fallcatch_sender [--state FOLDER] REPORT...          posts these <guid>.report files\n"
        "       fallcatch_sender [--state FOLDER] --product PRODUCT FOLDER\n"
        "                                                            posts all of the product's in the folder\n"
        "       fallcatch_sender --where PRODUCT                     tells the folder of the product's "
        "reports\n"
        "\n"
        "A report and its dump are removed once the collector has taken them. Ends with 0 when none of those\n"
        "named is left. What is remembered between two runs lies in the state folder, which without --state "
        "is\n"
        "that of the reports.\n"
        "\n"
        "Hosts add --crashed, or --host PID: places that did not answer are then left in peace for a while, "
        "and\n"
        "while the process runs, so does the sender as long as a report waits.\n"
        "\n"
        "FALLCATCH_SENDER_TIMEOUT: the seconds without a byte after which a server is given up (60).\n"
        "FALLCATCH_SENDER_LIMIT: the seconds that one report may take in all (600). At most a day each.\n",
        out);
    return out == stdout ? EXIT_SUCCESS : 2;
}

std::optional<Options> parse(int argc, char** argv)
{
    const option known[] = {
        { "where", required_argument, nullptr, 'w' },
        { "state", required_argument, nullptr, 's' },
        { "product", required_argument, nullptr, 'p' },
        { "host", required_argument, nullptr, 'o' },
        { "crashed", no_argument, nullptr, 'c' },
        { "help", no_argument, nullptr, 'h' },
        {},
    };
    Options options;
    opterr = 0;
    for (int found = 0; (found = getopt_long(argc, argv, "+h", known, nullptr)) != -1;) {
        switch (found) {
        case 's':
            options.state = optarg;
            break;
        case 'p':
            options.product = optarg;
            break;
        case 'o':
            options.host = std::strtol(optarg, nullptr, 10);
            break;
        case 'w':
            options.where = optarg;
            return options;
        case 'c':
            options.crashed = true;
            break;
        case 'h':
            options.help = true;
            return options;
        default:
            return std::nullopt;
        }
    }
    options.names.assign(argv + optind, argv + argc);
    const bool isUsable = options.product.empty() ? !options.names.empty() : options.names.size() == 1;
    return isUsable ? std::optional<Options>(options) : std::nullopt;
}

} // namespace

int main(int argc, char** argv)
{
    if (getauxval(AT_SECURE) != 0) {
        clearenv(); // of whoever started a program with more rights than his own
    }
    unsetenv("SSLKEYLOGFILE"); // a file that nobody asked for, with the keys to all that is posted
    std::signal(SIGPIPE, SIG_IGN);
    const auto options = parse(argc, argv);
    if (!options) {
        return usage(stderr);
    }
    if (!options->where.empty()) {
        return tellWhere(options->where);
    }
    return options->help ? usage(stdout) : work(*options);
}
