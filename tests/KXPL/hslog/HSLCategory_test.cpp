// Categories and levels by name.
#include "hslog/HSLCategory.h"
#include "hslog/HSLLog.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

class Categories : public testing::Test {
protected:
    bool IsOn(unsigned char code) { return pass.Manager().GetFilterValue(code); }

    // The least level that passes, 7 for none.
    int LeastOf(HSL::Category category)
    {
        int least = HSL::kLevels;
        for (int level = HSL::kLevels - 1; level >= 0 && IsOn(category.At(HSL::Level(level))); --level) {
            least = level;
        }
        return least;
    }

    ManualPass pass;
};

} // namespace

TEST_F(Categories, LevelAndThoseAboveItPass)
{
    const char* const kNames[] = { "ultra verbose", "Verbose", "CHATTY",      "info",
                                   "warning",       "error",   "catastrophy", "off" };
    for (int least = 0; least <= HSL::kLevels; ++least) {
        ASSERT_TRUE(HSL::SetLevel(kNames[least]));
        EXPECT_EQ(LeastOf(HSL::Category()), least);
    }
}

TEST_F(Categories, LevelsHaveOtherNamesToo)
{
    const std::pair<const char*, int> kNames[] = {
        { "ultra-verbose", 0 }, { "Ultra_Verbose", 0 }, { "trace", 0 }, { "debug", 2 },
        { "warn", 4 },          { "critical", 6 },      { "5", 5 }
    };
    for (const auto& name : kNames) {
        ASSERT_TRUE(HSL::SetLevel(name.first));
        EXPECT_EQ(LeastOf(HSL::Category()), name.second) << name.first;
    }
}

TEST_F(Categories, WhatIsNoLevelChangesNothing)
{
    ASSERT_TRUE(HSL::SetLevel("error"));
    std::string problem;
    EXPECT_FALSE(HSL::SetLevel("loud"));
    EXPECT_FALSE(HSL::SetLevel(nullptr));
    EXPECT_FALSE(HSL::SetLevel("7"));
    EXPECT_FALSE(HSL::SetLevel("net=info"));
    EXPECT_FALSE(HSL::SetLevels("*=info,net=loud", &problem));
    EXPECT_NE(problem.find("\"loud\" is no level"), std::string::npos);
    EXPECT_FALSE(HSL::SetLevels("=info", &problem));
    EXPECT_FALSE(HSL::SetLevels(nullptr));
    EXPECT_EQ(LeastOf(HSL::Category()), 5);
}

TEST_F(Categories, EachCategoryHasLevelsOfItsOwn)
{
    const HSL::Category net = HSL::RegisterCategory("net");
    const HSL::Category ui = HSL::RegisterCategory("ui");
    const HSL::Category disk = HSL::RegisterCategory("disk");
    ASSERT_TRUE(net.IsRegistered() && ui.IsRegistered() && disk.IsRegistered());
    ASSERT_TRUE(HSL::SetLevels("net=chatty, ui=off ,*=info"));
    EXPECT_EQ(LeastOf(net), 2);
    EXPECT_EQ(LeastOf(ui), 7);
    EXPECT_EQ(LeastOf(disk), 3);
    EXPECT_EQ(LeastOf(HSL::Category()), 3);
    HSL_LOG(net.Chatty(), "net {}", 1);
    HSL_LOG(ui.Catastrophy(), "ui {}", 2);
    HSL_LOG(disk.Verbose(), "disk {}", 3);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(messageOf(pass.lines[0]), "net 1");
}

TEST_F(Categories, NameIsRegisteredOnce)
{
    const HSL::Category first = HSL::RegisterCategory("net");
    EXPECT_EQ(HSL::RegisterCategory("net").Info(), first.Info());
    EXPECT_NE(HSL::RegisterCategory("network").Info(), first.Info());
    HSL::SetLevels("net=error");
    HSL::RegisterCategory("net");
    EXPECT_EQ(LeastOf(first), 5);
}

