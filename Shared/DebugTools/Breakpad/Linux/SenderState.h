// What the sender remembers of a product between two reports, in the product's folder.
#ifndef FALLCATCH_BREAKPAD_SENDER_STATE_H
#define FALLCATCH_BREAKPAD_SENDER_STATE_H

#include "OwnFiles.h"
#include "SenderLedger.h"

#include <ctime>
#include <optional>
#include <string>

namespace BreakpadLinux {

// Whoever has the folder's lock is alone with what lies in it. Nothing in the folder is believed unless it is
// the user's own file, and what is written is for the user alone.
class State {
public:
    // Takes the lock unless another has it; nobody waits. Without a usable folder nothing is remembered.
    explicit State(const std::string& folder);

    // Another process has the lock, and whatever is to be done is left to it.
    bool IsBusy() const { return mIsBusy; }
    // Why nothing is remembered; empty when all is well.
    const std::string& Trouble() const { return mTrouble; }

    // Seconds. True after no submission, and after one in the future of a clock that was set back since.
    bool IntervalHasPassed(double interval, time_t now) const;
    time_t LastSubmission() const; // 0 after none
    void SetLastSubmission(time_t when);

    // What the user has said to sending; nothing before he was asked.
    std::optional<bool> Consent() const { return consentIn(mFolder.Number()); }
    // The same for one who does not ask for the lock.
    static std::optional<bool> ConsentIn(const std::string& folder);

    // The same random text for all reports of this user and product.
    std::string ClientId();

    Ledger ReadLedger() const;
    // False when it cannot be written; what was in it before is still there.
    bool WriteLedger(const Ledger& ledger);

    // One line of uploads.log, with the time before it; fit for a line whatever the text. A long file becomes
    // uploads.log.1, whose predecessor goes.
    void Log(const std::string& text);

private:
    static std::optional<bool> consentIn(int folder);
    std::string readLine(const char* name) const;

    std::string mTrouble;
    Descriptor mFolder; // holds the lock
    bool mIsBusy = false;
};

} // namespace BreakpadLinux

#endif
