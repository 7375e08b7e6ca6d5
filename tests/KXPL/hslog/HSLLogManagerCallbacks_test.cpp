// The output callbacks, which belong to the module rather than to a manager.
#include "hslog/HSLLogManager.h"

#include "BareManager.h"
#include "SingleStep.h"
#include "hslog/HSLLogContext.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <string>

using HSL::CLogManager;

namespace {

int gPlainLines = 0;
int gStructuredLines = 0;

void countPlain(const char*)
{
    ++gPlainLines;
}

void otherPlain(const char*) { }

void countStructured(const char*, const std::string&, unsigned char, unsigned char, unsigned char*,
                     unsigned int, unsigned int)
{
    ++gStructuredLines;
}

void otherStructured(const char*, const std::string&, unsigned char, unsigned char, unsigned char*,
                     unsigned int, unsigned int)
{
}

class CLogManagerCallbacks : public testing::Test {
protected:
    CLogManagerCallbacks()
    {
        gPlainLines = 0;
        gStructuredLines = 0;
        mManager->SetFilterValue(3, true);
    }

    void OutputOneRecord()
    {
        mManager->GetTLSContext()->Log(HSL::CCat(3), "message");
        mManager->Collect();
    }

    SavedCallbacks mSaved;
    BareManager mManager;
};

} // namespace

TEST_F(CLogManagerCallbacks, PlainKindIsInForceAtFirst)
{
    EXPECT_EQ(mManager->GetOutputCallbackType(), 0);
    EXPECT_NE(mManager->GetOutputCallback(), nullptr);
    EXPECT_EQ(mManager->GetStructuredOutputCallback(), nullptr);
}

TEST_F(CLogManagerCallbacks, FirstSetReturnsTheDefaultCallback)
{
    const CLogManager::OutputCallback inForce = mManager->GetOutputCallback();
    ASSERT_NE(inForce, nullptr);
    EXPECT_EQ(mManager->SetOutputCallback(countPlain), inForce);
}

TEST_F(CLogManagerCallbacks, DefaultCallbackWritesToStandardErrorAndAddsNothing)
{
    const CLogManager::OutputCallback defaultCallback = mManager->SetOutputCallback(countPlain);
    testing::internal::CaptureStderr();
    defaultCallback("no newline, %d");
    defaultCallback("one newline\n");
    defaultCallback("");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "no newline, %done newline\n");
}

TEST_F(CLogManagerCallbacks, LinesGoToStandardErrorAtFirst)
{
    testing::internal::CaptureStderr();
    OutputOneRecord();
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_EQ(line.substr(line.find('\t') + 1), "message\n");
}

TEST_F(CLogManagerCallbacks, FullDiskBehindStandardErrorLosesItsLinesOnlyAndIsTold)
{
    const int full = open("/dev/full", O_WRONLY);
    const int saved = dup(STDERR_FILENO);
    ASSERT_GE(full, 0);
    ASSERT_GE(saved, 0);
    ASSERT_GE(dup2(full, STDERR_FILENO), 0);
    OutputOneRecord();
    dup2(saved, STDERR_FILENO);
    close(full);
    close(saved);
    testing::internal::CaptureStderr();
    OutputOneRecord();
    const std::string text = testing::internal::GetCapturedStderr();
    const std::string told = "\n*** HSLOG LOST 1 LINE(S) THAT STANDARD ERROR REFUSED ***\n";
    ASSERT_EQ(text.substr(0, told.size()), told);
    const std::string line = text.substr(told.size());
    EXPECT_EQ(line.find("     2"), 0u) << line;
    EXPECT_EQ(line.substr(line.find('\t') + 1), "message\n");
}

TEST_F(CLogManagerCallbacks, PlainSetterStoresAndReturnsThePreviousPlainOne)
{
    mManager->SetOutputCallback(countPlain);
    EXPECT_EQ(mManager->GetOutputCallback(), countPlain);
    EXPECT_EQ(mManager->SetOutputCallback(otherPlain), countPlain);
    EXPECT_EQ(mManager->GetOutputCallback(), otherPlain);
    EXPECT_EQ(mManager->GetOutputCallbackType(), 0);
}

TEST_F(CLogManagerCallbacks, StructuredSetterStoresAndReturnsThePreviousStructuredOne)
{
    EXPECT_EQ(mManager->SetStructuredOutputCallback(countStructured), nullptr);
    EXPECT_EQ(mManager->GetStructuredOutputCallback(), countStructured);
    EXPECT_EQ(mManager->SetStructuredOutputCallback(otherStructured), countStructured);
    EXPECT_EQ(mManager->GetStructuredOutputCallback(), otherStructured);
    EXPECT_EQ(mManager->GetOutputCallbackType(), 1);
}

TEST_F(CLogManagerCallbacks, PreviousCallbackIsReturnedPerKind)
{
    mManager->SetOutputCallback(countPlain);
    EXPECT_EQ(mManager->SetStructuredOutputCallback(countStructured), nullptr);
    EXPECT_EQ(mManager->SetOutputCallback(otherPlain), countPlain);
    EXPECT_EQ(mManager->SetStructuredOutputCallback(nullptr), countStructured);
}

