// What the manager does when the system refuses it something.
#include "hslog/HSL.h"

#include "BareManager.h"
#include "Interpose.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

using HSL::CCat;
using HSL::CLogManager;

namespace {

std::vector<std::string> gMessages;

void takeMessage(const char* line)
{
    const std::string text = line;
    gMessages.push_back(text.substr(text.find('\t') + 1));
}

void switchOn(CLogManager& manager)
{
    gMessages.clear();
    manager.SetOutputCallback(takeMessage);
    manager.SetEnable(true);
    manager.SetFilterValue(3, true);
}

} // namespace

TEST(CLogManagerPlatform, WithoutACollectionThreadTheHostsOwnPassesOutput)
{
    CleanModule clean;
    SavedCallbacks saved;
    Interposed hooks;
    int asked = 0;
    hooks.pthreadCreate = [&asked](pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) {
        ++asked;
        return EAGAIN;
    };
    CLogManager::Initialize();
    switchOn(*HSL::LogManager());
    HSL::HSLog(CCat(3), "one");
    EXPECT_FALSE(HSL::LogManager()->Collect());
    HSL::HSLog(CCat(3), "lost");
    CLogManager::Cleanup();
    EXPECT_EQ(gMessages, std::vector<std::string> { "one\n" });
    // The thread object counts as running from its first start on, so no later manager gets a thread either.
    CLogManager::Initialize();
    CLogManager::Cleanup();
    EXPECT_EQ(asked, 1);
}

TEST(CLogManagerPlatform, WithoutAThreadSpecificKeyEveryCallHasAContextOfItsOwnAndNothingIsLost)
{
    SavedCallbacks saved;
    Interposed hooks;
    hooks.keyCreate = [](pthread_key_t*, void (*)(void*)) { return EAGAIN; };
    BareManager manager;
    switchOn(*manager);
    for (int i = 0; i < 3; ++i) {
        HSL::HSLog(CCat(3), "call %d", i);
    }
    EXPECT_EQ(manager->mTLSContexts.size(), 3u);
    manager->CleanupTLSContext(); // knows of none
    EXPECT_EQ(manager->mTLSContexts.size(), 3u);
    manager->Collect();
    EXPECT_EQ(gMessages, (std::vector<std::string> { "call 0\n", "call 1\n", "call 2\n" }));
}

TEST(CLogManagerPlatform, WithoutAMutexAHostOfOneThreadCanLog)
{
    SavedCallbacks saved;
    Interposed hooks;
    hooks.mutexInit = [](pthread_mutex_t*, const pthread_mutexattr_t*) { return ENOMEM; };
    BareManager manager;
    hooks.mutexInit = nullptr;
    switchOn(*manager);
    const int id = manager->AddFormatString("by id %d");
    manager->GetTLSContext()->SetName("named");
    HSL::HSLog(CCat(3), "by text");
    manager->GetTLSContext()->Log(CCat(3), static_cast<short>(id), 7);
    manager->Collect();
    manager->CleanupTLSContext();
    EXPECT_TRUE(manager->mContexts.empty());
    EXPECT_EQ(gMessages, (std::vector<std::string> { "by text\n", "by id 7\n" }));
}
