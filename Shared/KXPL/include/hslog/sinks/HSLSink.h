// Where lines go: sinks, and the Output that hands every line to those that want it.
//
//     HSL::Sinks::Output output;                       // takes the structured callback
//     output.Add(HSL::Sinks::MakeFileSink("app.log"));
//     output.Add(HSL::Sinks::MakeStandardErrorSink(), "warning");
//
// Optional: the library fallcatch::kxpl_sinks. Sinks run on the collection thread, under the manager's lock. Those of
// this library never wait there: they hand what they are given to a thread of their own, by a queue that is bounded, and
// tell in their own stream what did not fit.
#ifndef HSLOG_HSL_SINK_H
#define HSLOG_HSL_SINK_H

#include "../HSLCategory.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace HSL {
namespace Sinks {

// One message. The texts are valid during the call only.
struct Line {
    int mSequence;         // numbers grow by one; a gap tells of dropped messages or of such that do not pass
    unsigned int mSeconds; // since 1970, UTC
    unsigned int mMicroseconds; // below a million
    Level mLevel;               // what the code stands for
    unsigned char mCode;        // the first of the call's codes
    unsigned char mDepth;       // indentation
    std::string_view mCategory; // empty for calls without one
    std::string_view mThread;   // the context's name
    std::string_view mMessage;  // without the place of the call
    std::string_view mFile;     // the place, if HSL_LOG_SOURCE told it; else empty and 0
    int mLine;                  // likewise
    std::string_view mFunction; // likewise
};

// Must not log, throw, or wait for long. Made and destroyed by the host, written to by the collection thread only.
class Sink {
public:
    virtual ~Sink() = default;
    // Takes a line; what it points to is valid during the call only.
    virtual void Write(const Line& line) = 0;
    // Waits until what was written before is where it belongs, at most so long. Any thread.
    virtual bool Flush(int milliseconds) = 0;
};

// Puts the structured callback in force as long as it lives, and then the callback that was there before. One at a time
// in a module. Make it before anything is logged, and destroy it behind CLogManager::Cleanup, whose last pass still
// delivers; a sink's own end writes what is in its queue.
class Output {
public:
    // Needs a manager.
    Output();
    ~Output();

    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // `levels` is a list as SetLevels takes it, and passes everything by default. The filter of the manager comes
    // first: what it refuses no sink sees. False for null, or a list with a mistake, and then the sink is gone. Waits
    // for a pass to end.
    bool Add(std::unique_ptr<Sink> sink, const char* levels = "", std::string* problem = nullptr);

    // Makes a pass, and waits until every sink has written what it was handed. False if one did not in time. Not from
    // a callback.
    bool Flush(int milliseconds = 1000);

private:
    struct Entry {
        std::unique_ptr<Sink> mSink;
        LevelFilter mFilter;
    };

    static void TakeMessage(const char* text, const std::string& contextName, unsigned char depth,
                            unsigned char categoryCount, unsigned char* categories, unsigned int seconds,
                            unsigned int microseconds);
    void Write(Line& line);

    std::vector<Entry> mEntries;
    CategoryAndLevel mKnown[256];
    bool mIsKnown[256] = {};
    unsigned char mTypeBefore = 0;
    void (*mStructuredBefore)(const char*, const std::string&, unsigned char, unsigned char, unsigned char*,
                              unsigned int, unsigned int) = nullptr;
};

} // namespace Sinks
} // namespace HSL

#endif