TEST_F(CLogManagerCallbacks, StructuredSetterTakesThePlainCallbackOutOfForce)
{
    mManager->SetOutputCallback(countPlain);
    mManager->SetStructuredOutputCallback(countStructured);
    EXPECT_EQ(mManager->GetOutputCallbackType(), 1);
    OutputOneRecord();
    EXPECT_EQ(gPlainLines, 0);
    EXPECT_EQ(gStructuredLines, 1);
    EXPECT_EQ(mManager->GetOutputCallback(), countPlain);
}

TEST_F(CLogManagerCallbacks, StructuredKindComesIntoForceBeforeItsCallback)
{
    if (!SingleStep::IsPossible()) {
        GTEST_SKIP();
    }
    int looks = 0;
    bool early = false;
    {
        const SingleStep step([&] {
            ++looks;
            early = early
                || (mManager->GetOutputCallbackType() == CLogManager::kStructuredCallback
                    && mManager->GetStructuredOutputCallback() == nullptr);
        });
        mManager->SetStructuredOutputCallback(countStructured);
    }
    EXPECT_GT(looks, 3);
    EXPECT_TRUE(early);
    EXPECT_EQ(mManager->GetOutputCallbackType(), CLogManager::kStructuredCallback);
}

TEST_F(CLogManagerCallbacks, PlainKindComesIntoForceBeforeItsCallback)
{
    if (!SingleStep::IsPossible()) {
        GTEST_SKIP();
    }
    mManager->SetOutputCallback(countPlain);
    mManager->SetStructuredOutputCallback(countStructured);
    bool early = false;
    {
        const SingleStep step([&] {
            early = early
                || (mManager->GetOutputCallbackType() == CLogManager::kPlainCallback
                    && mManager->GetOutputCallback() == countPlain);
        });
        mManager->SetOutputCallback(otherPlain);
    }
    EXPECT_TRUE(early);
    EXPECT_EQ(mManager->GetOutputCallback(), otherPlain);
}

TEST_F(CLogManagerCallbacks, StructuredSetterCalledAgainBringsItBackIntoForce)
{
    mManager->SetStructuredOutputCallback(countStructured);
    mManager->SetOutputCallback(countPlain);
    OutputOneRecord();
    EXPECT_EQ(gPlainLines, 1);
    EXPECT_EQ(gStructuredLines, 0);
    mManager->SetStructuredOutputCallback(mManager->GetStructuredOutputCallback());
    OutputOneRecord();
    EXPECT_EQ(gPlainLines, 1);
    EXPECT_EQ(gStructuredLines, 1);
}

TEST_F(CLogManagerCallbacks, NullPlainCallbackIsStoredLikeAnyOther)
{
    mManager->SetStructuredOutputCallback(countStructured);
    mManager->SetOutputCallback(countPlain);
    mManager->SetStructuredOutputCallback(countStructured);
    EXPECT_EQ(mManager->SetOutputCallback(nullptr), countPlain);
    EXPECT_EQ(mManager->GetOutputCallback(), nullptr);
    EXPECT_EQ(mManager->GetOutputCallbackType(), 0);
    EXPECT_EQ(mManager->SetOutputCallback(otherPlain), nullptr);
}

TEST_F(CLogManagerCallbacks, NullStructuredCallbackIsStoredLikeAnyOther)
{
    mManager->SetStructuredOutputCallback(countStructured);
    EXPECT_EQ(mManager->SetStructuredOutputCallback(nullptr), countStructured);
    EXPECT_EQ(mManager->GetStructuredOutputCallback(), nullptr);
    EXPECT_EQ(mManager->GetOutputCallbackType(), 1);
}

TEST_F(CLogManagerCallbacks, NullCallbackOutOfForceIsNotCalled)
{
    mManager->SetStructuredOutputCallback(nullptr);
    mManager->SetOutputCallback(countPlain);
    OutputOneRecord();
    EXPECT_EQ(gPlainLines, 1);
}

TEST_F(CLogManagerCallbacks, CallbacksAreSharedByAllManagers)
{
    CLogManager other;
    other.SetOutputCallback(countPlain);
    EXPECT_EQ(mManager->GetOutputCallback(), countPlain);
    other.SetStructuredOutputCallback(countStructured);
    EXPECT_EQ(mManager->GetStructuredOutputCallback(), countStructured);
    EXPECT_EQ(mManager->GetOutputCallbackType(), 1);
}

TEST_F(CLogManagerCallbacks, CallbacksSurviveCleanup)
{
    mManager->SetOutputCallback(countPlain);
    mManager->SetStructuredOutputCallback(countStructured);
    mManager.Destroy();
    Interposed hooks;
    HeldCollectionThread thread(hooks);
    CLogManager::Initialize();
    CLogManager::Cleanup();
    const CLogManager later;
    EXPECT_EQ(later.GetOutputCallback(), countPlain);
    EXPECT_EQ(later.GetStructuredOutputCallback(), countStructured);
    EXPECT_EQ(later.GetOutputCallbackType(), 1);
}
