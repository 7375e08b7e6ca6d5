// One crash reporter: Breakpad's handler, the host's pairs, and the way to the sender.
#ifndef FALLCATCH_BREAKPAD_REPORTER_H
#define FALLCATCH_BREAKPAD_REPORTER_H

#include "DumpNames.h"
#include "DumpPrivacy.h"
#include "Parameters.h"
#include "ReservedFiles.h"
#include "Snapshot.h"

#include "client/linux/handler/exception_handler.h"

#include <atomic>
#include <climits>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>

namespace BreakpadLinux {

struct Settings {
    Parameters parameters;
    std::string product;
    std::string dumpFolder; // both absolute and there
    std::string stateFolder;
    std::string sender; // absolute path of the program
    bool keepEnvironment = false;
};

class Reporter {
public:
    // From here on crashes of the process are reported. Reports that an earlier process left are sent now.
    explicit Reporter(const Settings& settings);
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;
    ~Reporter();

    // Any thread, at any time.
    bool SetKeyValue(const std::string& key, const std::string& value); // false: there is no room
    void RemoveKey(const std::string& key);

    // The user's consent, remembered with the product. Returns whether it could be.
    bool SetUpload(bool allowed) const;

    // A report of the process as it is. The process goes on.
    bool ReportNow(const std::string& reason);

private:
    static bool beforeDump(void* reporter);
    static bool afterDump(const google_breakpad::MinidumpDescriptor& descriptor, void* reporter,
                          bool succeeded);

    bool openDump();
    bool amendDump() const;

    void publish();
    void sendLeftovers() const;

    std::mutex mLock; // writers of the pairs only; the crash takes none
    Parameters mParameters;
    Snapshot mText;

    const std::string mProduct;
    const std::string mDumpFolder;
    const std::string mStateFolder;
    const std::string mSender;
    const time_t mStart;

    // For the crash, in which nothing can be found out any more.
    const pid_t mProcess;
    const std::string mVersion;
    const bool mKeepEnvironment;
    const ProcessTexts mTexts;
    const AbortText mAbortText;
    ReservedFiles mFiles;
    std::atomic<bool> mReporting { false }; // without a crash
    char mPath[PATH_MAX];                   // of the dump; the name is the process's own once it crashes

    // Last: it is gone before what its callbacks use.
    std::unique_ptr<google_breakpad::ExceptionHandler> mHandler;
};

} // namespace BreakpadLinux

#endif
