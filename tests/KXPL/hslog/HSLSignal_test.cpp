// Signals that arrive in the middle of a log call.
#include "hslog/HSL.h"

#include "ManualPass.h"
#include "SingleStep.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <string>
#include <thread>

using HSL::CCat;
using HSL::CLogContext;

namespace {

constexpr int kMessages = 20000;
constexpr int kMoreInstructionsThanACallHas = 100000;

// Stepping takes the square of the number of instructions, of which an instrumented call has very many, and one
// that is not optimised many.
#if defined(__SANITIZE_ADDRESS__)
constexpr int kBetweenPositions = 97;
#elif !defined(__OPTIMIZE__)
constexpr int kBetweenPositions = 7;
#else
constexpr int kBetweenPositions = 1;
#endif

std::atomic<int> gSignals;

void count(int)
{
    ++gSignals;
}

} // namespace

TEST(LogCallAndSignal, NothingIsLostWhenAHandlerDoesNotLog)
{
    ManualPass pass;
    CLogContext& context = pass.Context("Main", 1 << 22);
    struct sigaction action = {};
    struct sigaction previous = {};
    action.sa_handler = count;
    action.sa_flags = SA_RESTART;
    ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);
    gSignals = 0;
    const pthread_t logging = pthread_self();
    std::atomic<bool> done { false };
    std::thread sender([&] {
        while (!done) {
            pthread_kill(logging, SIGUSR1);
        }
    });
    int logged = 0;
    while (logged < kMessages || gSignals < 10) {
        context.Log(CCat(3), "%d %s", logged % kMessages, "text");
        if (++logged % kMessages == 0) {
            pass.Manager().Collect();
        }
    }
    done = true;
    sender.join();
    sigaction(SIGUSR1, &previous, nullptr);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), static_cast<std::size_t>(logged));
    for (int i = 0; i < logged; ++i) {
        ASSERT_EQ(messageOf(pass.lines[static_cast<std::size_t>(i)]), std::to_string(i % kMessages) + " text");
    }
}

// Not supported: messages may vanish or come out garbled. But no byte outside the ring is read or written, and
// passes end. The texts have no "%": what a garbled format would do with one is beyond the ring.
TEST(LogCallAndSignal, HandlerThatLogsToTheSameContextAtAnyInstructionIsMemorySafe)
{
    if (!SingleStep::IsPossible()) {
        GTEST_SKIP();
    }
    for (int position = 0; position < kMoreInstructionsThanACallHas; position += kBetweenPositions) {
        ManualPass pass;
        // Small, and not at its beginning, so that records wrap at some positions.
        CLogContext& context = pass.Context("Main", 20000);
        for (int i = 0; i < position % 400; ++i) {
            context.Log(CCat(3), "a text of fifty bytes, so that the ring is soon full");
        }
        pass.Manager().Collect();
        int instruction = 0;
        {
            const SingleStep step([&] {
                if (instruction++ == position) {
                    context.Log(CCat(3), "from the handler", 5, 6.5);
                    pass.Manager().Collect();
                }
            });
            context.Log(CCat(3), "interrupted", 7, "text", 8.25);
        }
        context.Log(CCat(3), "after");
        pass.Manager().Collect();
        pass.Manager().Collect();
        const cb_control* control = context.mBuffer->mControl;
        ASSERT_LE(cb_get_num_elem_used(context.mBuffer->mControl), control->num_elem);
        ASSERT_GE(control->write_offset, control->start_offset);
        ASSERT_LE(control->write_offset, control->end_offset);
        if (instruction <= position) {
            EXPECT_GT(position, 50);
            return;
        }
    }
    FAIL() << "a log call of so many instructions";
}
