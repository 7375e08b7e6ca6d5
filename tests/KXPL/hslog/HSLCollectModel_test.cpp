// Random log calls and passes, with messages logged by callbacks on any context, against a model that takes each step
// of writing and collecting as plainly as it can be said: bytes in a queue, each field taken as it is needed.
#include "hslog/HSL.h"

#include "ManualPass.h"
#include "RandomRounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <deque>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

using HSL::CCat;
using HSL::CLogContext;

namespace {

constexpr unsigned int kContexts = 4;
constexpr char kDropped[] = "*** HSLOG DROPPED MESSAGE(S) ***";

// What is done to the logger and to the model alike.
struct Step {
    enum Kind {
        kLog,
        kFilter,
        kRename,
        kDepth,
        kCallback
    };

    Kind kind;
    unsigned int context;
    unsigned char code;
    int number;
    std::string text;
};

// All that can be seen of the contexts at one moment.
struct State {
    std::vector<unsigned int> used;
    std::vector<int> counts;
    std::vector<bool> dropping;
    int sequence = 0;

    bool operator==(const State& other) const
    {
        return used == other.used && counts == other.counts && dropping == other.dropping
            && sequence == other.sequence;
    }
};

class Model {
public:
    struct Context {
        std::deque<unsigned char> ring;
        int size = 0;
        int recordCount = 0;
        std::string name;
        int depth = 0;
        bool isDropping = false;
    };

    // What the records' times are; the only thing that is taken from the logger.
    struct Time {
        unsigned int seconds;
        unsigned int micros;
    };

    void Do(const Step& step)
    {
        Context& context = contexts[step.context];
        switch (step.kind) {
        case Step::kLog:
            return Log(context, step);
        case Step::kFilter:
            filter[step.code] = step.number != 0;
            break;
        case Step::kRename:
            context.name = step.text;
            break;
        case Step::kDepth:
            context.depth = step.number;
            break;
        case Step::kCallback:
            isStructured = step.number != 0;
            break;
        }
    }

    void Collect()
    {
        struct Info {
            int seqNum = 0;
            std::size_t index = 0;
            int snapshot = 0;
            int remaining = 0;
        };
        const auto less = [](const Info* a, const Info* b) { return a->seqNum < b->seqNum; };
        std::set<Info*, decltype(less)> set(less);
        std::vector<Info> infos(contexts.size());
        int total = 0;
        for (std::size_t i = 0; i < infos.size(); ++i) {
            infos[i].index = i;
            infos[i].snapshot = infos[i].remaining = contexts[i].recordCount;
            if (infos[i].snapshot > 0) {
                infos[i].seqNum = NextNumber(contexts[i]);
                set.insert(&infos[i]);
            }
            total += infos[i].snapshot;
        }
        for (int done = 0; done < total; ++done) {
            Info* info = *set.begin();
            set.erase(set.begin());
            Output(contexts[info->index], info->seqNum);
            if (--info->remaining > 0) {
                info->seqNum = NextNumber(contexts[info->index]);
                set.insert(info);
            }
        }
        for (const Info& info : infos) {
            contexts[info.index].recordCount -= info.snapshot;
        }
    }

    State Now() const
    {
        State state;
        for (const Context& context : contexts) {
            state.used.push_back(static_cast<unsigned int>(context.ring.size()));
            state.counts.push_back(context.recordCount);
            state.dropping.push_back(context.isDropping);
        }
        state.sequence = sequence;
        return state;
    }

    std::vector<Context> contexts { kContexts };
    bool filter[256] = {};
    bool isStructured = false;
    int sequence = 0;
    std::deque<Time> times;
    std::vector<std::string> output;
    std::function<void()> inCallback;

private:
    template <typename T> static void Put(Context& context, const T& field)
    {
        const unsigned char* bytes = reinterpret_cast<const unsigned char*>(&field);
        context.ring.insert(context.ring.end(), bytes, bytes + sizeof field);
    }

