#include "hslog/HSLLogContext.h"

#include "BareManager.h"
#include "ByteRing.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

using HSL::CLogContext;

namespace {

void* noMemory(int)
{
    return nullptr;
}

// What the memory functions of the test were asked.
int gSizeAsked = 0;
int gSizeFreed = 0;

void* observedMalloc(int size)
{
    gSizeAsked = size;
    return std::malloc(static_cast<std::size_t>(size));
}

void observedFree(void* block, int size)
{
    gSizeFreed = size;
    std::free(block);
}

std::unique_ptr<CLogContext> makeContext(int size, const char* name = "context")
{
    return std::make_unique<CLogContext>(name, size, CLogContext::MallocFunc, CLogContext::FreeFunc);
}

template <typename A, typename B> bool liesBefore(const A& a, const B& b)
{
    return reinterpret_cast<const char*>(&a) + sizeof(A) <= reinterpret_cast<const char*>(&b);
}

} // namespace

TEST(CLogContext, FieldsLieInTheirOrder)
{
    BareManager manager;
    const auto context = makeContext(8192);
    EXPECT_EQ(reinterpret_cast<char*>(&context->mBuffer),
              reinterpret_cast<char*>(context.get()) + sizeof(void*));
    EXPECT_TRUE(liesBefore(context->mBuffer, context->mRecordCount));
    EXPECT_TRUE(liesBefore(context->mRecordCount, context->mName));
    EXPECT_TRUE(liesBefore(context->mName, context->mDepth));
    EXPECT_TRUE(liesBefore(context->mDepth, context->mDropping));
    EXPECT_TRUE(liesBefore(context->mDropping, context->mHighWater));
    EXPECT_TRUE(liesBefore(context->mHighWater, context->mLowWater));
}

TEST(CLogContext, StartsEmptyAtDepthZeroAndWriting)
{
    BareManager manager;
    const auto context = makeContext(8192);
    EXPECT_EQ(UsedIn(*context->mBuffer), 0u);
    EXPECT_EQ(context->mRecordCount, 0);
    EXPECT_EQ(context->mDepth, 0);
    EXPECT_FALSE(context->mDropping);
}

TEST(CLogContext, CopiesItsName)
{
    BareManager manager;
    char name[] = "worker";
    const auto context = makeContext(8192, name);
    name[0] = 'X';
    EXPECT_EQ(context->mName, "worker");
}

TEST(CLogContext, NullNameIsTheTextNull)
{
    BareManager manager;
    const auto context = makeContext(8192, nullptr);
    EXPECT_EQ(context->mName, "<NULL>");
}

TEST(CLogContext, RingHasOneByteElementsAndTheGivenFunctions)
{
    BareManager manager;
    CLogContext context("context", 5000, observedMalloc, observedFree);
    const cb_control* control = context.mBuffer->mControl;
    ASSERT_NE(control, nullptr);
    EXPECT_EQ(control->elem_size, 1u);
    EXPECT_EQ(control->num_elem, 5000u);
    EXPECT_EQ(control->malloc_func, observedMalloc);
    EXPECT_EQ(control->free_func, observedFree);
    EXPECT_EQ(control->copy_func, CCircularBuffer::CopyFunc);
    EXPECT_EQ(gSizeAsked, static_cast<int>(cb_calc_buffer_size(1, 5000)));
}

TEST(CLogContext, RingGoesBackToTheGivenFunctionWithItsWholeSize)
{
    BareManager manager;
    {
        CLogContext context("context", 5000, observedMalloc, observedFree);
        gSizeFreed = 0;
    }
    EXPECT_EQ(gSizeFreed, static_cast<int>(cb_calc_buffer_size(1, 5000)));
}

TEST(CLogContext, ThresholdsOf65536BytesAre61440And49152)
{
    BareManager manager;
    const auto context = makeContext(65536);
    EXPECT_EQ(context->mHighWater, 61440);
    EXPECT_EQ(context->mLowWater, 49152);
}

TEST(CLogContext, LowWaterIsTruncated)
{
    BareManager manager;
    EXPECT_EQ(makeContext(5001)->mLowWater, 3750); // 3750.75
    EXPECT_EQ(makeContext(5002)->mLowWater, 3751); // 3751.5
    EXPECT_EQ(makeContext(5003)->mLowWater, 3752); // 3752.25
}

