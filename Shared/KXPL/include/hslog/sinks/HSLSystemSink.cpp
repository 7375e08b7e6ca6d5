#include "hslog/sinks/HSLSystemSink.h"

#include "hslog/sinks/HSLQueue.h"
#include "hslog/sinks/HSLTextSink.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace HSL {
namespace Sinks {
namespace {

int priorityOf(Level level)
{
    switch (level) {
    case Level::kCatastrophy:
        return LOG_CRIT;
    case Level::kError:
        return LOG_ERR;
    case Level::kWarning:
        return LOG_WARNING;
    case Level::kInfo:
        return LOG_INFO;
    default:
        return LOG_DEBUG;
    }
}

// Its queue holds entries, each behind its length and its priority.
class EntrySink : public Sink, protected Queue {
public:
    EntrySink()
        : Queue(kUsualBytes)
    {
    }

    void Write(const Line& line) final
    {
        mEntry.clear();
        AppendEntry(mEntry, line);
        const Head head { static_cast<std::uint32_t>(mEntry.size()),
                          static_cast<std::uint32_t>(priorityOf(line.mLevel)), mDropped };
        mFramed.assign(reinterpret_cast<const char*>(&head), sizeof head);
        mFramed += mEntry;
        mDropped = Push(mFramed.data(), mFramed.size(), line.mLevel >= kUrgent) ? 0 : mDropped + 1;
    }

    bool Flush(int milliseconds) final { return Queue::Flush(milliseconds); }

protected:
    virtual void AppendEntry(std::string& to, const Line& line) const = 0;
    // False if it was not taken.
    virtual bool Send(const std::string& entry, int priority) = 0;
    virtual bool SendNote(const std::string& note) = 0;

private:
    struct Head {
        std::uint32_t mSize;
        std::uint32_t mPriority;
        std::uint32_t mDroppedBefore;
    };

    void Consume(const std::string& bytes) override
    {
        for (std::size_t at = 0; at < bytes.size();) {
            Head head;
            std::memcpy(&head, bytes.data() + at, sizeof head);
            at += sizeof head;
            mLost += head.mDroppedBefore;
            if (mLost != 0 && SendNote("*** " + std::to_string(mLost) + " LINE(S) LOST ***")) {
                mLost = 0;
            }
            if (!Send(bytes.substr(at, head.mSize), static_cast<int>(head.mPriority))) {
                ++mLost;
            }
            at += head.mSize;
        }
    }

    std::string mEntry;
    std::string mFramed;
    std::uint32_t mDropped = 0;   // of the collection thread
    unsigned long long mLost = 0; // of the queue's
};

class SyslogSink : public EntrySink {
public:
    SyslogSink(const char* program, int facility)
        : mProgram(program != nullptr ? program : "")
    {
        ::openlog(mProgram.empty() ? nullptr : mProgram.c_str(), LOG_PID | LOG_NDELAY,
                  facility != 0 ? facility : LOG_USER);
        Start();
    }

    ~SyslogSink() override
    {
        Stop();
        ::closelog();
    }

private:
    void AppendEntry(std::string& to, const Line& line) const override
    {
        if (!line.mCategory.empty()) {
            to += line.mCategory;
            to += ": ";
        }
        to += line.mMessage;
    }

    bool Send(const std::string& entry, int priority) override
    {
        ::syslog(priority, "%s", entry.c_str());
        return true;
    }

    bool SendNote(const std::string& note) override { return Send(note, LOG_WARNING); }

    std::string mProgram; // openlog keeps the pointer
};

// A value with a newline in it is told by its length, in little-endian order.
void appendField(std::string& to, const char* name, std::string_view value)
{
    to += name;
    if (value.find('\n') == std::string_view::npos) {
        to += '=';
    } else {
        to += '\n';
        std::uint64_t size = value.size();
        for (int i = 0; i < 8; ++i, size >>= 8) {
            to += static_cast<char>(size & 0xFF);
        }
    }
    to += value;
    to += '\n';
}

class JournalSink : public EntrySink {
public:
    JournalSink(const char* program, const char* path)
        : mProgram(program)
    {
        mAddress.sun_family = AF_UNIX;
        std::strncpy(mAddress.sun_path, path, sizeof mAddress.sun_path - 1);
        mSocket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        Start();
    }

    ~JournalSink() override
    {
        Stop();
        if (mSocket >= 0) {
            ::close(mSocket);
        }
    }

private:
    void AppendEntry(std::string& to, const Line& line) const override
    {
        AppendFrame(to, line.mMessage, priorityOf(line.mLevel));
        if (!line.mFile.empty()) {
            appendField(to, "CODE_FILE", line.mFile);
            appendField(to, "CODE_LINE", std::to_string(line.mLine));
            appendField(to, "CODE_FUNC", line.mFunction);
        }
        appendField(to, "HSL_NUMBER", std::to_string(line.mSequence));
        appendField(to, "HSL_LEVEL", NameOf(line.mLevel));
        if (!line.mCategory.empty()) {
            appendField(to, "HSL_CATEGORY", line.mCategory);
        }
        appendField(to, "HSL_THREAD", line.mThread);
        const unsigned long long time = line.mSeconds * 1000000ull + line.mMicroseconds;
        appendField(to, "HSL_TIMESTAMP", std::to_string(time));
    }

    void AppendFrame(std::string& to, std::string_view message, int priority) const
    {
        appendField(to, "MESSAGE", message);
        appendField(to, "PRIORITY", std::to_string(priority));
        appendField(to, "SYSLOG_IDENTIFIER", mProgram);
    }

    bool Send(const std::string& entry, int) override
    {
        return ::sendto(mSocket, entry.data(), entry.size(), MSG_NOSIGNAL,
                        reinterpret_cast<const sockaddr*>(&mAddress), sizeof mAddress)
            >= 0;
    }

    bool SendNote(const std::string& note) override
    {
        std::string entry;
        AppendFrame(entry, note, LOG_WARNING);
        return Send(entry, LOG_WARNING);
    }

    std::string mProgram;
    sockaddr_un mAddress {};
    int mSocket = -1;
};

} // namespace

std::unique_ptr<Sink> MakeSyslogSink(const char* program, int facility)
{
    return std::make_unique<SyslogSink>(program, facility);
}

std::unique_ptr<Sink> MakeJournalSink(const char* program, const char* socket)
{
    return std::make_unique<JournalSink>(program, socket);
}

} // namespace Sinks
} // namespace HSL