    static void PutText(Context& context, const std::string& text)
    {
        Put(context, static_cast<unsigned short>(text.size()));
        context.ring.insert(context.ring.end(), text.begin(), text.end());
    }

    template <typename T> static T Take(Context& context)
    {
        T field {};
        unsigned char bytes[sizeof field] = {};
        for (unsigned char& byte : bytes) {
            byte = context.ring.front();
            context.ring.pop_front();
        }
        std::memcpy(&field, bytes, sizeof field);
        return field;
    }

    static std::string TakeText(Context& context)
    {
        std::string text;
        for (int left = Take<unsigned short>(context); left > 0; --left) {
            text += static_cast<char>(Take<unsigned char>(context));
        }
        return text;
    }

    void LogPre(Context& context, unsigned char code)
    {
        Put(context, static_cast<unsigned char>(0));
        Put(context, ++sequence);
        Put(context, times.front().seconds);
        Put(context, times.front().micros);
        times.pop_front();
        Put(context, static_cast<unsigned char>(std::min(std::max(context.depth, 0), 255)));
        Put(context, static_cast<unsigned char>(1));
        Put(context, code);
    }

    void Log(Context& context, const Step& step)
    {
        if (!filter[step.code]) {
            return;
        }
        const int used = static_cast<int>(context.ring.size());
        if (context.isDropping) {
            if (used >= static_cast<int>(context.size * 0.75)) {
                ++sequence;
                return;
            }
            context.isDropping = false;
        } else if (used >= context.size - 4096) {
            context.isDropping = true;
            LogPre(context, step.code);
            Put(context, static_cast<unsigned char>(1));
            PutText(context, kDropped);
            Put(context, static_cast<unsigned char>(0));
            ++context.recordCount;
            return;
        }
        LogPre(context, step.code);
        Put(context, static_cast<unsigned char>(1));
        PutText(context, "%d of %s");
        Put(context, static_cast<unsigned char>(2));
        Put(context, static_cast<unsigned char>(6));
        Put(context, step.number);
        Put(context, static_cast<unsigned char>(16));
        PutText(context, step.text);
        ++context.recordCount;
    }

    static int NextNumber(Context& context)
    {
        Take<unsigned char>(context);
        return Take<int>(context);
    }

    static std::string Message(Context& context)
    {
        Take<unsigned char>(context);
        const std::string format = TakeText(context);
        if (Take<unsigned char>(context) == 0) {
            return format;
        }
        Take<unsigned char>(context);
        const int number = Take<int>(context);
        Take<unsigned char>(context);
        return std::to_string(number) + " of " + TakeText(context);
    }

    void Output(Context& context, int seqNum)
    {
        const std::string name = context.name;
        const unsigned int seconds = Take<unsigned int>(context);
        const unsigned int micros = Take<unsigned int>(context);
        const int depth = Take<unsigned char>(context);
        Take<unsigned char>(context);
        const unsigned char code = Take<unsigned char>(context);
        const bool pass = filter[code];
        double delta = 0.0;
        if (mLastSeconds != 0) {
            delta = (seconds + micros / 1000000.0) - (mLastSeconds + mLastMicros / 1000000.0);
        }
        mLastSeconds = seconds;
        mLastMicros = micros;
        const bool wasStructured = isStructured;
        const std::string message = Message(context);
        if (!pass) {
            return;
        }
        char header[400];
        const int whole = static_cast<int>(delta);
        const int part = static_cast<int>((delta - whole) * 1000000);
        std::snprintf(header, sizeof header, "%6d  %02d:%02d:%02d.%06d  (%02d.%06d) :  [%-18s]\t", seqNum,
                      static_cast<int>(seconds / 3600 % 24), static_cast<int>(seconds / 60 % 60),
                      static_cast<int>(seconds % 60), static_cast<int>(micros), whole, part, name.c_str());
        std::string line = header;
        for (int i = 0; i < depth; ++i) {
            line += "|  ";
        }
        output.push_back(wasStructured ? message + " / " + name + " / " + std::to_string(depth) + " / "
                                 + std::to_string(code) + " / " + std::to_string(seconds) + "."
                                 + std::to_string(micros)
                                       : line + message + "\n");
        inCallback();
    }

