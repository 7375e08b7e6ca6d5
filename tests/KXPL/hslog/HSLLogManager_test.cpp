#include "hslog/HSLLogManager.h"

#include "BareManager.h"
#include "hslog/HSLLogContext.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

using HSL::CLogManager;

namespace {

template <typename A, typename B> bool liesBefore(const A& a, const B& b)
{
    return reinterpret_cast<const char*>(&a) + sizeof(A) <= reinterpret_cast<const char*>(&b);
}

// Which ranges a client may use.
bool isClientRange(int first, int last)
{
    return (first == 20 && last >= 20 && last <= 99) || (first == 100 && last >= 100 && last <= 119);
}

} // namespace

TEST(CLogManager, FieldsLieInTheirOrder)
{
    const CLogManager manager;
    EXPECT_EQ(reinterpret_cast<const char*>(&manager.mEnabled),
              reinterpret_cast<const char*>(&manager) + sizeof(void*));
    EXPECT_TRUE(liesBefore(manager.mEnabled, manager.mLock));
    EXPECT_TRUE(liesBefore(manager.mLock, manager.mContexts));
    EXPECT_TRUE(liesBefore(manager.mContexts, manager.mTLSContexts));
    EXPECT_TRUE(liesBefore(manager.mTLSContexts, manager.mFormatStrings));
    EXPECT_TRUE(liesBefore(manager.mFormatStrings, manager.mCategoryNames));
    EXPECT_TRUE(liesBefore(manager.mCategoryNames, manager.mFilter));
    EXPECT_TRUE(liesBefore(manager.mFilter, manager.mTLSContext));
    EXPECT_TRUE(liesBefore(manager.mTLSContext, manager.mSequence));
    EXPECT_TRUE(liesBefore(manager.mSequence, manager.mDefaultContextSize));
    EXPECT_TRUE(liesBefore(manager.mDefaultContextSize, manager.mShutdown));
    EXPECT_EQ(sizeof manager.mFilter, 256u);
    EXPECT_TRUE(std::has_virtual_destructor_v<CLogManager>);
}

TEST(CLogManager, StartsSwitchedOffUnlockedAndEmpty)
{
    const CLogManager manager;
    EXPECT_FALSE(manager.mEnabled);
    EXPECT_EQ(manager.mLock.mMutex.mLockCount, 0);
    EXPECT_TRUE(manager.mContexts.empty());
    EXPECT_TRUE(manager.mTLSContexts.empty());
    EXPECT_TRUE(manager.mFormatStrings.empty());
    EXPECT_EQ(manager.mTLSContext.Get(), nullptr);
    EXPECT_EQ(manager.mSequence, 0);
    EXPECT_EQ(manager.mDefaultContextSize, 262144u);
    EXPECT_FALSE(manager.mShutdown);
}

TEST(CLogManager, StartsWith256EmptyNamesAndAClosedFilter)
{
    const CLogManager manager;
    EXPECT_EQ(manager.mCategoryNames, std::vector<std::string>(256));
    for (const unsigned char entry : manager.mFilter) {
        EXPECT_EQ(entry, 0);
    }
}

TEST(CLogManager, ReadsTheClockWhenItIsMade)
{
    int reads = 0;
    Interposed hooks;
    hooks.gettimeofdayHook = [&](struct timeval*, void*) {
        ++reads;
        return -1;
    };
    const CLogManager manager;
    EXPECT_EQ(reads, 1);
}

TEST(CLogManager, MakingOneDoesNotSetIt)
{
    ASSERT_FALSE(CLogManager::IsInitialized());
    const CLogManager manager;
    EXPECT_FALSE(CLogManager::IsInitialized());
}

TEST(CLogManager, SetEnableSwitchesIsEnabled)
{
    BareManager manager;
    EXPECT_FALSE(CLogManager::IsEnabled());
    manager->SetEnable(true);
    EXPECT_TRUE(manager->mEnabled);
    EXPECT_TRUE(CLogManager::IsEnabled());
    manager->SetEnable(false);
    EXPECT_FALSE(manager->mEnabled);
    EXPECT_FALSE(CLogManager::IsEnabled());
}

TEST(CLogManager, IsEnabledAsksTheManagerInForce)
{
    CLogManager other;
    other.SetEnable(true);
    BareManager manager;
    EXPECT_FALSE(CLogManager::IsEnabled());
}

TEST(CLogManager, IsEnabledIsFalseWithoutAManagerAndMakesNone)
{
    ASSERT_FALSE(CLogManager::IsInitialized());
    EXPECT_FALSE(CLogManager::IsEnabled());
    EXPECT_FALSE(CLogManager::IsInitialized());
}

