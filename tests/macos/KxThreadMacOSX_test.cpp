#include "platform/KxThreadPlatform.h"

#include "DarwinThreads.h"
#include "Interpose.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <string>
#include <vector>

namespace {

using Names = std::vector<std::string>;

class KxThreadMacOSX : public testing::Test {
protected:
    KxThreadMacOSX() { darwinThreadNames().clear(); }
};

} // namespace

TEST_F(KxThreadMacOSX, NamesTheCallingThreadOnce)
{
    std::vector<pthread_t> named;
    Interposed hooks;
    hooks.pthreadSetname = [&](pthread_t thread, const char*) {
        named.push_back(thread);
        return 0;
    };
    KxSetCurrentThreadName("worker");
    EXPECT_EQ(darwinThreadNames(), (Names { "worker" }));
    EXPECT_EQ(named, (std::vector<pthread_t> { pthread_self() }));
}

TEST_F(KxThreadMacOSX, LongNameIsHandedOnWhole)
{
    const std::string longest(63, 'x');
    KxSetCurrentThreadName(longest.c_str());
    EXPECT_EQ(darwinThreadNames(), (Names { longest }));
}

TEST_F(KxThreadMacOSX, NameThatTheSystemRefusesIsLetGo)
{
    char before[16] = {};
    char after[16] = {};
    pthread_getname_np(pthread_self(), before, sizeof before);
    KxSetCurrentThreadName(std::string(64, 'x').c_str());
    pthread_getname_np(pthread_self(), after, sizeof after);
    EXPECT_EQ(darwinThreadNames(), (Names { std::string(64, 'x') }));
    EXPECT_STREQ(after, before);
}