    unsigned int mLastSeconds = 0;
    unsigned int mLastMicros = 0;
};

class CollectModel : public testing::Test {
protected:
    CollectModel()
        : mStructured(mPass.Manager().GetStructuredOutputCallback())
        , mPlain(mPass.Manager().GetOutputCallback())
    {
        for (unsigned int i = 0; i < kContexts; ++i) {
            Model::Context& context = mModel.contexts[i];
            context.size = static_cast<int>(5000 + Any(4000));
            context.name = std::string(10 * i, 'n');
            mContexts.push_back(&mPass.Context(context.name, context.size));
        }
        mModel.filter[3] = true;
        mModel.sequence = mPass.Manager().mSequence;
        mPass.inCallback = [this] { InCallback(); };
        mModel.inCallback = [this] { InModelsCallback(); };
    }

    unsigned int Any(unsigned int below) { return static_cast<unsigned int>(mRandom() % below); }

    Step AnyStep()
    {
        Step step = { Step::kLog, Any(kContexts), static_cast<unsigned char>(3 + Any(8) / 7),
                      static_cast<int>(Any(1u << 31)), std::string(AnyLength(), 'x') };
        if (Any(40) == 0) {
            step.kind = static_cast<Step::Kind>(1 + Any(4));
            step.number = step.kind == Step::kDepth ? static_cast<int>(Any(6)) - 1 : static_cast<int>(Any(2));
            step.text.resize(Any(25), 'r');
        }
        return step;
    }

    // No record is longer than a quarter of the smallest ring, so that none is cut.
    unsigned int AnyLength() { return Any(5) == 0 ? Any(1100) : Any(40); }

    // Does it to the logger, and takes the time of a record that came of it.
    void Do(const Step& step)
    {
        CLogContext& context = *mContexts[step.context];
        HSL::CLogManager& manager = mPass.Manager();
        const int count = context.mRecordCount;
        const unsigned int begin = context.mBuffer->mControl->write_offset;
        switch (step.kind) {
        case Step::kLog:
            context.Log(CCat(step.code), "%d of %s", step.number, step.text.c_str());
            break;
        case Step::kFilter:
            manager.SetFilterValue(step.code, step.number != 0);
            break;
        case Step::kRename:
            context.SetName(step.text.c_str());
            break;
        case Step::kDepth:
            context.mDepth = step.number;
            break;
        case Step::kCallback:
            if (step.number != 0) {
                manager.SetStructuredOutputCallback(mStructured);
            } else {
                manager.SetOutputCallback(mPlain);
            }
            break;
        }
        if (context.mRecordCount != count) {
            mModel.times.push_back(TimeAt(*context.mBuffer->mControl, begin));
        }
    }

    static Model::Time TimeAt(const cb_control& control, unsigned int offset)
    {
        unsigned char bytes[13];
        for (unsigned char& byte : bytes) {
            byte = reinterpret_cast<const unsigned char*>(&control)[offset];
            offset = offset == control.end_offset ? control.start_offset : offset + 1;
        }
        Model::Time time = {};
        std::memcpy(&time.seconds, bytes + 5, 4);
        std::memcpy(&time.micros, bytes + 9, 4);
        return time;
    }

    State Now() const
    {
        State state;
        for (const CLogContext* context : mContexts) {
            state.used.push_back(cb_get_num_elem_used(context->mBuffer->mControl));
            state.counts.push_back(context->mRecordCount);
            state.dropping.push_back(context->mDropping);
        }
        state.sequence = HSL::CLogManager::Instance()->mSequence;
        return state;
    }

    void InCallback()
    {
        mStates.push_back(Now());
        mSteps.emplace_back();
        for (unsigned int steps = Any(4); steps > 0; --steps) {
            mSteps.back().push_back(AnyStep());
            Do(mSteps.back().back());
        }
        mStates.push_back(Now());
    }