TEST(CLogManager, FilterStartsClosedAndOpensPerCategory)
{
    CLogManager manager;
    const unsigned char cat = 3;
    EXPECT_FALSE(manager.PassesFilter(1, &cat));
    manager.SetFilterValue(3, true);
    EXPECT_TRUE(manager.PassesFilter(1, &cat));
    const unsigned char neighbours[] = { 2, 4 };
    EXPECT_FALSE(manager.PassesFilter(2, neighbours));
    manager.SetFilterValue(3, false);
    EXPECT_FALSE(manager.PassesFilter(1, &cat));
}

TEST(CLogManager, FilterValueIsWhatWasSet)
{
    CLogManager manager;
    manager.SetFilterValue(255, true);
    EXPECT_TRUE(manager.GetFilterValue(255));
    EXPECT_EQ(manager.mFilter[255], 1);
    EXPECT_FALSE(manager.GetFilterValue(254));
    manager.SetFilterValue(255, false);
    EXPECT_FALSE(manager.GetFilterValue(255));
    EXPECT_EQ(manager.mFilter[255], 0);
}

TEST(CLogManager, AnyNonZeroFilterByteLetsThrough)
{
    CLogManager manager;
    manager.mFilter[9] = 0x80;
    const unsigned char cat = 9;
    EXPECT_TRUE(manager.GetFilterValue(9));
    EXPECT_TRUE(manager.PassesFilter(1, &cat));
}

TEST(CLogManager, OneEnabledCategoryAmongManyIsEnough)
{
    CLogManager manager;
    manager.SetFilterValue(7, true);
    const unsigned char last[] = { 1, 2, 7 };
    const unsigned char first[] = { 7, 1, 2 };
    EXPECT_TRUE(manager.PassesFilter(3, last));
    EXPECT_TRUE(manager.PassesFilter(3, first));
    EXPECT_FALSE(manager.PassesFilter(2, last));
}

TEST(CLogManager, NoCategoriesNeverPass)
{
    CLogManager manager;
    for (int cat = 0; cat < 256; ++cat) {
        manager.SetFilterValue(static_cast<unsigned char>(cat), true);
    }
    const unsigned char cat = 3;
    EXPECT_FALSE(manager.PassesFilter(0, &cat));
    EXPECT_FALSE(manager.PassesFilter(0, nullptr));
}

TEST(CLogManager, FilterFollowsAModelForRandomCategories)
{
    std::mt19937 random(1);
    CLogManager manager;
    bool open[256] = {};
    for (int step = 0; step < 5000; ++step) {
        const unsigned char changed = static_cast<unsigned char>(random());
        open[changed] = random() % 8 == 0;
        manager.SetFilterValue(changed, open[changed]);
        unsigned char cats[255];
        const unsigned char count = static_cast<unsigned char>(random() % 20 == 0 ? 255 : random() % 6);
        bool expected = false;
        for (unsigned char i = 0; i < count; ++i) {
            cats[i] = static_cast<unsigned char>(random());
            expected = expected || open[cats[i]];
        }
        ASSERT_EQ(manager.PassesFilter(count, cats), expected);
    }
}

TEST(CLogManager, RegisterCategoryRangeAcceptsOnlyTheTwoRanges)
{
    CLogManager manager;
    for (int first = -5; first <= 300; ++first) {
        for (int last = -5; last <= 300; ++last) {
            ASSERT_EQ(manager.RegisterCategoryRange(first, last), isClientRange(first, last))
                << first << ".." << last;
        }
    }
}

TEST(CLogManager, RegisterCategoryRangeRefusesExtremes)
{
    CLogManager manager;
    EXPECT_FALSE(manager.RegisterCategoryRange(INT_MIN, INT_MAX));
    EXPECT_FALSE(manager.RegisterCategoryRange(INT_MIN, 30));
    EXPECT_FALSE(manager.RegisterCategoryRange(20, INT_MAX));
    EXPECT_FALSE(manager.RegisterCategoryRange(20, INT_MIN));
    EXPECT_FALSE(manager.RegisterCategoryRange(INT_MAX, INT_MAX));
    EXPECT_FALSE(manager.RegisterCategoryRange(-1, -1));
}

TEST(CLogManager, RegisterCategoryRangeNamesItsKnownExamples)
{
    CLogManager manager;
    EXPECT_TRUE(manager.RegisterCategoryRange(20, 99));
    EXPECT_TRUE(manager.RegisterCategoryRange(100, 119));
    EXPECT_FALSE(manager.RegisterCategoryRange(20, 100));
    EXPECT_FALSE(manager.RegisterCategoryRange(21, 30));
    EXPECT_FALSE(manager.RegisterCategoryRange(100, 120));
    EXPECT_FALSE(manager.RegisterCategoryRange(160, 170));
    EXPECT_FALSE(manager.RegisterCategoryRange(30, 20));
}

TEST(CLogManager, RegisterCategoryRangeRecordsNothing)
{
    CLogManager manager;
    EXPECT_TRUE(manager.RegisterCategoryRange(20, 99));
    EXPECT_TRUE(manager.RegisterCategoryRange(20, 99));
    EXPECT_EQ(manager.mCategoryNames, std::vector<std::string>(256));
    EXPECT_FALSE(manager.GetFilterValue(20));
}

