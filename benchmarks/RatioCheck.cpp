// Whether costs keep their ratio to what cannot be had for less, in a few seconds and with generous room. Never
// looks at absolute times: it is to pass on any machine, busy ones included, unless something became slow.
#include "Lines.h"

#include <cstdio>

namespace {

using namespace bench;

constexpr int kBatches = 300;
constexpr int kAttempts = 3;

// The smallest of many batches, taken in turns, is what a busy machine disturbs least.
struct Costs {
    double mCall = 0;
    double mFloor = 0;
    double Ratio() const { return mCall / mFloor; }
};

template <typename Call, typename AfterCall, typename Floor>
Costs smallestCosts(int batches, Call&& call, AfterCall&& afterCall, Floor&& floor)
{
    Samples calls;
    Samples floors;
    for (int i = 0; i < batches; ++i) {
        calls.Add(call().mCost);
        afterCall();
        floors.Add(floor().mCost);
    }
    return { calls.At(0), floors.At(0) };
}

template <typename Case> Costs logCall()
{
    QuietManager manager;
    Context context;
    const short id = AddFormat(manager);
    SharedCounter sequence;
    bench::Floor<Case::kRecordBytes> floor(sequence.mValue);
    return smallestCosts(
        kBatches, [&] { return TimeBatch([&](int i) { Case::Call(context, id, i); }); },
        [&] { context.Drain(); }, [&] { return floor.Time(); });
}

Costs callThatLogsNothing(bool enabled)
{
    QuietManager manager;
    manager->SetEnable(enabled);
    manager->SetFilterValue(kCategory, false);
    SharedCounter sequence;
    bench::Floor<IntAndText::kRecordBytes> floor(sequence.mValue);
    const auto call = [](int i) {
        HSL::HSLog(HSL::CCat(kCategory), "x=%d", i);
        Touch(nullptr);
    };
    return smallestCosts(
        kBatches, [&] { return TimeBatch(call); }, [] {}, [&] { return floor.Time(); });
}

template <int contexts> Costs collectedLine()
{
    QuietManager manager;
    // Small enough for a pass to end before another program's turn comes.
    Backlog backlog(manager, contexts, 2048);
    backlog.Fill();
    return smallestCosts(
        kBatches / 3, [&] { return backlog.TimeCollect(); }, [&] { backlog.Fill(); }, TimeLinesByCLibrary);
}

struct Check {
    const char* mName;
    Costs (*mMeasure)();
    double mLimit; // of the ratio
};

constexpr Check kChecks[] = {
    { "log call, int and text, to its floor", logCall<IntAndText>, 2.5 },
    { "log call, format id, to its floor", logCall<FormatId>, 2.5 },
    { "log call, inline text, to its floor", logCall<InlineText>, 2.5 },
    { "log call, no value, to its floor", logCall<NoValue>, 2.5 },
    { "log call, ten ints, to its floor", logCall<TenInts>, 2.5 },
    { "disabled call to a log call's floor", [] { return callThatLogsNothing(false); }, 0.25 },
    { "filtered call to a log call's floor", [] { return callThatLogsNothing(true); }, 0.5 },
    { "collected line to one by the C library", collectedLine<1>, 0.5 },
    { "collected line of 8 contexts to one by the C library", collectedLine<8>, 0.67 },
};

bool passes(const Check& check)
{
    bool good = false;
    for (int attempt = 1; attempt <= kAttempts && !good; ++attempt) {
        const Costs costs = check.mMeasure();
        // A negative cost tells of missing lines.
        good = costs.mCall > 0 && costs.Ratio() <= check.mLimit;
        std::printf("%-4s %5.2f, at most %.2f: %s (%.1f and %.1f ns)\n", good ? "ok" : "HIGH", costs.Ratio(),
                    check.mLimit, check.mName, costs.mCall, costs.mFloor);
    }
    return good;
}

} // namespace

int main()
{
    bench::PinThisThread(0);
    int failed = 0;
    for (const Check& check : kChecks) {
        failed += passes(check) ? 0 : 1;
    }
    return failed == 0 ? 0 : 1;
}
