#include "hslog/sinks/HSLSink.h"

#include "KxLock.h"
#include "hslog/HSLLogManager.h"
#include "hslog/HSLSequence.h"

#include <chrono>
#include <utility>

namespace HSL {
namespace Sinks {
namespace {

Output* sOutput = nullptr; // changed under the manager's lock, or while there is no manager

// Takes "[file:line function] " off the front of a message.
void takePlace(Line& line)
{
    const std::string_view text = line.mMessage;
    const std::size_t colon = text.find_first_of(": ]");
    if (text.empty() || text[0] != '[' || colon == std::string_view::npos || text[colon] != ':' || colon == 1) {
        return;
    }
    std::size_t at = colon + 1;
    int number = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9' && number < 100000000; ++at) {
        number = number * 10 + (text[at] - '0');
    }
    const std::size_t end = text.find("] ", at);
    if (at == colon + 1 || at >= text.size() || text[at] != ' ' || end == std::string_view::npos
        || end <= at + 1) {
        return;
    }
    line.mFile = text.substr(1, colon - 1);
    line.mLine = number;
    line.mFunction = text.substr(at + 1, end - at - 1);
    line.mMessage = text.substr(end + 2);
}

} // namespace

Output::Output()
{
    CLogManager* manager = CLogManager::Instance();
    const KxLockGuard guard(manager->mLock);
    mTypeBefore = manager->GetOutputCallbackType();
    sOutput = this;
    mStructuredBefore = manager->SetStructuredOutputCallback(TakeMessage);
}

Output::~Output()
{
    const auto restore = [this](CLogManager& manager) {
        const auto plain = manager.GetOutputCallback();
        manager.SetStructuredOutputCallback(mStructuredBefore);
        if (mTypeBefore == CLogManager::kPlainCallback) {
            manager.SetOutputCallback(plain);
        }
        sOutput = nullptr;
    };
    if (CLogManager* manager = CLogManager::Instance()) {
        const KxLockGuard guard(manager->mLock);
        restore(*manager);
    } else {
        CLogManager none; // the callbacks are the module's
        restore(none);
    }
}

bool Output::Add(std::unique_ptr<Sink> sink, const char* levels, std::string* problem)
{
    Entry entry { std::move(sink), {} };
    if (entry.mSink == nullptr || !entry.mFilter.Set(levels, problem)) {
        return false;
    }
    if (CLogManager* manager = CLogManager::Instance()) {
        const KxLockGuard guard(manager->mLock);
        mEntries.push_back(std::move(entry));
    } else {
        mEntries.push_back(std::move(entry));
    }
    return true;
}

bool Output::Flush(int milliseconds)
{
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    if (CLogManager* manager = CLogManager::Instance()) {
        manager->Collect();
    }
    bool isDone = true;
    for (const Entry& entry : mEntries) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now()).count();
        isDone = entry.mSink->Flush(left > 0 ? static_cast<int>(left) : 0) && isDone;
    }
    return isDone;
}

void Output::TakeMessage(const char* text, const std::string& contextName, unsigned char depth,
                         unsigned char categoryCount, unsigned char* categories, unsigned int seconds,
                         unsigned int microseconds)
{
    Line line { SequenceInCallback(),
                seconds,
                microseconds,
                Level::kInfo,
                categoryCount != 0 ? categories[0] : static_cast<unsigned char>(Level::kInfo),
                depth,
                {},
                contextName,
                text,
                {},
                0,
                {} };
    if (sOutput != nullptr) {
        sOutput->Write(line);
    }
}

void Output::Write(Line& line)
{
    CategoryAndLevel& what = mKnown[line.mCode];
    // A code without a name may still get one.
    if (!mIsKnown[line.mCode] || (what.mName.empty() && line.mCode >= kLevels)) {
        what = WhatCodeStandsFor(line.mCode);
        mIsKnown[line.mCode] = true;
    }
    line.mLevel = what.mLevel;
    line.mCategory = what.mName;
    takePlace(line);
    for (const Entry& entry : mEntries) {
        if (entry.mFilter.Passes(what.mName, line.mLevel)) {
            entry.mSink->Write(line);
        }
    }
}

} // namespace Sinks
} // namespace HSL
