// The front header alone must do.
#include "hslog/HSL.h"

#include "BareManager.h"
#include "RecordBytes.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <type_traits>

using HSL::CCat;
using HSL::CLogManager;
using HSL::CValue;

namespace {

std::string gLines;

void appendLine(const char* line)
{
    gLines += line;
}

// What follows the header of the calling thread's only record.
std::string recordBehindHeader()
{
    const std::string record = BytesIn(*HSL::LogManager()->GetTLSContext()->mBuffer);
    return record.size() < 16 ? record : record.substr(16);
}

class HSLog : public testing::Test {
protected:
    HSLog()
    {
        mManager->SetEnable(true);
        mManager->SetFilterValue(3, true);
    }

    BareManager mManager;
};

} // namespace

TEST(HSL, FrontHeaderBringsTheWholeLogger)
{
    EXPECT_TRUE(std::is_class_v<HSL::CCat>);
    EXPECT_TRUE(std::is_class_v<HSL::CValue>);
    EXPECT_TRUE(std::is_class_v<HSL::CLogManager>);
    EXPECT_TRUE(std::is_class_v<HSL::CLogContext>);
    EXPECT_TRUE((std::is_base_of_v<KxThread, HSL::CCollectionThread>));
}

TEST(HSL, LogManagerIsTheManagerInForce)
{
    ASSERT_EQ(HSL::LogManager(), nullptr);
    BareManager manager;
    EXPECT_EQ(HSL::LogManager(), &*manager);
    EXPECT_EQ(HSL::LogManager(), CLogManager::Instance());
}

TEST(HSL, WithoutAManagerALogCallReturnsAndMakesNone)
{
    ASSERT_FALSE(CLogManager::IsInitialized());
    HSL::HSLog(CCat(3), "nobody listens");
    HSL::HSLog(CCat(3), "nobody listens to %d", CValue(1));
    EXPECT_FALSE(CLogManager::IsInitialized());
    EXPECT_EQ(CLogManager::msThis, nullptr);
}

TEST(HSL, WithoutAManagerALogCallStartsNoThread)
{
    int created = 0;
    Interposed hooks;
    hooks.pthreadCreate = [&](pthread_t* a, const pthread_attr_t* b, void* (*c)(void*), void* d) {
        ++created;
        return __real_pthread_create(a, b, c, d);
    };
    HSL::HSLog(CCat(3), "nobody listens");
    EXPECT_EQ(created, 0);
}

TEST_F(HSLog, SwitchedOffRecordsNothingAndMakesNoContext)
{
    mManager->SetEnable(false);
    HSL::HSLog(CCat(3), "f");
    HSL::HSLog(CCat(3), "f", CValue(1));
    EXPECT_TRUE(mManager->mContexts.empty());
    EXPECT_EQ(mManager->mTLSContext.Get(), nullptr);
    EXPECT_EQ(mManager->mSequence, 0);
}

TEST_F(HSLog, SwitchedOffRecordsNothingInAContextThatIsThere)
{
    const HSL::CLogContext* context = mManager->GetTLSContext();
    mManager->SetEnable(false);
    HSL::HSLog(CCat(3), "f");
    EXPECT_EQ(UsedIn(*context->mBuffer), 0u);
}

TEST_F(HSLog, FormatAloneIsRecordedInTheThreadsOwnContext)
{
    HSL::HSLog(CCat(3), "f");
    ASSERT_EQ(mManager->mContexts.size(), 1u);
    EXPECT_EQ(mManager->mContexts[0], mManager->GetTLSContext());
    EXPECT_EQ(recordBehindHeader(), RecordBytes().InlineFormat("f").ValueCount(0).Bytes());
    EXPECT_EQ(mManager->GetTLSContext()->mRecordCount, 1);
}

TEST_F(HSLog, FormatAndValueAreRecorded)
{
    HSL::HSLog(CCat(3), "%d", 7);
    EXPECT_EQ(recordBehindHeader(), RecordBytes().InlineFormat("%d").ValueCount(1).Int32(7).Bytes());
}

TEST_F(HSLog, CategoryIsHandedOn)
{
    mManager->SetFilterValue(200, true);
    HSL::HSLog(CCat(200), "f");
    EXPECT_EQ(BytesIn(*mManager->GetTLSContext()->mBuffer).substr(14, 2), Raw({ 1, 200 }));
}

TEST_F(HSLog, NullFormatIsTheTextNull)
{
    HSL::HSLog(CCat(3), nullptr);
    EXPECT_EQ(recordBehindHeader(), RecordBytes().InlineFormat("<NULL>").ValueCount(0).Bytes());
}

// The context is taken before the filter is asked.
TEST_F(HSLog, RefusedMessageMakesTheContextAllTheSame)
{
    HSL::HSLog(CCat(4), "refused");
    ASSERT_EQ(mManager->mContexts.size(), 1u);
    EXPECT_EQ(UsedIn(*mManager->mContexts[0]->mBuffer), 0u);
    EXPECT_EQ(mManager->mSequence, 0);
}

TEST_F(HSLog, EachThreadLogsToAContextOfItsOwn)
{
    HSL::HSLog(CCat(3), "here");
    std::string there;
    std::thread([&] {
        HSL::HSLog(CCat(3), "there");
        there = recordBehindHeader();
    }).join();
    EXPECT_EQ(there, RecordBytes().InlineFormat("there").ValueCount(0).Bytes());
    EXPECT_EQ(recordBehindHeader(), RecordBytes().InlineFormat("here").ValueCount(0).Bytes());
    EXPECT_EQ(mManager->mContexts.size(), 2u);
}

TEST_F(HSLog, HasTheseTwoOverloads)
{
    using Plain = void (*)(const CCat&, const char*);
    using WithValue = void (*)(const CCat&, const char*, const CValue&);
    const Plain plain = &HSL::HSLog;
    const WithValue withValue = &HSL::HSLog;
    plain(CCat(3), "f");
    withValue(CCat(3), "%d", CValue(1));
    EXPECT_EQ(mManager->mSequence, 2);
}

TEST(HSLogAndCollection, LineReachesTheOutputCallback)
{
    const SavedCallbacks saved;
    gLines.clear();
    CLogManager::Initialize();
    HSL::LogManager()->SetOutputCallback(appendLine);
    HSL::LogManager()->SetEnable(true);
    HSL::LogManager()->SetFilterValue(3, true);
    HSL::HSLog(CCat(3), "x=%d", 5);
    CLogManager::Cleanup();
    EXPECT_NE(gLines.find("[Main              ]\tx=5\n"), std::string::npos) << gLines;
}
