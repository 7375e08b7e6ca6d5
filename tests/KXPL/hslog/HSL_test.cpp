// The front header alone must do.
#include "hslog/HSL.h"

#include "BareManager.h"
#include "HandMadeRecord.h"

#include <gtest/gtest.h>

#include <chrono>
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

    // A value whose type the compiler sees, and the same handed on so that it does not.
    template <typename T> void ExpectRecorded(T value, const CValue& recorded)
    {
        const CCat* volatile someCat = &mCat;
        const CValue some(value);
        const CValue* volatile someValue = &some;
        const std::string expected = HandMadeRecord().Inline("f").Count(1).AsString() + Serialized(recorded);
        HSL::HSLog(CCat(3), "f", value);
        EXPECT_EQ(RecordTaken(), expected);
        HSL::HSLog(CCat(3), "f", *someValue);
        EXPECT_EQ(RecordTaken(), expected);
        HSL::HSLog(*someCat, "f", value);
        EXPECT_EQ(RecordTaken(), expected);
        HSL::HSLog(*someCat, "f", *someValue);
        EXPECT_EQ(RecordTaken(), expected);
    }

    // What follows the header of the only record, which is taken off the ring.
    std::string RecordTaken()
    {
        const std::string record = recordBehindHeader();
        int size = static_cast<int>(record.size()) + 16;
        EXPECT_EQ(mManager->GetTLSContext()->mBuffer->Remove(size), 0u);
        return record;
    }

    static std::string Serialized(const CValue& value)
    {
        ByteRing ring;
        value.Serialize(&ring);
        return BytesIn(ring);
    }

    BareManager mManager;
    const CCat mCat { 3 };
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
    EXPECT_EQ(recordBehindHeader(), HandMadeRecord().Inline("f").Count(0).AsString());
    EXPECT_EQ(mManager->GetTLSContext()->mRecordCount, 1);
}

TEST_F(HSLog, FormatAndValueAreRecorded)
{
    HSL::HSLog(CCat(3), "%d", 7);
    EXPECT_EQ(recordBehindHeader(), HandMadeRecord().Inline("%d").Count(1).Int32(7).AsString());
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
    EXPECT_EQ(recordBehindHeader(), HandMadeRecord().Inline("<NULL>").Count(0).AsString());
}

// The context is taken before the filter is asked.
TEST_F(HSLog, RefusedMessageMakesTheContextAllTheSame)
{
    HSL::HSLog(CCat(4), "refused");
    ASSERT_EQ(mManager->mContexts.size(), 1u);
    EXPECT_EQ(UsedIn(*mManager->mContexts[0]->mBuffer), 0u);
    EXPECT_EQ(mManager->mSequence, 0);
}

TEST_F(HSLog, RefusedMessageWithAValueMakesTheContextAllTheSame)
{
    HSL::HSLog(CCat(4), "refused %d", 1);
    ASSERT_EQ(mManager->mContexts.size(), 1u);
    EXPECT_EQ(mManager->GetTLSContext(), mManager->mContexts[0]);
    EXPECT_EQ(UsedIn(*mManager->mContexts[0]->mBuffer), 0u);
    EXPECT_EQ(mManager->mSequence, 0);
}

TEST_F(HSLog, ValuesOfAllTypesAreRecorded)
{
    const unsigned short sixteen[] = { 'u', 0xD83E, 0xDD9E, 0 };
    ExpectRecorded(static_cast<signed char>(-1), CValue(static_cast<signed char>(-1)));
    ExpectRecorded(static_cast<short>(-300), CValue(static_cast<short>(-300)));
    ExpectRecorded(-70000, CValue(-70000));
    ExpectRecorded(-(1LL << 40), CValue(-(1LL << 40)));
    ExpectRecorded(static_cast<unsigned char>(200), CValue(static_cast<unsigned char>(200)));
    ExpectRecorded(static_cast<unsigned short>(60000), CValue(static_cast<unsigned short>(60000)));
    ExpectRecorded(4000000000u, CValue(4000000000u));
    ExpectRecorded(1ULL << 63, CValue(1ULL << 63));
    ExpectRecorded(0.1f, CValue(0.1f));
    ExpectRecorded(-0.1, CValue(-0.1));
    ExpectRecorded(-70001L, CValue(-70001L));
    ExpectRecorded(static_cast<const void*>(this), CValue(static_cast<const void*>(this)));
    ExpectRecorded("text", CValue("text"));
    ExpectRecorded(L"wide", CValue(L"wide"));
    ExpectRecorded(static_cast<const unsigned short*>(sixteen), CValue(sixteen));
}

TEST_F(HSLog, NullAndEmptyTextsAreRecorded)
{
    ExpectRecorded("", CValue(""));
    ExpectRecorded(static_cast<const char*>(nullptr), CValue("<NULL>"));
    ExpectRecorded(static_cast<const wchar_t*>(nullptr), CValue(static_cast<const wchar_t*>(nullptr)));
    ExpectRecorded(static_cast<const unsigned short*>(nullptr),
                   CValue(static_cast<const unsigned short*>(nullptr)));
}

TEST_F(HSLog, ReservedTagIsRecordedAlone)
{
    CValue value(1);
    value.mType = 19;
    HSL::HSLog(CCat(3), "f", value);
    EXPECT_EQ(recordBehindHeader(), HandMadeRecord().Inline("f").Count(1).AsString() + Raw({ 19 }));
}

TEST_F(HSLog, MessageOfSeveralCategoriesPassesByOneAndKeepsAll)
{
    CCat cat(4);
    cat.mCount = 2;
    cat.mCodes[1] = 3;
    HSL::HSLog(cat, "f");
    const HSL::CLogContext& context = *mManager->GetTLSContext();
    EXPECT_EQ(BytesIn(*context.mBuffer).substr(14),
              Raw({ 2, 4, 3 }) + HandMadeRecord().Inline("f").Count(0).AsString());
    HSL::HSLog(cat, "f", 7);
    EXPECT_EQ(BytesIn(*context.mBuffer).substr(14 + 3 + 5 + 14),
              Raw({ 2, 4, 3 }) + HandMadeRecord().Inline("f").Count(1).Int32(7).AsString());
}

TEST_F(HSLog, MessageWithoutACategoryIsRefusedAndMakesTheContext)
{
    CCat cat(3);
    cat.mCount = 0;
    HSL::HSLog(cat, "f");
    HSL::HSLog(cat, "f", 7);
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
    EXPECT_EQ(there, HandMadeRecord().Inline("there").Count(0).AsString());
    EXPECT_EQ(recordBehindHeader(), HandMadeRecord().Inline("here").Count(0).AsString());
    EXPECT_EQ(mManager->mContexts.size(), 2u);
}

// A thread's first call may wait long for its context.
TEST_F(HSLog, FilterIsAskedWhenTheContextIsThere)
{
    mManager->mLock.Lock();
    std::thread caller([] {
        HSL::HSLog(CCat(4), "passes by then");
        HSL::HSLog(CCat(4), "passes by then, %d", 1);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    mManager->SetFilterValue(4, true);
    mManager->mLock.Unlock();
    caller.join();
    EXPECT_EQ(mManager->mSequence, 2);
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