    void InModelsCallback()
    {
        ASSERT_LT(mCallbacks, mSteps.size());
        EXPECT_TRUE(mModel.Now() == mStates[2 * mCallbacks]) << Difference(mStates[2 * mCallbacks]);
        for (const Step& step : mSteps[mCallbacks]) {
            mModel.Do(step);
        }
        EXPECT_TRUE(mModel.Now() == mStates[2 * mCallbacks + 1]) << Difference(mStates[2 * mCallbacks + 1]);
        ++mCallbacks;
    }

    std::string Difference(const State& real) const
    {
        const State model = mModel.Now();
        std::string text = "callback " + std::to_string(mCallbacks) + ", sequence "
            + std::to_string(real.sequence) + " instead of " + std::to_string(model.sequence);
        for (std::size_t i = 0; i < kContexts; ++i) {
            text += "; context " + std::to_string(i) + ": " + std::to_string(real.used[i]) + " instead of "
                + std::to_string(model.used[i]) + " bytes, " + std::to_string(real.counts[i]) + " instead of "
                + std::to_string(model.counts[i]) + " records";
        }
        return text;
    }

    // One pass of both, and what they did.
    void Collect()
    {
        mStates.clear();
        mSteps.clear();
        mCallbacks = 0;
        mPass.lines.clear();
        mPass.messages.clear();
        mModel.output.clear();
        mPass.Manager().Collect();
        mModel.Collect();
        ASSERT_EQ(mCallbacks, mSteps.size());
        ASSERT_TRUE(mModel.Now() == Now()) << Difference(Now());
        ASSERT_TRUE(mModel.times.empty());
        std::size_t plain = 0;
        std::size_t structured = 0;
        for (const std::string& output : mModel.output) {
            if (output.back() == '\n') {
                ASSERT_LT(plain, mPass.lines.size());
                ASSERT_EQ(mPass.lines[plain++], output);
            } else {
                ASSERT_LT(structured, mPass.messages.size());
                ASSERT_EQ(Flat(mPass.messages[structured++]), output);
            }
        }
        ASSERT_EQ(plain, mPass.lines.size());
        ASSERT_EQ(structured, mPass.messages.size());
        mOutputs += mModel.output.size();
    }

    static std::string Flat(const ManualPass::Message& message)
    {
        return message.text + " / " + message.context + " / " + std::to_string(message.depth) + " / "
            + std::to_string(message.categories.at(0)) + " / " + std::to_string(message.seconds) + "."
            + std::to_string(message.microseconds);
    }

    ManualPass mPass;
    HSL::CLogManager::StructuredOutputCallback mStructured;
    HSL::CLogManager::OutputCallback mPlain;
    std::mt19937 mRandom { 13 };
    Model mModel;
    std::vector<CLogContext*> mContexts;
    std::vector<State> mStates;            // when a callback began, and when it ended
    std::vector<std::vector<Step>> mSteps; // of each callback
    std::size_t mCallbacks = 0;            // of the model
    std::size_t mOutputs = 0;
};

} // namespace

TEST_F(CollectModel, PassesDoWhatTheirStepsSayAlsoWhenCallbacksLogOnAnyContext)
{
    std::size_t dropped = 0;
    for (int round = 0; round < randomRounds(400) && !HasFailure(); ++round) {
        for (unsigned int steps = Any(60); steps > 0; --steps) {
            const Step step = AnyStep();
            Do(step);
            mModel.Do(step);
            ASSERT_TRUE(mModel.Now() == Now()) << "round " << round << ": " << Difference(Now());
        }
        Collect();
        for (const std::string& output : mModel.output) {
            dropped += output.find(kDropped) != std::string::npos ? 1 : 0;
        }
    }
    EXPECT_GT(mOutputs, 5000u);
    EXPECT_GT(dropped, 50u);
}
