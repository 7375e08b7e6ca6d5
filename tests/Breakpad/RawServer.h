// A server on the loopback address that sends what a test wants, byte for byte, as fast as it wants.
#ifndef FALLCATCH_TESTS_RAW_SERVER_H
#define FALLCATCH_TESTS_RAW_SERVER_H

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct Behaviour {
    enum class Before {
        readAll,
        readNothing,
        readSome
    };
    enum class After {
        close,
        reset,
        beSilent,
        dribble,
        flood
    };

    Before before = Before::readAll; // of the request
    std::string answer;
    After after =
        After::close; // dribble: a byte every 100 ms for ever; flood: more and more, as fast as it goes
    std::string secondAnswer {}; // to all connections but the first; empty: the same
};

// Answers every connection in the same way, one at a time.
class RawServer {
public:
    explicit RawServer(Behaviour behaviour);
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;
    ~RawServer();

    std::string Url() const;
    int Connections() const { return mConnections; }
    // Heads and bodies of what was read whole, one for each such connection.
    std::vector<std::string> Requests() const;

private:
    void serve(int connection, bool isFirst);

    const Behaviour mBehaviour;
    int mPort = 0;
    int mListener;
    std::atomic<int> mConnections { 0 };
    std::atomic<bool> mEnds { false };
    mutable std::mutex mLock;
    std::vector<std::string> mRequests;
    std::thread mThread;
};

#endif
