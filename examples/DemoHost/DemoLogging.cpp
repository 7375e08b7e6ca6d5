#include "DemoLogging.h"

#include "DemoAccount.h"

#include "KxThread.h"
#include "hslog/HSL.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <cwctype>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr unsigned char kChatty = 2;
constexpr unsigned char kInfo = 3;
constexpr unsigned char kWarning = 4;
constexpr int kLevels = 7;
constexpr int kThreads = 4;
constexpr int kPassMicroseconds = 100000;
constexpr int kFloodCalls = 4000;
constexpr unsigned int kFloodRingBytes = 65536;

// Log texts may hold any bytes; what is no character of the locale shows as "?".
std::string printable(const char* text)
{
    std::string shown;
    std::mbstate_t state = {};
    while (*text != '\0') {
        wchar_t character = 0;
        const std::size_t length = std::mbrtowc(&character, text, MB_CUR_MAX, &state);
        const bool valid = length <= MB_CUR_MAX;
        const bool plain = valid
            && (std::iswprint(static_cast<std::wint_t>(character)) != 0 || character == L'\t'
                || character == L'\n');
        const std::size_t taken = valid ? length : 1;
        shown += plain ? std::string(text, taken) : "?";
        text += taken;
        state = {};
    }
    return shown;
}

void showLine(const char* line)
{
    if (CountLine(line)) {
        std::printf("%s", printable(line).c_str());
    }
}

void showStructured(const char* text, const std::string& contextName, unsigned char depth,
                    unsigned char categoryCount, unsigned char* categories, unsigned int seconds,
                    unsigned int microseconds)
{
    CountStructured();
    std::printf("  text \"%s\", context \"%s\", depth %d, categories", text, contextName.c_str(), depth);
    for (int i = 0; i < categoryCount; ++i) {
        std::printf(" %d", categories[i]);
    }
    std::printf(", time %u.%06u\n", seconds, microseconds);
}

// A thread's last records go with its context, so each thread lets a pass take them before it ends.
class DemoThread : public KxThread {
public:
    void Run() final
    {
        mContext = HSL::LogManager()->GetTLSContext();
        mContext->SetName(mName.c_str());
        Work(*mContext);
        HSL::LogManager()->Collect();
    }

protected:
    virtual void Work(HSL::CLogContext& log) = 0;

private:
    HSL::CLogContext* mContext = nullptr;
};

class EveryType : public DemoThread {
public:
    EveryType(int number, int narrowId)
        : mNumber(number)
        , mNarrowId(static_cast<short>(narrowId))
    {
        mName = "worker " + std::to_string(number);
    }

private:
    void Work(HSL::CLogContext& log) override
    {
        const unsigned short utf16[] = { 'U', 'T', 'F', '-', '1', '6', ' ', 0x20AC, 0 };
        const signed char int8 = static_cast<signed char>(-mNumber);
        log.Log(kInfo, "signed: int8 %hd, int16 %hd, int32 %d, int64 %lld, long %ld", int8,
                static_cast<short>(-300), -70000, -5000000000LL, -8L);
        KxThread::Sleep(1000);
        ++log.mDepth;
        log.Log(kChatty, "unsigned: uint8 %hu, uint16 %hu, uint32 %u, uint64 %llu",
                static_cast<unsigned char>(200), static_cast<unsigned short>(60000), 4000000000U,
                18000000000000000000ULL);
        KxThread::Sleep(1000);
        log.Log(kInfo, mNarrowId, 1.5f, 2.25);
        --log.mDepth;
        KxThread::Sleep(1000);
        log.Log(kInfo, "texts: narrow \"%s\", wide \"%S\", UTF-16 \"%S\", pointer %p", "abc", L"d\u00e9f",
                utf16, static_cast<const void*>(this));
        KxThread::Sleep(1000);
        log.Log(kWarning, "no conversion for these:", 1, "two", 3.5);
    }

    int mNumber;
    short mNarrowId;
};

class Flood : public DemoThread {
public:
    Flood() { mName = "flood"; }

private:
    void Work(HSL::CLogContext& log) override
    {
        for (int i = 1; i <= kFloodCalls; ++i) {
            log.Log(kInfo, "message %d of the flood", i);
        }
        HSL::LogManager()->Collect();
        log.Log(kInfo, "the ring has been drained; logging goes on");
    }
};

int callsOfEveryType()
{
    return kThreads * 5;
}

void showFourThreads()
{
    std::puts("\nFour threads log every type of value; the lines come out in the order of their numbers:\n");
    const int id = HSL::LogManager()->AddFormatString("by format id: float %f, double %g");
    std::vector<std::unique_ptr<EveryType>> threads;
    for (int i = 1; i <= kThreads; ++i) {
        threads.push_back(std::make_unique<EveryType>(i, id));
    }
    for (const auto& thread : threads) {
        thread->Start();
    }
    for (const auto& thread : threads) {
        thread->WaitForExit();
    }
    HSL::LogManager()->Collect();
}

void showStructuredCallback()
{
    std::puts("\nThe structured callback gets the pieces instead of a line:\n");
    HSL::CLogManager* manager = HSL::LogManager();
    manager->SetStructuredOutputCallback(showStructured);
    HSL::HSLog(kWarning, "disk is %d percent full", 93);
    HSL::HSLog(kInfo, "no values here");
    manager->Collect();
    manager->SetOutputCallback(showLine);
}

void showFlood()
{
    std::printf("\nOne thread makes %d calls in a row into a ring of %u bytes, more than it holds between two\n"
                "passes. Watch the numbers: the marker takes the place of the first message that is lost, and\n"
                "each further one leaves a gap:\n\n",
                kFloodCalls, kFloodRingBytes);
    BeginElision("message ");
    HSL::LogManager()->mDefaultContextSize = kFloodRingBytes;
    Flood flood;
    flood.Start();
    flood.WaitForExit();
    HSL::LogManager()->Collect();
    EndElision();
}

} // namespace

void StartLogging()
{
    HSL::CLogManager::Initialize();
    HSL::CLogManager* manager = HSL::LogManager();
    manager->SetOutputCallback(showLine);
    for (int level = 0; level < kLevels; ++level) {
        manager->SetFilterValue(static_cast<unsigned char>(level), true);
    }
    manager->SetEnable(true);
}

bool ShowLogging()
{
    HSL::LogManager()->Collect();
    // Every call takes one number, so what was called before this function is the number reached.
    const int before = HSL::LogManager()->mSequence;
    showFourThreads();
    showStructuredCallback();
    showFlood();
    HSL::HSLog(kInfo, "the last line; Cleanup outputs it");
    const int calls = before + callsOfEveryType() + 2 + kFloodCalls + 1 + 1;
    HSL::CLogManager::Cleanup();
    return PrintAccount(calls);
}
