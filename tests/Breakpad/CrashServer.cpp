#include "CrashServer.h"

#include "httplib.h"

#include <arpa/inet.h>
#include <chrono>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A port that another server of the same test has just left can be had again at once.
void reuseAddress(socket_t socket)
{
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
}

int listenOnLoopback(int& port)
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    reuseAddress(listener);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), length), 0);
    EXPECT_EQ(listen(listener, 8), 0);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    port = ntohs(address.sin_port);
    return listener;
}

Received read(const httplib::Request& request)
{
    Received received;
    received.method = request.method;
    received.path = request.path;
    received.encoding = request.get_header_value("Content-Encoding");
    received.query.insert(request.params.begin(), request.params.end());
    for (const auto& item : request.files) {
        if (item.first == "upload_file_minidump") {
            received.dump = item.second.content;
            received.dumpName = item.second.filename;
        } else {
            received.fields[item.first] = item.second.content;
        }
    }
    return received;
}

} // namespace

std::string LocalUrl(int port)
{
    return "http://127.0.0.1:" + std::to_string(port) + "/submit";
}

int FreePort()
{
    int port = 0;
    close(listenOnLoopback(port));
    return port;
}

CrashServer::CrashServer(int port)
    : mServer(std::make_unique<httplib::Server>())
{
    mServer->set_socket_options(reuseAddress);
    mServer->set_keep_alive_max_count(1);
    mServer->Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
        {
            const std::lock_guard<std::mutex> guard(mLock);
            mReports.push_back(read(request));
        }
        if (mLook) {
            mLook();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(mDelay));
        response.status = mStatus;
        response.set_content(mText, "text/plain");
    });
    if (port == 0) {
        mPort = mServer->bind_to_any_port("127.0.0.1");
    } else {
        mPort = mServer->bind_to_port("127.0.0.1", port) ? port : -1;
    }
    EXPECT_GT(mPort, 0);
    mThread = std::thread([this] { mServer->listen_after_bind(); });
    while (!mServer->is_running()) {
        std::this_thread::yield();
    }
}

CrashServer::~CrashServer()
{
    mServer->stop();
    mThread.join();
}

std::string CrashServer::Url() const
{
    return LocalUrl(mPort);
}

std::vector<Received> CrashServer::Reports() const
{
    const std::lock_guard<std::mutex> guard(mLock);
    return mReports;
}

CuttingServer::CuttingServer()
    : mListener(listenOnLoopback(mPort))
{
    mThread = std::thread([this] {
        for (;;) {
            const int connection = accept(mListener, nullptr, nullptr);
            if (connection < 0) {
                return;
            }
            char some[1000];
            if (recv(connection, some, sizeof(some), 0) > 0) {
                ++mCuts;
            }
            const linger hard = { 1, 0 };
            setsockopt(connection, SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
            close(connection);
        }
    });
}

CuttingServer::~CuttingServer()
{
    shutdown(mListener, SHUT_RDWR);
    mThread.join();
    close(mListener);
}