TEST(CLogContext, LowWaterOfANegativeSizeIsTruncatedTowardZero)
{
    BareManager manager;
    const CLogContext context("context", -5, noMemory, CLogContext::FreeFunc);
    EXPECT_EQ(context.mLowWater, -3); // -3.75
    EXPECT_EQ(context.mHighWater, -4101);
}

TEST(CLogContext, LowWaterIsNotComputedInInts)
{
    BareManager manager;
    const CLogContext context("context", 2000000000, noMemory, CLogContext::FreeFunc);
    EXPECT_EQ(context.mLowWater, 1500000000);
    EXPECT_EQ(context.mHighWater, 1999995904);
}

TEST(CLogContext, HighWaterOfASmallRingIsNegative)
{
    BareManager manager;
    const auto context = makeContext(1000);
    EXPECT_EQ(context->mHighWater, -3096);
    EXPECT_EQ(context->mLowWater, 750);
}

TEST(CLogContext, SizeZeroTakesTheManagersDefault)
{
    BareManager manager;
    manager->mDefaultContextSize = 20000;
    const auto context = makeContext(0);
    EXPECT_EQ(context->mBuffer->mControl->num_elem, 20000u);
    EXPECT_EQ(context->mHighWater, 15904);
    EXPECT_EQ(context->mLowWater, 15000);
}

TEST(CLogContext, SizeZeroTakes256KiBUnlessTheHostChangedIt)
{
    BareManager manager;
    const auto context = makeContext(0);
    EXPECT_EQ(context->mBuffer->mControl->num_elem, 262144u);
}

TEST(CLogContext, GivenSizeIsNotReplacedByTheDefault)
{
    BareManager manager;
    EXPECT_EQ(makeContext(1)->mBuffer->mControl->num_elem, 1u);
}

TEST(CLogContext, MemoryFunctionsAreTheCLibrarysAndIgnoreTheSizeFreed)
{
    void* block = CLogContext::MallocFunc(100);
    ASSERT_NE(block, nullptr);
    std::memset(block, 0x5A, 100);
    CLogContext::FreeFunc(block, -1);
    void* other = std::malloc(10);
    CLogContext::FreeFunc(other, 10);
    std::free(CLogContext::MallocFunc(10));
}

TEST(CLogContext, FailedRingAllocationLosesEverythingSilently)
{
    BareManager manager;
    manager->SetFilterValue(3, true);
    CLogContext context("context", 65536, noMemory, CLogContext::FreeFunc);
    ASSERT_NE(context.mBuffer, nullptr);
    EXPECT_EQ(context.mBuffer->mControl, nullptr);
    EXPECT_EQ(context.mHighWater, 61440);
    context.Log(HSL::CCat(3), "%s", "lost");
    context.Log(HSL::CCat(3), static_cast<short>(0));
    EXPECT_FALSE(context.mDropping);
    EXPECT_EQ(manager->mSequence, 2);
}

TEST(CLogContext, FailedRingAllocationDoesNotDisturbACollectionPass)
{
    BareManager manager;
    SavedCallbacks saved;
    static int lines;
    lines = 0;
    manager->SetOutputCallback([](const char*) { ++lines; });
    manager->SetFilterValue(3, true);
    CLogContext context("context", 65536, noMemory, CLogContext::FreeFunc);
    context.Log(HSL::CCat(3), "%s", "lost");
    EXPECT_FALSE(manager->Collect());
    EXPECT_EQ(lines, 0);
    EXPECT_EQ(context.mRecordCount, 0);
}

// A counter that several threads change must not slow down what lies beside it.
TEST(CLogContext, RecordCountSharesNoCacheLine)
{
    constexpr std::ptrdiff_t kLine = 64;
    BareManager manager;
    const CLogContext context("context", 65536, CLogContext::MallocFunc, CLogContext::FreeFunc);
    const char* count = reinterpret_cast<const char*>(&context.mRecordCount);
    EXPECT_GE(count - reinterpret_cast<const char*>(&context.mBuffer + 1), kLine);
    EXPECT_GE(reinterpret_cast<const char*>(&context.mName) - (count + sizeof context.mRecordCount), kLine);
}
