#include "Snapshot.h"

#include <gtest/gtest.h>
#include <thread>

using BreakpadLinux::Snapshot;

TEST(Snapshot, IsEmptyAtFirst)
{
    Snapshot snapshot;
    EXPECT_EQ(snapshot.Hold(), nullptr);
}

TEST(Snapshot, HoldsTheLatestText)
{
    Snapshot snapshot;
    snapshot.Replace("first");
    snapshot.Replace("second");
    EXPECT_EQ(*snapshot.Hold(), "second");
}

TEST(Snapshot, AHeldTextOutlivesItsReplacement)
{
    Snapshot snapshot;
    snapshot.Replace(std::string(1000, 'a'));
    const std::string* held = snapshot.Hold();
    snapshot.Replace("b");
    EXPECT_EQ(*held, std::string(1000, 'a'));
    delete held; // in a crash it stays for good
}

// A crash may come at any moment of any number of replacements.
TEST(Snapshot, IsAlwaysOneWholeText)
{
    for (int round = 0; round < 200; ++round) {
        auto* snapshot = new Snapshot; // like the held text, left as in a crash
        snapshot->Replace(std::string(100, 'a'));
        std::atomic<bool> stop { false };
        std::thread writer([&] {
            for (char c = 'b'; !stop; c = c == 'z' ? 'a' : static_cast<char>(c + 1)) {
                snapshot->Replace(std::string(100, c));
            }
        });
        const std::string* held = snapshot->Hold();
        for (int look = 0; look < 100; ++look) {
            ASSERT_EQ(*held, std::string(100, held->front()));
        }
        stop = true;
        writer.join();
        ASSERT_EQ(*held, std::string(100, held->front()));
        if (held != snapshot->Hold()) {
            delete held;
        }
        delete snapshot;
    }
}
