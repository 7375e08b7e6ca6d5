#include "CrashLogText.h"

#include "CrashLogFile.h"

#include "CircularBuffer.h"
#include "hslog/collect/HSLLineHeader.h"
#include "hslog/render/HSLMessage.h"
#include "hslog/render/HSLTextBuffer.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <vector>

namespace HSL {
namespace CrashLog {
namespace {

constexpr double kMicrosecondsPerSecond = 1000000.0;
// A small record may ask for much text. Nobody reads more than this.
constexpr std::size_t kMostText = 256u << 20;

struct Line {
    int number;
    unsigned int seconds;
    unsigned int microseconds;
    double delta;
    unsigned char depth;
    std::string categories;
    const std::string* thread;
    const std::string* message;  // of a kept line
    const PendingRecord* record; // or the record to render
    bool isHidden;
};

// Hands a record's bytes to the renderer, which reads them off a ring.
class Renderer {
public:
    explicit Renderer(const std::vector<CLogManager::CFormatStringEntry>& formats)
        : mFormats(formats)
    {
    }

    void Append(TextBuffer& text, const Line& line)
    {
        if (line.record == nullptr) {
            return text.Append(line.message->data(), line.message->size());
        }
        const std::string& body = line.record->mBody;
        const unsigned int size = static_cast<unsigned int>(body.size());
        mMemory.resize(cb_calc_buffer_size(1, size) / sizeof mMemory[0] + 1);
        cb_control* ring = reinterpret_cast<cb_control*>(mMemory.data());
        cb_initialize_with_buffer(ring, 1, size);
        int count = static_cast<int>(size);
        cb_write(ring, body.data(), &count);
        RingCursor cursor(ring);
        appendMessage(text, true, cursor, mFormats, Formats::kChecked);
    }

private:
    const std::vector<CLogManager::CFormatStringEntry>& mFormats;
    std::vector<unsigned long long> mMemory;
};

void appendCategories(std::string& json, const std::string& categories)
{
    static const char* const kLevels[] = { "Ultra Verbose", "Verbose", "Chatty",     "Info",
                                           "Warning",       "Error",   "Catastrophy" };
    json += '[';
    for (const char category : categories) {
        const unsigned int code = static_cast<unsigned char>(category);
        json += (json.back() == '[' ? "{\"code\":" : ",{\"code\":") + std::to_string(code);
        if (code < sizeof kLevels / sizeof kLevels[0]) {
            json += std::string(",\"level\":\"") + kLevels[code] + '"';
        }
        json += '}';
    }
    json += ']';
}

std::string jsonLine(const Line& line, const std::string& message)
{
    char micros[16];
    std::snprintf(micros, sizeof micros, "%06u", line.microseconds);
    std::string json = "{\"number\":" + std::to_string(line.number)
        + ",\"time\":" + std::to_string(line.seconds) + '.' + micros + ",\"thread\":";
    appendEscaped(json, *line.thread);
    json += ",\"depth\":" + std::to_string(static_cast<unsigned int>(line.depth)) + ",\"categories\":";
    appendCategories(json, line.categories);
    json += std::string(",\"state\":\"")
        + (line.isHidden ? "hidden" : (line.record != nullptr ? "pending" : "output"));
    json += "\",\"text\":";
    appendEscaped(json, message);
    return json + "}\n";
}

class Text {
public:
    Text(const StoredLog& log, const TextOptions& options)
        : mLog(log)
        , mOptions(options)
        , mRenderer(log.mFormats)
    {
        mClock.UseOffset(log.mZoneOffset);
    }

    CrashLogText Make();

private:
    void TakeKeptLines();
    void TakeContexts();
    void TakePending();
    bool IsHidden(const std::string& categories) const;
    bool IsLeftOut(const Line& line);
    void Render(const Line& line);
    void KeepNewest(bool isLast);
    void Note(const std::string& note, bool isDamage = true);
    void Sum();

