// A collector inside the test, and a listener that is none.
#ifndef FALLCATCH_TESTS_CRASH_SERVER_H
#define FALLCATCH_TESTS_CRASH_SERVER_H

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace httplib {
class Server;
}

struct Received {
    std::map<std::string, std::string> fields;
    std::map<std::string, std::string> query;
    std::string dump;
    std::string dumpName;
    std::string method;
    std::string path;
    std::string encoding; // of the body, as its head tells; what is above is decoded
};

class CrashServer {
public:
    // On a free port, or on one that another server had.
    explicit CrashServer(int port = 0);
    CrashServer(const CrashServer&) = delete;
    CrashServer& operator=(const CrashServer&) = delete;
    ~CrashServer();

    int Port() const { return mPort; }
    std::string Url() const;
    std::vector<Received> Reports() const;

    // Of the reports to come.
    void SetStatus(int status) { mStatus = status; }
    void SetText(const std::string& text) { mText = text; } // before any report
    void SetDelay(int milliseconds) { mDelay = milliseconds; }
    // Runs for each report before it is answered.
    void BeforeAnswer(std::function<void()> look) { mLook = std::move(look); }

private:
    std::unique_ptr<httplib::Server> mServer;
    std::thread mThread;
    int mPort = 0;
    std::atomic<int> mStatus { 200 };
    std::atomic<int> mDelay { 0 };
    std::string mText = "CrashID=bp-1\n";
    std::function<void()> mLook;
    mutable std::mutex mLock;
    std::vector<Received> mReports;
};

// Takes connections, reads a little of what comes and cuts them.
class CuttingServer {
public:
    CuttingServer();
    CuttingServer(const CuttingServer&) = delete;
    CuttingServer& operator=(const CuttingServer&) = delete;
    ~CuttingServer();

    int Port() const { return mPort; }
    int Cuts() const { return mCuts; }

private:
    int mPort = 0;
    int mListener;
    std::atomic<int> mCuts { 0 };
    std::thread mThread;
};

// Where nobody listens until someone takes the port again.
int FreePort();

std::string LocalUrl(int port);

#endif
