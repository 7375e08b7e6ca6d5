// A whole host with a guarded manager, whose messages have texts from outside: of any content and of all lengths.
//
// Input: a byte that chooses the size of both rings, then steps of a kind (1 byte) and what it needs:
//     bit 0 the context; bits 1 to 3: 0 a pass, 1 the text as the whole message, 2 and 3 the text twice, 4 a wide text,
//     5 a UTF-16 text, 6 two numbers and the text, 7 the text under an id.
//     A text is the length that it is repeated to (2 bytes, times 4), the length of its bytes (1) and those.
//
// Each line must be a message that was logged, whole or cut and marked, in the order of its context. Afterwards each
// context can log.
#include "hslog/HSL.h"

#include "FuzzTarget.h"

#include <clocale>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using HSL::CCat;
using HSL::CLogContext;
using HSL::CLogManager;

constexpr char kDropped[] = "*** HSLOG DROPPED MESSAGE(S) ***";
constexpr char kCut[] = "...";
// Nothing that is logged may write here.
volatile std::uint64_t gCanary = 0x5AFE5AFE5AFE5AFE;

// What was logged of one message: literal text, then a text that may have been cut, and so on.
struct Message {
    std::vector<std::string> parts;
    std::vector<bool> isCuttable;
};

std::vector<std::pair<std::string, std::string>> gLines; // the context and the message

void takeLine(const char* text)
{
    const std::string line = text;
    const std::size_t name = line.find(") :  [") + 6;
    const std::size_t tab = line.find('\t');
    fuzzRequire(tab != std::string::npos && line.back() == '\n', "no line");
    gLines.emplace_back(line.substr(name, 1), line.substr(tab + 1, line.size() - tab - 2));
}

// Whether the rest of a line is the rest of a message.
bool matches(const std::string& line, std::size_t at, const Message& message, std::size_t part)
{
    if (part == message.parts.size()) {
        return at == line.size();
    }
    const std::string& text = message.parts[part];
    if (line.compare(at, text.size(), text) == 0 && matches(line, at + text.size(), message, part + 1)) {
        return true;
    }
    if (!message.isCuttable[part]) {
        return false;
    }
    // Cut to nothing, or to some of it and the mark.
    if (matches(line, at, message, part + 1)) {
        return true;
    }
    for (std::size_t mark = line.find(kCut, at); mark != std::string::npos; mark = line.find(kCut, mark + 1)) {
        const std::size_t kept = mark - at;
        if (kept > text.size() || line.compare(at, kept, text, 0, kept) != 0) {
            return false;
        }
        if (matches(line, mark + 3, message, part + 1)) {
            return true;
        }
    }
    return false;
}

class Host {
public:
    explicit Host(int ringBytes)
    {
        CLogManager::msThis = &mManager;
        mManager.SetGuarded(true);
        mManager.SetFilterValue(3, true);
        mPrevious = mManager.SetOutputCallback(takeLine);
        mId = static_cast<short>(mManager.AddFormatString("id %s"));
        for (const char* name : { "a", "b" }) {
            mContexts.push_back(
                std::make_unique<CLogContext>(name, ringBytes, CLogContext::MallocFunc, CLogContext::FreeFunc));
        }
        gLines.clear();
    }

    ~Host()
    {
        mContexts.clear();
        mManager.SetOutputCallback(mPrevious);
        CLogManager::msThis = nullptr;
    }