    const StoredLog& mLog;
    const TextOptions& mOptions;
    CrashLogText mText;
    std::vector<RingRecords> mRings;
    std::vector<Line> mLines;
    std::set<int> mOutput; // numbers of the kept lines
    std::size_t mPending = 0;
    std::size_t mHidden = 0;
    std::size_t mLeftOut = 0;
    bool mIsCut = false;
    Renderer mRenderer;
    ClockCache mClock;
    TextBuffer mLine;
};

void Text::Note(const std::string& note, bool isDamage)
{
    mText.mNotes += "-- " + note + "\n";
    mText.mIsDamaged = mText.mIsDamaged || isDamage;
}

bool Text::IsHidden(const std::string& categories) const
{
    return std::none_of(categories.begin(), categories.end(),
                        [this](char code) { return mLog.mFilter[static_cast<unsigned char>(code)] != 0; });
}

void Text::TakeKeptLines()
{
    for (const StoredLine& line : mLog.mLines) {
        const KeptLineHead& head = line.mHead;
        const std::string categories(reinterpret_cast<const char*>(head.mCategories), head.mCategoryCount);
        mOutput.insert(head.mSequence);
        mLines.push_back({ head.mSequence, head.mSeconds, head.mMicroseconds, head.mDelta, head.mDepth,
                           categories, &line.mName, &line.mMessage, nullptr, false });
    }
}

void Text::TakeContexts()
{
    for (const StoredContext& context : mLog.mContexts) {
        mRings.push_back(recordsIn(context.mRing, mLog.mWidths));
        const RingRecords& ring = mRings.back();
        const std::string where =
            "thread \"" + (mOptions.mLeaveOut.IsIn(context.mName) ? "<LEFT OUT>" : context.mName) + "\": ";
        if (context.mProblem == kRingUnreadable) {
            Note(where + "its ring could not be read");
        } else if (context.mProblem == kRingDamaged) {
            Note(where + "its ring was damaged; " + std::to_string(ring.mRecords.size())
                 + " messages were found in it, some of which may have been output before");
        } else if (ring.mNonsense > 0) {
            Note(where + std::to_string(ring.mNonsense) + " bytes of its ring make no message");
        }
    }
}

// In the order in which a pass would have output them, as each one's time counts for the next one.
void Text::TakePending()
{
    std::vector<Line> pending;
    for (std::size_t i = 0; i < mRings.size(); ++i) {
        for (const PendingRecord& record : mRings[i].mRecords) {
            if (mOutput.count(record.mSequence) == 0) {
                pending.push_back({ record.mSequence, record.mSeconds, record.mMicroseconds, 0.0, record.mDepth,
                                    record.mCategories, &mLog.mContexts[i].mName, nullptr, &record,
                                    IsHidden(record.mCategories) });
            }
        }
    }
    const unsigned int last = static_cast<unsigned int>(mLog.mSequence);
    const auto age = [last](const Line& line) {
        return static_cast<int>(last - static_cast<unsigned int>(line.number));
    };
    const auto isOlder = [age](const Line& one, const Line& other) { return age(one) > age(other); };
    std::stable_sort(pending.begin(), pending.end(), isOlder);
    unsigned int lastSeconds = mLog.mLastSeconds;
    double lastTime = lastSeconds + mLog.mLastMicroseconds / kMicrosecondsPerSecond;
    for (Line& line : pending) {
        const double time = line.seconds + line.microseconds / kMicrosecondsPerSecond;
        line.delta = lastSeconds != 0 ? time - lastTime : 0.0;
        lastSeconds = line.seconds;
        lastTime = time;
        ++(line.isHidden ? mHidden : mPending);
        if (!line.isHidden || mOptions.mWithHidden) {
            mLines.push_back(std::move(line));
        }
    }
    std::stable_sort(mLines.begin(), mLines.end(), isOlder);
}

bool Text::IsLeftOut(const Line& line)
{
    if (mOptions.mLeaveOut.IsEmpty()) {
        return false;
    }
    mLine.Clear();
    mRenderer.Append(mLine, line);
    const std::string message(mLine.CStr(), mLine.Size());
    return mOptions.mLeaveOut.Holds(line.categories) || mOptions.mLeaveOut.IsIn(message)
        || mOptions.mLeaveOut.IsIn(*line.thread);
}

// Of what is left out number and time remain, so that no one takes it for missing.
void Text::Render(const Line& line)
{
    static const std::string kNobody;
    static const std::string kLeftOut = "<LEFT OUT>";
    if (line.message != &kLeftOut && IsLeftOut(line)) {
        ++mLeftOut;
        Line empty = line;
        empty.depth = 0;
        empty.categories.clear();
        empty.thread = &kNobody;
        empty.message = &kLeftOut;
        empty.record = nullptr;
        return Render(empty);
    }
    mLine.Clear();
    if (mOptions.mAsJson) {
        mRenderer.Append(mLine, line);
        mText.mLines += jsonLine(line, std::string(mLine.CStr(), mLine.Size()));
        return;
    }
    appendLineHeader(mLine, { line.number, line.seconds, line.microseconds, line.delta, *line.thread }, mClock);
    for (unsigned int depth = line.depth; depth > 0; --depth) {
        mLine.Append("|  ", 3);
    }
    mRenderer.Append(mLine, line);
    mLine.Append("\n", 1);
    mText.mLines.append(mLine.CStr(), mLine.Size());
}

// Cuts what is too old, in between only once there is twice as much as wanted.
void Text::KeepNewest(bool isLast)
{
    const std::size_t most = mOptions.mNewest;
    std::string& lines = mText.mLines;
    if (most == 0 || lines.size() <= (isLast ? most : most * 2)) {
        return;
    }
    const std::size_t from = lines.size() - most;
    const std::size_t lineEnd = lines[from - 1] == '\n' ? from - 1 : lines.find('\n', from);
    // A line that is longer than all that is wanted keeps its end.
    lines.erase(0, lineEnd + 1 < lines.size() ? lineEnd + 1 : from);
    mIsCut = true;
}

void Text::Sum()
{
    const std::string output = mOutput.empty() ? "" : std::to_string(mOutput.size()) + " output and ";
    mText.mNotes = "-- " + output + std::to_string(mPending) + " pending; " + std::to_string(mHidden)
        + " more that the filter hides\n" + mText.mNotes;
    if (mLeftOut != 0) {
        Note(std::to_string(mLeftOut) + " messages are left out", false);
    }
    if (!mLog.mHasState) {
        Note(mLog.mIsWhole ? "the process had no log, or it could not be read"
                           : "the process's log is missing");
    }
    if (!mLog.mIsWhole) {
        Note("the file was cut short");
    }
    if (mLog.mLinesDamaged != 0) {
        Note(std::to_string(mLog.mLinesDamaged) + " bytes of the kept lines make none");
    }
    if (mLog.mContextsMissing != 0) {
        Note(std::to_string(mLog.mContextsMissing) + " threads too many: their messages are not in here");
    }
    if (mLog.mFormatsMissing != 0) {
        Note(std::to_string(mLog.mFormatsMissing) + " registered formats too many: their messages show none");
    }
    if (mLog.mRecordsLost != 0) {
        Note(std::to_string(mLog.mRecordsLost) + " messages went with threads that ended", false);
    }
}

CrashLogText Text::Make()
{
    mText.mIsLog = true;
    TakeKeptLines();
    TakeContexts();
    TakePending();
    std::size_t made = 0;
    for (const Line& line : mLines) {
        const std::size_t before = mText.mLines.size();
        Render(line);
        made += mText.mLines.size() - before;
        if (made > kMostText) {
            Note("the rest would be more than 256 MiB of text");
            break;
        }
        KeepNewest(false);
    }
    KeepNewest(true);
    if (mIsCut && !mOptions.mAsJson) {
        mText.mLines.insert(0,
                            "-- only the newest " + std::to_string(mOptions.mNewest) + " bytes of the log\n");
    }
    Sum();
    return std::move(mText);
}

} // namespace

CrashLogText textOf(const std::string& file, const TextOptions& options)
{
    StoredLog log;
    CrashLogText text;
    if (!log.Read(file, text.mWhy)) {
        return text;
    }
    return Text(log, options).Make();
}

} // namespace CrashLog
} // namespace HSL
