// A log manager without a collection thread: passes run when the test calls Collect, on the test's own thread.
#ifndef FALLCATCH_TESTS_MANUAL_PASS_H
#define FALLCATCH_TESTS_MANUAL_PASS_H

#include "HandMadeRecord.h"
#include "detail/KxAtomic.h"
#include "hslog/crash/CrashLedger.h"

#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

inline void setTimeZone(const char* zone)
{
    setenv("TZ", zone, 1);
    tzset();
}

// Makes the manager the module's one, lets category 3 pass and takes the lines. The local time zone is UTC.
class ManualPass {
public:
    struct Message {
        std::string text;
        std::string context;
        unsigned char depth;
        std::vector<unsigned char> categories;
        unsigned int seconds;
        unsigned int microseconds;
    };

    ManualPass()
    {
        setTimeZone("UTC0");
        Replace();
        sCurrent = this;
        mStructuredBefore = mManager->SetStructuredOutputCallback(TakeMessage);
        mPlainBefore = mManager->SetOutputCallback(TakeLine);
        ForgetTime();
    }

    ~ManualPass()
    {
        mManager->SetStructuredOutputCallback(mStructuredBefore);
        mManager->SetOutputCallback(mPlainBefore);
        mContexts.clear();
        mManager.reset();
        KxStoreRelease(HSL::CLogManager::msThis, static_cast<HSL::CLogManager*>(nullptr));
        sCurrent = nullptr;
    }

    ManualPass(const ManualPass&) = delete;
    ManualPass& operator=(const ManualPass&) = delete;

    // Goes on with a fresh manager, as a host does that cleans up and initialises again.
    void Replace()
    {
        mContexts.clear();
        mManager = std::make_unique<HSL::CLogManager>();
        KxStoreRelease(HSL::CLogManager::msThis, mManager.get());
        mManager->SetEnable(true);
        mManager->SetFilterValue(3, true);
    }

    HSL::CLogManager& Manager() { return *mManager; }

    HSL::CLogContext& Context(const std::string& name, int size = 1 << 20)
    {
        mContexts.push_back(std::make_unique<HSL::CLogContext>(name.c_str(), size, HSL::CLogContext::MallocFunc,
                                                               HSL::CLogContext::FreeFunc));
        return *mContexts.back();
    }

    // Where passes note the number that they have taken of the context's next record.
    HSL::detail::TakenNumber& Taken(HSL::CLogContext& context) const
    {
        return HSL::CrashLog::Ledger::TakenOf(mManager->mLedger, context);
    }

    // Makes the next line's delta zero.
    void ForgetTime()
    {
        HandMadeRecord().Header(0, 0, 0, 0, {}).Inline("").Count(0).PublishIn(Context("forget"));
        mManager->Collect();
        mContexts.pop_back();
    }

    std::vector<std::string> lines;
    std::vector<Message> messages;
    // Called after each line or message has been taken, still inside the callback.
    std::function<void()> inCallback;

private:
    static void TakeLine(const char* line)
    {
        sCurrent->lines.push_back(line);
        sCurrent->Called();
    }

    static void TakeMessage(const char* text, const std::string& context, unsigned char depth,
                            unsigned char count, unsigned char* categories, unsigned int seconds,
                            unsigned int microseconds)
    {
        sCurrent->messages.push_back(
            { text, context, depth, { categories, categories + count }, seconds, microseconds });
        sCurrent->Called();
    }

    void Called() const
    {
        if (inCallback) {
            inCallback();
        }
    }

    static inline ManualPass* sCurrent = nullptr;

    std::unique_ptr<HSL::CLogManager> mManager;
    std::vector<std::unique_ptr<HSL::CLogContext>> mContexts;
    HSL::CLogManager::OutputCallback mPlainBefore;
    HSL::CLogManager::StructuredOutputCallback mStructuredBefore;
};

// The part of a line behind the header, without the newline.
inline std::string messageOf(const std::string& line)
{
    const std::size_t tab = line.find('\t');
    return line.substr(tab + 1, line.size() - tab - 2);
}

// The number that a line begins with.
inline long numberOf(const std::string& line)
{
    return std::strtol(line.c_str(), nullptr, 10);
}

#endif