    void Step(FuzzInput& input)
    {
        const unsigned int kind = input.Byte();
        const std::size_t which = kind & 1;
        CLogContext& context = *mContexts[which];
        if ((kind >> 1 & 7) == 0) {
            return Collect();
        }
        const std::size_t length = std::size_t { input.Two() } * 4;
        const std::string piece = input.Bytes(input.Byte());
        std::string text;
        while (!piece.empty() && text.size() < length) {
            text += piece;
        }
        text.resize(std::min(length, text.size()));
        text = text.c_str();
        // A piece of a message is cut at 65,535 bytes, with the text in front of its conversion. That is another target's.
        if (text.size() % 65536 > 65500) {
            text.resize(text.size() - 40);
        }
        const std::string shown = text.substr(0, text.size() % 65536);
        switch (kind >> 1 & 7) {
        case 4:
            return LogWide(which, text);
        case 5:
            return LogUTF16(which, text);
        case 6:
            context.Log(CCat(3), "%d %llu %s", 7, 8ull, text.c_str());
            return Expect(which, { { "7 8 ", shown }, { false, true } });
        case 7:
            context.Log(CCat(3), mId, text.c_str());
            return Expect(which, { { "id ", shown }, { false, true } });
        case 1:
            context.Log(CCat(3), "%s", text.c_str());
            return Expect(which, { { shown }, { true } });
        default:
            context.Log(CCat(3), "%s and %s", text.c_str(), text.c_str());
            return Expect(which, { { shown, " and ", shown }, { true, false, true } });
        }
    }

    void Collect()
    {
        mManager.Collect();
        for (const auto& line : gLines) {
            TakeOff(line.first == "a" ? 0 : 1, line.second);
        }
        gLines.clear();
    }

    // After everything is output the contexts log as ever.
    void ExpectAlive()
    {
        Collect();
        Collect();
        for (std::size_t i = 0; i < mContexts.size(); ++i) {
            mContexts[i]->Log(CCat(3), "alive");
            mExpected[i].clear();
            Expect(i, { { "alive" }, { false } });
        }
        mManager.Collect();
        fuzzRequire(gLines.size() == 2 && gLines[0].second == "alive" && gLines[1].second == "alive",
                    "a context is mute");
        fuzzRequire(gCanary == 0x5AFE5AFE5AFE5AFE, "a message wrote where nothing writes");
    }

private:
    // Units that any locale can show.
    static unsigned char plain(char c)
    {
        return static_cast<unsigned char>('a' + (static_cast<unsigned char>(c) & 15));
    }

    void LogWide(std::size_t which, const std::string& text)
    {
        std::wstring wide;
        std::string shown;
        for (const char c : text) {
            wide += static_cast<wchar_t>(plain(c));
            shown += static_cast<char>(plain(c));
        }
        mContexts[which]->Log(CCat(3), "%S", wide.c_str());
        Expect(which, { { shown.substr(0, shown.size() % 65536) }, { true } });
    }

    void LogUTF16(std::size_t which, const std::string& text)
    {
        std::vector<unsigned short> units;
        std::string shown;
        for (const char c : text) {
            units.push_back(plain(c));
            shown += static_cast<char>(plain(c));
        }
        units.push_back(0);
        mContexts[which]->Log(CCat(3), "%S", units.data());
        Expect(which, { { shown.substr(0, 65535) }, { true } });
    }

    void Expect(std::size_t which, Message message) { mExpected[which].push_back(std::move(message)); }

    // Messages in front of the line's were dropped, or had no room.
    void TakeOff(std::size_t which, const std::string& line)
    {
        std::deque<Message>& expected = mExpected[which];
        if (line == kDropped) {
            return;
        }
        while (!expected.empty() && !matches(line, 0, expected.front(), 0)) {
            expected.pop_front();
        }
        fuzzRequire(!expected.empty(), "a line that nobody logged: " + line.substr(0, 200));
        expected.pop_front();
    }

    CLogManager mManager;
    std::vector<std::unique_ptr<CLogContext>> mContexts;
    std::deque<Message> mExpected[2];
    CLogManager::OutputCallback mPrevious;
    short mId;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool hasLocale = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
    fuzzRequire(hasLocale, "no such locale");
    static constexpr int kRings[] = { 5000, 8192, 20000, 70000, 262144, 600000 };
    FuzzInput input(data, size);
    Host host(kRings[input.Byte() % (sizeof kRings / sizeof kRings[0])]);
    while (!input.AtEnd()) {
        host.Step(input);
    }
    host.ExpectAlive();
    return 0;
}