TEST_F(Categories, HostMayChooseThePlace)
{
    const HSL::Category net = HSL::RegisterCategory("net", 20);
    EXPECT_EQ(net.UltraVerbose(), 20);
    EXPECT_EQ(net.Catastrophy(), 26);
    EXPECT_FALSE(HSL::RegisterCategory("ui", 26).IsRegistered());
    EXPECT_EQ(HSL::RegisterCategory("ui", 27).UltraVerbose(), 27);
    EXPECT_FALSE(HSL::RegisterCategory("levels", 6).IsRegistered());
    EXPECT_FALSE(HSL::RegisterCategory("end", 250).IsRegistered());
    EXPECT_EQ(HSL::RegisterCategory("end", 249).Catastrophy(), 255);
}

TEST_F(Categories, NineteenFindAPlaceByThemselves)
{
    for (int i = 0; i < 19; ++i) {
        EXPECT_TRUE(HSL::RegisterCategory(("c" + std::to_string(i)).c_str()).IsRegistered()) << i;
    }
    EXPECT_FALSE(HSL::RegisterCategory("one more").IsRegistered());
    EXPECT_EQ(HSL::RegisterCategory("one more").Info(), 3);
}

TEST_F(Categories, NamesOfAHostAreLeftAlone)
{
    pass.Manager().SetCategoryName(123, "mine");
    EXPECT_EQ(HSL::RegisterCategory("net").UltraVerbose(), 124);
}

TEST_F(Categories, CategoryThatComesLaterGetsItsLevel)
{
    HSL::SetLevels("*=warning,net=chatty");
    EXPECT_EQ(LeastOf(HSL::RegisterCategory("net")), 2);
    EXPECT_EQ(LeastOf(HSL::RegisterCategory("ui")), 4);
    HSL::SetLevel("error");
    EXPECT_EQ(LeastOf(HSL::RegisterCategory("net")), 5);
}

TEST_F(Categories, CategoryOfOneCodeIsOnOrOff)
{
    pass.Manager().SetCategoryName(25, "audit");
    HSL::SetLevels("audit=error");
    EXPECT_TRUE(IsOn(25));
    HSL::SetLevels("audit=off");
    EXPECT_FALSE(IsOn(25));
}

TEST_F(Categories, EnvironmentDecides)
{
    unsetenv("HSL_CATEGORY_TEST");
    HSL::SetLevel("error");
    EXPECT_TRUE(HSL::SetLevelsFromEnvironment("HSL_CATEGORY_TEST"));
    EXPECT_EQ(LeastOf(HSL::Category()), 5);
    setenv("HSL_CATEGORY_TEST", "verbose", 1);
    EXPECT_TRUE(HSL::SetLevelsFromEnvironment("HSL_CATEGORY_TEST"));
    EXPECT_EQ(LeastOf(HSL::Category()), 1);
    setenv("HSL_CATEGORY_TEST", "nonsense", 1);
    std::string problem;
    EXPECT_FALSE(HSL::SetLevelsFromEnvironment("HSL_CATEGORY_TEST", &problem));
    EXPECT_FALSE(problem.empty());
    EXPECT_EQ(LeastOf(HSL::Category()), 1);
}

TEST_F(Categories, CodeTellsItsCategoryAndLevel)
{
    const HSL::Category net = HSL::RegisterCategory("net");
    pass.Manager().SetCategoryName(25, "audit");
    const auto told = [](unsigned char code) {
        const HSL::CategoryAndLevel what = HSL::WhatCodeStandsFor(code);
        return what.mName + "/" + HSL::NameOf(what.mLevel);
    };
    EXPECT_EQ(told(0), "/Ultra Verbose");
    EXPECT_EQ(told(6), "/Catastrophy");
    EXPECT_EQ(told(net.Warning()), "net/Warning");
    EXPECT_EQ(told(net.Verbose()), "net/Verbose");
    EXPECT_EQ(told(25), "audit/Info");
    EXPECT_EQ(told(26), "/Info");
}

TEST(CategoriesWithoutManager, NothingIsRegisteredNorSet)
{
    EXPECT_FALSE(HSL::RegisterCategory("net").IsRegistered());
    EXPECT_FALSE(HSL::SetLevel("info"));
}

TEST_F(Categories, NameThatNoListCouldHoldIsRefused)
{
    for (const char* name : { "", "a=b", "a,b", "a: b" }) {
        EXPECT_FALSE(HSL::RegisterCategory(name).IsRegistered()) << name;
    }
    EXPECT_FALSE(HSL::RegisterCategory(nullptr).IsRegistered());
}
