#include "Worker.h"

#include "detail/KxAtomic.h"

#include <chrono>
#include <utility>

namespace soak {
namespace {

using HSL::CCat;
using HSL::CLogContext;
using HSL::CLogManager;
using HSL::CValue;
using Clock = std::chrono::steady_clock;
using Values = std::vector<CValue>;

template <typename Format, std::size_t... kIndex>
void logWith(CLogContext& context, const CCat& cat, Format format, const Values& values,
             std::index_sequence<kIndex...>)
{
    context.Log(cat, format, values[kIndex]...);
}

template <typename Format>
void logAny(CLogContext& context, const CCat& cat, Format format, const Values& values)
{
    using Call = void (*)(CLogContext&, const CCat&, Format, const Values&);
    static constexpr auto kCall = [](auto count) -> Call {
        return [](CLogContext& c, const CCat& k, Format f, const Values& v) {
            logWith(c, k, f, v, std::make_index_sequence<decltype(count)::value>());
        };
    };
    static const Call kCalls[] = {
        kCall(std::integral_constant<int, 0>()),  kCall(std::integral_constant<int, 1>()),
        kCall(std::integral_constant<int, 2>()),  kCall(std::integral_constant<int, 3>()),
        kCall(std::integral_constant<int, 4>()),  kCall(std::integral_constant<int, 5>()),
        kCall(std::integral_constant<int, 6>()),  kCall(std::integral_constant<int, 7>()),
        kCall(std::integral_constant<int, 8>()),  kCall(std::integral_constant<int, 9>()),
        kCall(std::integral_constant<int, 10>()),
    };
    kCalls[values.size()](context, cat, format, values);
}

// The first two shapes, by calls that show the compiler every value's type.
template <typename Format>
void logKnown(CLogContext& context, const CCat& cat, Format format, std::size_t shape, const Values& v)
{
    const unsigned int thread = v[0].mValue.mUInt32;
    const unsigned int serial = v[1].mValue.mUInt32;
    if (shape == 0) {
        context.Log(cat, format, thread, serial, v[2].mValue.mInt8, v[3].mValue.mInt16, v[4].mValue.mInt32,
                    v[5].mValue.mInt64, v[6].mValue.mUInt8, v[7].mValue.mUInt16, v[8].mValue.mUInt64,
                    v[9].mValue.mFloat);
    } else {
        context.Log(cat, format, thread, serial, v[2].mValue.mDouble, v[3].mValue.mLong, v[4].mValue.mPointer,
                    v[5].mValue.mString, v[6].mValue.mWString, v[7].mValue.mUTF16String, v[8].mValue.mUInt32,
                    v[9].mValue.mInt32);
    }
}

} // namespace

Worker::Worker(unsigned long long seed, const Shapes& shapes, const ShapeIds& ids, const Plan& plan)
    : mShapes(shapes)
    , mIds(ids)
    , mPlan(plan)
    , mRandom(seed ^ ~static_cast<unsigned long long>(plan.thread))
    , mMessage(seed, shapes)
{
    mLife.thread = plan.thread;
    mLife.mayLoseItsEnd = !plan.asksForPass && (!plan.isPlain || plan.releases);
    if (plan.isPlain) {
        mPlainThread = std::thread([this] { Live(); });
    } else {
        mThread = std::make_unique<Thread>(*this);
        mThread->Start();
    }
}

Worker::~Worker()
{
    Join();
}

void Worker::Join()
{
    Stop();
    if (mPlainThread.joinable()) {
        mPlainThread.join();
    } else if (mThread != nullptr) {
        mThread->WaitForExit();
        mThread.reset();
    }
}

void Worker::Rename(const std::string& suffix)
{
    const std::lock_guard<std::mutex> guard(mNaming);
    if (mContext != nullptr) {
        mContext->SetName(("w" + std::to_string(mLife.thread) + suffix).c_str());
    }
}

void Worker::Live()
{
    const Clock::time_point end =
        Clock::now() + std::chrono::milliseconds(mRandom.Below(mPlan.longestLife) + 1);
    CLogContext* context = HSL::LogManager()->GetTLSContext();
    context->SetName(("w" + std::to_string(mLife.thread)).c_str());
    {
        const std::lock_guard<std::mutex> guard(mNaming);
        mContext = context;
    }
    while (!mStop && Clock::now() < end) {
        for (unsigned int left = mRandom.Below(mPlan.longestBurst) + 1; left > 0 && !mStop; --left) {
            LogOnce(*context);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(mRandom.Below(1000 * mPlan.longestPause)));
    }
    {
        const std::lock_guard<std::mutex> guard(mNaming);
        mContext = nullptr;
    }
    if (mPlan.asksForPass) {
        HSL::LogManager()->Collect();
    }
    if (mPlan.isPlain && mPlan.releases) {
        HSL::LogManager()->CleanupTLSContext();
    }
    mHasEnded = true;
}

// While the context is dropping, only a category that surely passes tells a discarded message from a refused
// one.
void Worker::LogOnce(CLogContext& context)
{
    mMessage.Make(mLife.thread, static_cast<unsigned int>(mLife.events.size()));
    cb_control* ring = context.mBuffer->mControl;
    const Before before { context.mDropping, ring->write_offset, static_cast<int>(cb_get_num_elem_used(ring)) };
    const bool switched = !before.dropping && mRandom.Below(3) == 0;
    const unsigned char category = switched
        ? static_cast<unsigned char>(kFirstSwitchedCategory + mRandom.Below(kSwitchedCategories))
        : kSteadyCategory;
    context.mDepth = mMessage.Depth();
    LogMessage(context, CCat(category), !before.dropping);
    mLife.events.push_back({ FateOf(context, before), switched });
}

void Worker::LogMessage(CLogContext& context, const CCat& cat, bool throughTheSwitch)
{
    const Values& values = mMessage.Values();
    switch (mMessage.GetWay()) {
    case Way::kTextAlone:
        return throughTheSwitch ? HSL::HSLog(cat, mMessage.Text().c_str())
                                : context.Log(cat, mMessage.Text().c_str());
    case Way::kOneString:
        return throughTheSwitch ? HSL::HSLog(cat, "%s", values[0].mValue.mString)
                                : context.Log(cat, "%s", values[0].mValue.mString);
    default:
        break;
    }
    const bool known = mMessage.GetWay() == Way::kKnownTypes;
    const std::size_t shape = mMessage.GetShape();
    const int id = mIds[shape].load();
    const char* format = mShapes[shape].format.c_str();
    if (id >= 0 && known) {
        logKnown(context, cat, static_cast<short>(id), shape, values);
    } else if (id >= 0) {
        logAny(context, cat, static_cast<short>(id), values);
    } else if (known) {
        logKnown(context, cat, format, shape, values);
    } else {
        logAny(context, cat, format, values);
    }
}

Fate Worker::FateOf(const CLogContext& context, const Before& before)
{
    const bool moved = context.mBuffer->mControl->write_offset != before.position;
    if (before.dropping && context.mDropping) {
        Require(!moved, "a discarded message was written to the ring");
        Require(before.used >= context.mLowWater, "a message was discarded below the low water");
        return Fate::kDiscarded;
    }
    Require(moved || !before.dropping, "dropping ended without a message");
    if (!moved) {
        return Fate::kRefused;
    }
    Require(!context.mDropping || before.used >= context.mHighWater, "dropping began below the high water");
    return context.mDropping ? Fate::kMarked : Fate::kWritten;
}

void Worker::Require(bool holds, const char* otherwise)
{
    if (!holds) {
        mLife.errors.push_back("thread " + std::to_string(mLife.thread) + ": " + otherwise);
    }
}

} // namespace soak