TEST(CLogManager, FirstNameOfACategoryStays)
{
    CLogManager manager;
    manager.SetCategoryName(200, "first");
    manager.SetCategoryName(200, "second");
    EXPECT_EQ(manager.mCategoryNames[200], "first");
    EXPECT_EQ(manager.mCategoryNames[199], "");
    EXPECT_EQ(manager.mCategoryNames[201], "");
}

TEST(CLogManager, EmptyNameLeavesTheCategoryUnnamed)
{
    CLogManager manager;
    manager.SetCategoryName(255, "");
    manager.SetCategoryName(255, "late");
    EXPECT_EQ(manager.mCategoryNames[255], "late");
}

TEST(CLogManager, NullNameIsIgnored)
{
    CLogManager manager;
    manager.SetCategoryName(8, nullptr);
    manager.SetCategoryName(8, "late");
    manager.SetCategoryName(8, nullptr);
    EXPECT_EQ(manager.mCategoryNames[8], "late");
}

TEST(CLogManager, NameIsCopied)
{
    CLogManager manager;
    char name[] = "name";
    manager.SetCategoryName(8, name);
    name[0] = 'X';
    EXPECT_EQ(manager.mCategoryNames[8], "name");
}

TEST(CLogManager, FormatStringIdsCountUpFromZero)
{
    CLogManager manager;
    EXPECT_EQ(manager.AddFormatString("a"), 0);
    EXPECT_EQ(manager.AddFormatString("b"), 1);
    EXPECT_EQ(manager.AddFormatString(L"c"), 2);
}

TEST(CLogManager, SameFormatStringTwiceGetsTwoIds)
{
    CLogManager manager;
    EXPECT_EQ(manager.AddFormatString("same"), 0);
    EXPECT_EQ(manager.AddFormatString("same"), 1);
    EXPECT_EQ(manager.AddFormatString(L"same"), 2);
    EXPECT_EQ(manager.AddFormatString(L"same"), 3);
    EXPECT_EQ(manager.mFormatStrings.size(), 4u);
}

TEST(CLogManager, FormatStringIdsHaveNoUpperLimit)
{
    CLogManager manager;
    int id = 0;
    for (int i = 0; i < 40000; ++i) {
        id = manager.AddFormatString("x");
    }
    EXPECT_EQ(id, 39999);
}

TEST(CLogManager, NarrowFormatStringIsStoredAsNarrow)
{
    CLogManager manager;
    char text[] = "%d items";
    manager.AddFormatString(text);
    text[0] = 'X';
    const CLogManager::CFormatStringEntry& entry = manager.mFormatStrings.at(0);
    EXPECT_TRUE(entry.mNarrow);
    EXPECT_EQ(entry.mString, "%d items");
    EXPECT_TRUE(entry.mWString.empty());
}

TEST(CLogManager, WideFormatStringIsStoredAsWide)
{
    CLogManager manager;
    wchar_t text[] = L"%d items";
    manager.AddFormatString(text);
    text[0] = L'X';
    const CLogManager::CFormatStringEntry& entry = manager.mFormatStrings.at(0);
    EXPECT_FALSE(entry.mNarrow);
    EXPECT_TRUE(entry.mString.empty());
    EXPECT_EQ(entry.mWString, L"%d items");
}

TEST(CLogManager, NullFormatStringsAreTheTextNull)
{
    CLogManager manager;
    EXPECT_EQ(manager.AddFormatString(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(manager.AddFormatString(static_cast<const wchar_t*>(nullptr)), 1);
    EXPECT_EQ(manager.mFormatStrings[0].mString, "<NULL>");
    EXPECT_EQ(manager.mFormatStrings[1].mWString, L"<NULL>");
}

TEST(CLogManager, FormatStringEntryAssignsItsMembersInTheirOrder)
{
    const CLogManager::CFormatStringEntry source = { true, "narrow", L"wide" };
    CLogManager::CFormatStringEntry target = {};
    target = source;
    EXPECT_TRUE(target.mNarrow);
    EXPECT_EQ(target.mString, "narrow");
    EXPECT_EQ(target.mWString, L"wide");
    EXPECT_TRUE(liesBefore(target.mNarrow, target.mString));
    EXPECT_TRUE(liesBefore(target.mString, target.mWString));
}

// The number that every log call of every thread raises must not slow down what lies beside it.
TEST(CLogManager, SequenceNumberSharesNoCacheLine)
{
    constexpr std::ptrdiff_t kLine = 64;
    const CLogManager manager;
    const char* sequence = reinterpret_cast<const char*>(&manager.mSequence);
    EXPECT_GE(sequence - reinterpret_cast<const char*>(&manager.mTLSContext + 1), kLine);
    EXPECT_GE(reinterpret_cast<const char*>(&manager.mDefaultContextSize)
                  - (sequence + sizeof manager.mSequence),
              kLine);
}
