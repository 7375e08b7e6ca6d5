#include "hslog/HSLCat.h"

#include "BareManager.h"
#include "ByteRing.h"
#include "hslog/HSLLogContext.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

using HSL::CCat;

namespace {

const char* const kLevelNames[] = { "Ultra Verbose", "Verbose", "Chatty",     "Info",
                                    "Warning",       "Error",   "Catastrophy" };

CCat withCodes(std::initializer_list<unsigned char> codes)
{
    CCat cat(0);
    cat.mCount = 0;
    for (const unsigned char code : codes) {
        cat.mCodes[cat.mCount++] = code;
    }
    return cat;
}

std::string serialised(const CCat& cat)
{
    ByteRing ring;
    cat.Serialize(&ring);
    return BytesIn(ring);
}

} // namespace

TEST(CCat, HoldsTheOneCodeItIsMadeOf)
{
    const CCat cat(200);
    EXPECT_EQ(cat.mCount, 1);
    EXPECT_EQ(cat.mCodes[0], 200);
}

TEST(CCat, IsACountAndAtMostTenCodesBehindIt)
{
    EXPECT_EQ(offsetof(CCat, mCount), 0u);
    EXPECT_EQ(offsetof(CCat, mCodes), 1u);
    EXPECT_EQ(sizeof(CCat::mCount), 1u);
    EXPECT_EQ(sizeof(CCat::mCodes[0]), 1u);
    EXPECT_GE(sizeof(CCat::mCodes), 1u);
    EXPECT_LE(sizeof(CCat::mCodes), 10u);
    EXPECT_FALSE(std::is_polymorphic_v<CCat>);
}

TEST(CCat, IsMadeOfABareCode)
{
    EXPECT_TRUE((std::is_convertible_v<unsigned char, CCat>));
    EXPECT_FALSE(std::is_default_constructible_v<CCat>);
}

TEST(CCat, CodeThreeSerialisesAsOneAndThree)
{
    EXPECT_EQ(serialised(CCat(3)), Raw({ 1, 3 }));
}

TEST(CCat, CodeZeroSerialisesLikeAnyOther)
{
    EXPECT_EQ(serialised(CCat(0)), Raw({ 1, 0 }));
}

TEST(CCat, SeveralCodesSerialiseInTheirOrder)
{
    EXPECT_EQ(serialised(withCodes({ 9, 255, 0, 9 })), Raw({ 4, 9, 255, 0, 9 }));
}

TEST(CCat, TenCodesSerialiseWhole)
{
    EXPECT_EQ(serialised(withCodes({ 10, 9, 8, 7, 6, 5, 4, 3, 2, 1 })),
              Raw({ 10, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1 }));
}

TEST(CCat, NoCodesSerialiseAsTheCountAlone)
{
    EXPECT_EQ(serialised(withCodes({})), Raw({ 0 }));
}

// The collector keeps ten codes, and there are no more to read.
TEST(CCat, CountAboveTenSerialisesTenCodes)
{
    CCat cat = withCodes({ 10, 9, 8, 7, 6, 5, 4, 3, 2, 1 });
    cat.mCount = 255;
    EXPECT_EQ(serialised(cat), Raw({ 10, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1 }));
}

TEST(CCat, CountAboveTenAsksTheFilterForTenCodes)
{
    BareManager manager;
    HSL::CLogContext context("context", 8192, HSL::CLogContext::MallocFunc, HSL::CLogContext::FreeFunc);
    for (int code = 11; code < 256; ++code) {
        manager->SetFilterValue(static_cast<unsigned char>(code), true);
    }
    CCat cat = withCodes({ 10, 9, 8, 7, 6, 5, 4, 3, 2, 1 });
    cat.mCount = 255;
    context.Log(cat, "refused");
    EXPECT_EQ(UsedIn(*context.mBuffer), 0u);
    manager->SetFilterValue(1, true);
    context.Log(cat, "passed");
    EXPECT_EQ(context.mRecordCount, 1);
}

TEST(CCat, SerializeReturnsZero)
{
    ByteRing ring;
    EXPECT_EQ(CCat(3).Serialize(&ring), 0);
}

TEST(CCat, SerializeReturnsZeroThoughTheRingIsFull)
{
    ByteRing ring(1);
    EXPECT_EQ(CCat(3).Serialize(&ring), 0);
    EXPECT_EQ(BytesIn(ring), Raw({ 1 }));
    EXPECT_EQ(ring.GetLastError(), static_cast<unsigned int>(CB_ERR_OVERFLOW));
}

TEST(CCat, InitializeNamesTheSevenLevels)
{
    BareManager manager;
    CCat::Initialize();
    for (std::size_t code = 0; code < 7; ++code) {
        EXPECT_EQ(manager->mCategoryNames[code], kLevelNames[code]);
    }
}

TEST(CCat, InitializeLeavesTheOtherCategoriesUnnamed)
{
    BareManager manager;
    CCat::Initialize();
    for (std::size_t code = 7; code < 256; ++code) {
        EXPECT_EQ(manager->mCategoryNames[code], "") << code;
    }
}

TEST(CCat, InitializeKeepsANameThatALevelHasAlready)
{
    BareManager manager;
    manager->SetCategoryName(4, "Careful");
    CCat::Initialize();
    EXPECT_EQ(manager->mCategoryNames[4], "Careful");
    EXPECT_EQ(manager->mCategoryNames[5], "Error");
}

TEST(CCat, InitializeNamesTheLevelsOfTheManagerInForce)
{
    HSL::CLogManager other;
    BareManager manager;
    CCat::Initialize();
    EXPECT_EQ(manager->mCategoryNames[0], "Ultra Verbose");
    EXPECT_EQ(other.mCategoryNames[0], "");
}

TEST(CCat, CleanupKeepsTheNames)
{
    BareManager manager;
    CCat::Initialize();
    CCat::Cleanup();
    for (std::size_t code = 0; code < 7; ++code) {
        EXPECT_EQ(manager->mCategoryNames[code], kLevelNames[code]);
    }
}

TEST(CCat, CleanupNeedsNoManager)
{
    ASSERT_FALSE(HSL::CLogManager::IsInitialized());
    CCat::Cleanup();
    EXPECT_FALSE(HSL::CLogManager::IsInitialized());
}
