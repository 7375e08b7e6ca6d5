// From log calls to sinks.
#include "hslog/sinks/HSLSink.h"

#define HSL_LOG_SOURCE
#include "hslog/HSLLog.h"

#include "ManualPass.h"
#include "SinkTest.h"

using namespace HSL::Sinks;

namespace {

struct Taken {
    int number;
    std::string category;
    HSL::Level level;
    std::string thread;
    std::string message;
    std::string file;
    int line;
    std::string function;
};

class TakingSink : public Sink {
public:
    explicit TakingSink(std::vector<Taken>& taken)
        : mTaken(taken)
    {
    }
    void Write(const Line& line) override
    {
        mTaken.push_back({ line.mSequence, std::string(line.mCategory), line.mLevel, std::string(line.mThread),
                           std::string(line.mMessage), std::string(line.mFile), line.mLine,
                           std::string(line.mFunction) });
    }
    bool Flush(int) override { return true; }

private:
    std::vector<Taken>& mTaken;
};

class Sinks : public testing::Test {
protected:
    Sinks() { HSL::SetLevel("ultra verbose"); }

    std::unique_ptr<Sink> Taking(std::vector<Taken>& taken) { return std::make_unique<TakingSink>(taken); }

    ManualPass pass;
    std::vector<Taken> all;
    std::vector<Taken> some;
};

} // namespace

TEST_F(Sinks, LineHasAllThatACallKnows)
{
    Output output;
    ASSERT_TRUE(output.Add(Taking(all)));
    const HSL::Category net = HSL::RegisterCategory("net");
    HSL_LOG(net.Warning(), "{}% of {}", 5, "x");
    const int line = __LINE__ - 1;
    const int number = HSL::LogManager()->mSequence;
    EXPECT_TRUE(output.Flush());
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].number, number);
    EXPECT_EQ(all[0].category, "net");
    EXPECT_EQ(all[0].level, HSL::Level::kWarning);
    EXPECT_EQ(all[0].thread, HSL::LogManager()->GetTLSContext()->mName);
    EXPECT_EQ(all[0].message, "5% of x");
    EXPECT_EQ(all[0].file, "HSLSink_test.cpp");
    EXPECT_EQ(all[0].line, line);
    EXPECT_EQ(all[0].function, "TestBody");
}

TEST_F(Sinks, NumbersShowGaps)
{
    Output output;
    output.Add(Taking(all));
    HSL::CLogContext& context = pass.Context("c");
    context.Log(3, "one");
    ++HSL::LogManager()->mSequence;
    context.Log(3, "three");
    pass.Manager().Collect();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[1].number, all[0].number + 2);
}

TEST_F(Sinks, EachSinkHasItsOwnFilter)
{
    Output output;
    ASSERT_TRUE(output.Add(Taking(all)));
    ASSERT_TRUE(output.Add(Taking(some), "warning,net=chatty,ui=off"));
    const HSL::Category net = HSL::RegisterCategory("net");
    const HSL::Category ui = HSL::RegisterCategory("ui");
    HSL_LOG(net.Chatty(), "{}", 1);
    HSL_LOG(net.Verbose(), "{}", 2);
    HSL_LOG(ui.Catastrophy(), "{}", 3);
    HSL_INFO("{}", 4);
    HSL_WARNING("{}", 5);
    pass.Manager().Collect();
    EXPECT_EQ(all.size(), 5u);
    ASSERT_EQ(some.size(), 2u);
    EXPECT_EQ(some[0].message, "1");
    EXPECT_EQ(some[1].message, "5");
}

TEST_F(Sinks, MistakeInAFilterIsTold)
{
    Output output;
    std::string problem;
    EXPECT_FALSE(output.Add(Taking(all), "loud", &problem));
    EXPECT_FALSE(problem.empty());
    EXPECT_FALSE(output.Add(nullptr));
}

TEST_F(Sinks, OnlyWhatLooksLikeAPlaceIsTakenForOne)
{
    Output output;
    output.Add(Taking(all));
    HSL::CLogContext& context = pass.Context("c");
    const char* const kNoPlaces[] = { "[12:30] noon", "[a:b c] x", "[:1 f] x", "[a:1f] x", "[a b:1 f] x",
                                      "[a:1 ] x",     "[a:1 f]x",  "[",        "" };
    for (const char* text : kNoPlaces) {
        context.Log(3, "%s", text);
    }
    pass.Manager().Collect();
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].message, kNoPlaces[i]);
        EXPECT_EQ(all[i].file, "");
    }
}

TEST_F(Sinks, CallbackFromBeforeComesBack)
{
    {
        Output output;
        HSL_INFO("{}", 1);
        pass.Manager().Collect();
        EXPECT_EQ(pass.lines.size(), 0u);
    }
    HSL_INFO("{}", 2);
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(pass.messages.size(), 0u);
}
