#include "RawServer.h"

#include <chrono>
#include <cstdlib>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

bool isReadable(int socket, int milliseconds)
{
    pollfd one = { socket, POLLIN, 0 };
    return poll(&one, 1, milliseconds) > 0;
}

// Head and body of one request, as far as its Content-Length tells.
std::string readRequest(int connection)
{
    std::string text;
    std::size_t needed = std::string::npos;
    char some[65536];
    while (text.size() < needed && isReadable(connection, 2000)) {
        const ssize_t count = recv(connection, some, sizeof(some), 0);
        if (count <= 0) {
            return text;
        }
        text.append(some, static_cast<std::size_t>(count));
        const std::size_t head = needed == std::string::npos ? text.find("\r\n\r\n") : std::string::npos;
        const std::size_t length = text.find("Content-Length: ");
        if (head != std::string::npos && length < head) {
            needed = head + 4 + std::strtoul(text.c_str() + length + 16, nullptr, 10);
            // Whoever sends much asks first.
            if (text.substr(0, head).find("Expect: 100-continue") != std::string::npos) {
                const std::string goOn = "HTTP/1.1 100 Continue\r\n\r\n";
                send(connection, goOn.data(), goOn.size(), MSG_NOSIGNAL);
            }
        }
    }
    return text;
}

bool sendAll(int connection, const std::string& bytes)
{
    return send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

} // namespace

RawServer::RawServer(Behaviour behaviour)
    : mBehaviour(std::move(behaviour))
    , mListener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    bind(mListener, reinterpret_cast<sockaddr*>(&address), length);
    listen(mListener, 8);
    getsockname(mListener, reinterpret_cast<sockaddr*>(&address), &length);
    mPort = ntohs(address.sin_port);
    mThread = std::thread([this] {
        while (!mEnds) {
            const int connection = isReadable(mListener, 50) ? accept(mListener, nullptr, nullptr) : -1;
            if (connection >= 0) {
                ++mConnections;
                serve(connection, mConnections == 1);
                close(connection);
            }
        }
    });
}

RawServer::~RawServer()
{
    mEnds = true;
    mThread.join();
    close(mListener);
}

std::string RawServer::Url() const
{
    return "http://127.0.0.1:" + std::to_string(mPort) + "/submit";
}

std::vector<std::string> RawServer::Requests() const
{
    const std::lock_guard<std::mutex> guard(mLock);
    return mRequests;
}

void RawServer::serve(int connection, bool isFirst)
{
    using After = Behaviour::After;
    if (mBehaviour.before == Behaviour::Before::readAll) {
        std::string request = readRequest(connection);
        const std::lock_guard<std::mutex> guard(mLock);
        mRequests.push_back(std::move(request));
    } else if (mBehaviour.before == Behaviour::Before::readSome) {
        char some[100];
        recv(connection, some, sizeof(some), 0);
    }
    const bool same = isFirst || mBehaviour.secondAnswer.empty();
    bool open = sendAll(connection, same ? mBehaviour.answer : mBehaviour.secondAnswer);
    while (open && !mEnds && mBehaviour.after != After::close && mBehaviour.after != After::reset) {
        if (mBehaviour.after == After::flood) {
            open = sendAll(connection, std::string(65536, 'x'));
            continue;
        }
        if (isReadable(connection, 100)) {
            char some[4096];
            open = recv(connection, some, sizeof(some), 0) > 0;
        }
        if (mBehaviour.after == After::dribble) {
            open = open && sendAll(connection, "x");
        }
    }
    if (mBehaviour.after == After::reset) {
        const linger hard = { 1, 0 };
        setsockopt(connection, SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
        return;
    }
    shutdown(connection, SHUT_WR);
    char rest[4096];
    while (isReadable(connection, 100) && recv(connection, rest, sizeof(rest), 0) > 0) { }
}
