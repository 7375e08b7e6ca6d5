#include "SenderQueue.h"

#include "CleanText.h"
#include "Keys.h"
#include "Parameters.h"
#include "SenderFolder.h"
#include "SenderUpload.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

namespace BreakpadLinux {

namespace fs = std::filesystem;

namespace {

std::string inUtc(time_t when)
{
    tm utc = {};
    char text[40];
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S UTC", gmtime_r(&when, &utc));
    return text;
}

} // namespace

Queue::Queue(World world, State& state, bool byHand)
    : mWorld(std::move(world))
    , mState(state)
    , mByHand(byHand)
    , mLedger(state.ReadLedger())
{
}

void Queue::tell(const std::string& id, const std::string& what)
{
    mWorld.tell(CleanLine(id + ": " + what));
    mState.Log(id + ": " + what);
}

// Of many that wait for the same the first is enough for the log.
void Queue::tellOnce(const std::string& id, const std::string& what)
{
    mWorld.tell(CleanLine(id + ": " + what));
    if (!std::exchange(mToldWaiting, true)) {
        mState.Log(id + ": " + what);
    }
}

void Queue::kept(time_t due)
{
    mDone = false;
    if (due != 0) {
        mNextDue = mNextDue == 0 ? due : std::min(mNextDue, due);
    }
}

bool Queue::saveLedger()
{
    return mState.WriteLedger(mLedger);
}

void Queue::Drain(const std::string& product, const std::string& folder)
{
    for (const std::string& name : RemoveOrphans(folder, mWorld.now())) {
        tell(name, "removed, of a crash that left no whole report");
    }
    keepWithinLimits(product, folder);
    std::set<std::string> present;
    for (const FoundReport& found : ReportsOf(product, folder)) {
        present.insert(found.report.Id());
    }
    mLedger.KeepOnly(present, mWorld.now());
    for (const FoundReport& found : ReportsOf(product, folder)) {
        if (mSeen.count(found.report.Id()) == 0) {
            handle(found.report);
        }
    }
}

void Queue::keepWithinLimits(const std::string& product, const std::string& folder)
{
    const std::vector<FoundReport> found = ReportsOf(product, folder);
    if (found.empty()) {
        return;
    }
    std::vector<Kept> kept;
    kept.reserve(found.size());
    for (const FoundReport& one : found) {
        kept.push_back(one.kept);
    }
    // The newest report tells what the product's present version wants.
    const StoredReport& newest = found.back().report;
    const Limits limits =
        LimitsFrom(newest.Value(kKeepReports), newest.Value(kKeepMegabytes), newest.Value(kKeepDays));
    const std::vector<std::string> reasons = TooMuch(kept, limits, mWorld.now());
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (!reasons[i].empty()) {
            finish(found[i].report, "removed without being sent: " + reasons[i]);
        }
    }
}

void Queue::Handle(const std::string& path)
{
    std::string why;
    const auto report = StoredReport::Read(path, why);
    std::error_code error;
    if (!report) {
        // One that another sender has sent meanwhile is done.
        mSeen.insert(fs::path(path).stem().string());
        const bool isGone = fs::symlink_status(path, error).type() == fs::file_type::not_found;
        mWorld.tell(CleanLine(path + ": " + (isGone ? "is not there" : why)));
        mDone = mDone && isGone;
        return;
    }
    handle(*report);
}

void Queue::handle(const StoredReport& report)
{
    const std::string id = report.Id();
    mSeen.insert(id);
    const time_t now = mWorld.now();
    std::error_code error;
    const auto dump = fs::symlink_status(report.DumpPath(), error).type();
    if (dump == fs::file_type::not_found || mLedger.WasSent(id)) {
        finish(report, "removed, it was sent before");
        return;
    }
    if (!mState.Consent().value_or(!SaysNo(report.Value(kSkipConfirm)))) {
        tellOnce(id, "kept, the user has not agreed to sending");
        kept(0);
        return;
    }
    const time_t due = mLedger.NotBefore(PlaceOf(report.Value(kUrl)), id, now);
    if (due > now && !mByHand) {
        mWorld.tell(CleanLine(id + ": kept, not to be tried again before " + inUtc(due)));
        kept(due);
        return;
    }
    if (!mState.IntervalHasPassed(report.Interval(), now)) {
        tellOnce(id, "kept, within the report interval");
        kept(mState.LastSubmission() + static_cast<time_t>(std::min(report.Interval() + 1, 1e9)));
        return;
    }
    post(report);
}

void Queue::post(const StoredReport& report)
{
    judge(report, mWorld.upload(MakeSubmission(report, [this] { return mState.ClientId(); })));
}

void Queue::judge(const StoredReport& report, const Answer& answer)
{
    const std::string id = report.Id();
    const std::string place = PlaceOf(report.Value(kUrl));
    const bool mustName = report.Value(kServerType) == kSocorro && !report.IsSet(kAnyAnswer);
    const Judgement judgement = Judge(answer, mustName);
    const time_t now = mWorld.now();
    if (judgement.verdict == Verdict::taken || judgement.verdict == Verdict::discarded) {
        mLedger.PlaceAnswered(place);
        mState.SetLastSubmission(now);
        const bool taken = judgement.verdict == Verdict::taken;
        finish(report, (taken ? "sent, " : "sent and discarded by the collector, ") + judgement.reason);
        return;
    }
    // Whatever a place's reason is, it is left in peace for a while.
    mLedger.PlaceFailed(place, now, answer.retryAfter, mWorld.random());
    if (judgement.verdict == Verdict::refused
        && mLedger.Refused(id, now, mWorld.random()) >= Ledger::kRefusals) {
        finish(report,
               "given up after " + std::to_string(Ledger::kRefusals) + " refusals, " + judgement.reason);
        return;
    }
    saveLedger();
    tell(id, "kept, " + judgement.reason);
    kept(mLedger.NotBefore(place, id, now));
}

// Remembered before it is removed: a sender that is ended in between does not send it again.
void Queue::finish(const StoredReport& report, const std::string& what)
{
    const std::string id = report.Id();
    mSeen.insert(id);
    mLedger.RememberSent(id);
    const bool remembered = saveLedger();
    if (RemoveReport(report)) {
        mLedger.Forget(id);
        saveLedger();
        tell(id, what);
        return;
    }
    mDone = false;
    tell(id,
         what + "; its files cannot be removed, "
             + (remembered ? "which is remembered" : "which cannot be remembered either"));
}

} // namespace BreakpadLinux
