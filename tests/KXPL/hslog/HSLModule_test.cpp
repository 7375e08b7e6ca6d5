// Two modules, each with the logger linked into it, and one manager for both.
#include "hslog/HSL.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <algorithm>
#include <string>
#include <vector>

using HSL::CLogManager;

namespace {

std::vector<std::string> gMessages;

void takeMessage(const char* line)
{
    const std::string text = line;
    const std::size_t tab = text.find('\t');
    gMessages.push_back(text.substr(tab + 1, text.size() - tab - 2));
}

class TwoModules : public testing::Test {
protected:
    TwoModules()
        : mModule(dlopen(SECOND_MODULE, RTLD_NOW | RTLD_LOCAL))
    {
        gMessages.clear();
        CLogManager::Initialize();
        HSL::LogManager()->SetOutputCallback(takeMessage);
        HSL::LogManager()->SetEnable(true);
        HSL::LogManager()->SetFilterValue(3, true);
    }
    ~TwoModules() override { CLogManager::Cleanup(); }

    void SetUp() override { ASSERT_NE(mModule, nullptr) << dlerror(); }

    template <typename Result, typename... Arguments> Result Call(const char* name, Arguments... arguments)
    {
        return reinterpret_cast<Result (*)(Arguments...)>(dlsym(mModule, name))(arguments...);
    }

    void Unload()
    {
        ASSERT_EQ(dlclose(mModule), 0);
        // Really gone: whatever still pointed into it would fault from here on.
        ASSERT_EQ(dlopen(SECOND_MODULE, RTLD_NOW | RTLD_NOLOAD), nullptr);
    }

    static std::size_t Contexts()
    {
        CLogManager* manager = HSL::LogManager();
        const KxLockGuard guard(manager->mLock);
        return manager->mContexts.size();
    }

    void* mModule;
};

} // namespace

TEST_F(TwoModules, AreStrangersUntilOneAdoptsTheOthersManager)
{
    EXPECT_FALSE(Call<bool>("module_has_manager"));
    Call<void>("module_log", 1);
    Call<void>("module_adopt", HSL::LogManager());
    EXPECT_TRUE(Call<bool>("module_has_manager"));
    Call<void>("module_log", 2);
    Call<void>("module_cleanup");
    EXPECT_FALSE(Call<bool>("module_has_manager"));
    EXPECT_TRUE(CLogManager::IsInitialized());
    CLogManager::Cleanup();
    EXPECT_EQ(gMessages, std::vector<std::string> { "module 2" });
    Unload();
}

TEST_F(TwoModules, ShareOneContextPerThread)
{
    HSL::HSLog(HSL::CCat(3), "host");
    Call<void>("module_adopt", HSL::LogManager());
    Call<void>("module_log", 1);
    EXPECT_EQ(Contexts(), 1u);
    CLogManager::Cleanup();
    EXPECT_EQ(gMessages, (std::vector<std::string> { "host", "module 1" }));
    Unload();
}

TEST_F(TwoModules, HostMayCleanUpBeforeTheModuleGoes)
{
    Call<void>("module_adopt", HSL::LogManager());
    Call<void>("module_log_on_plain_thread", 1);
    Call<void>("module_log", 2);
    Call<void>("module_cleanup");
    // The context that the module made for its thread is deleted here, by code of the module.
    CLogManager::Cleanup();
    EXPECT_EQ(gMessages, (std::vector<std::string> { "module 1", "module 2" }));
    Unload();
}

TEST_F(TwoModules, ModuleMayGoFirstOnceTheThreadsThatItStartedHaveEnded)
{
    Call<void>("module_adopt", HSL::LogManager());
    Call<void>("module_log_on_thread_object", 1);
    EXPECT_EQ(Contexts(), 1u);
    for (int i = 0; i < 1000; ++i) {
        Call<void>("module_log", i);
    }
    Call<void>("module_cleanup");
    Unload();
    // Its records hold no pointer into it; the host's thread logs on to the context that the host made.
    HSL::HSLog(HSL::CCat(3), "host");
    CLogManager::Cleanup();
    gMessages.erase(std::remove(gMessages.begin(), gMessages.end(), "module 1"), gMessages.end());
    ASSERT_EQ(gMessages.size(), 1000u);
    EXPECT_EQ(gMessages[0], "module 0");
    EXPECT_EQ(gMessages[998], "module 999");
    EXPECT_EQ(gMessages[999], "host");
}

TEST_F(TwoModules, ModuleMayBeLoadedAndAdoptAgain)
{
    for (int round = 0; round < 3; ++round) {
        Call<void>("module_adopt", HSL::LogManager());
        Call<void>("module_log", round);
        Call<void>("module_cleanup");
        Unload();
        mModule = dlopen(SECOND_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(mModule, nullptr) << dlerror();
    }
    CLogManager::Cleanup();
    EXPECT_EQ(gMessages, (std::vector<std::string> { "module 0", "module 1", "module 2" }));
    Unload();
}
