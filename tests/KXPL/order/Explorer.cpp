#include "Explorer.h"

#include "ExplorerAccess.h"
#include "ExplorerMemory.h"

#include <ucontext.h>

#include <memory>

namespace order {
namespace {

constexpr std::size_t kStackBytes = 256 * 1024;
constexpr int kOutside = kMostThreads - 1;

// The choices of one execution, and which of them to make differently in the next.
class Choices {
public:
    int Pick(int count)
    {
        if (count <= 1) {
            return 0;
        }
        if (mNext == mMade.size()) {
            mMade.push_back({ 0, count });
        }
        return mMade[mNext++].mTaken;
    }

    // False when all combinations were had.
    bool Advance()
    {
        mMade.resize(mNext);
        mNext = 0;
        while (!mMade.empty() && mMade.back().mTaken + 1 == mMade.back().mCount) {
            mMade.pop_back();
        }
        if (mMade.empty()) {
            return false;
        }
        ++mMade.back().mTaken;
        return true;
    }

private:
    struct Made {
        int mTaken;
        int mCount;
    };

    std::vector<Made> mMade;
    std::size_t mNext = 0;
};

struct Coroutine {
    ucontext_t mContext;
    std::unique_ptr<char[]> mStack { new char[kStackBytes] };
    bool mEnded = false;
};

class Execution {
public:
    Execution(const Program& program, const Weakened& weakened, Choices& choices,
              std::vector<Coroutine>& coroutines)
        : mProgram(program)
        , mWeakened(weakened)
        , mChoices(choices)
        , mCoroutines(coroutines)
    {
    }

    std::string Run();

    // Lets any thread go on; comes back when it is this one's turn.
    void Switch();
    void RunThread(int thread);
    void Fail(const std::string& what);

    bool IsInThread() const { return mRunning != kOutside; }
    bool Tracks(const void* address) const { return mMemory.Tracks(reinterpret_cast<std::uintptr_t>(address)); }

    const Program& mProgram;
    const Weakened& mWeakened;
    Choices& mChoices;
    std::vector<Coroutine>& mCoroutines;
    Memory mMemory;
    ucontext_t mOutside;
    int mRunning = kOutside;
    std::string mFailure;
};

Execution* gExecution = nullptr;

void enterThread(int thread)
{
    gExecution->RunThread(thread);
}

void Execution::RunThread(int thread)
{
    mProgram.threads[static_cast<std::size_t>(thread)]();
    mCoroutines[static_cast<std::size_t>(thread)].mEnded = true;
    Switch();
}

void Execution::Switch()
{
    std::vector<int> able;
    for (std::size_t i = 0; i < mProgram.threads.size(); ++i) {
        if (!mCoroutines[i].mEnded) {
            able.push_back(static_cast<int>(i));
        }
    }
    const int before = mRunning;
    if (able.empty()) {
        mRunning = kOutside;
        swapcontext(&mCoroutines[static_cast<std::size_t>(before)].mContext, &mOutside);
        return;
    }
    mRunning = able[static_cast<std::size_t>(mChoices.Pick(static_cast<int>(able.size())))];
    if (mRunning != before) {
        swapcontext(&mCoroutines[static_cast<std::size_t>(before)].mContext,
                    &mCoroutines[static_cast<std::size_t>(mRunning)].mContext);
    }
}

void Execution::Fail(const std::string& what)
{
    mFailure = what;
    if (IsInThread()) {
        const int thread = mRunning;
        mRunning = kOutside;
        swapcontext(&mCoroutines[static_cast<std::size_t>(thread)].mContext, &mOutside);
    }
}

std::string Execution::Run()
{
    gExecution = this;
    mProgram.setUp();
    mMemory.Weaken(mWeakened.mKind,
                   mWeakened.mLocation ? reinterpret_cast<std::uintptr_t>(mWeakened.mLocation()) : 0);
    for (std::size_t i = 0; i < mProgram.threads.size(); ++i) {
        Coroutine& coroutine = mCoroutines[i];
        coroutine.mEnded = false;
        mMemory.Follow(static_cast<int>(i), kOutside);
        getcontext(&coroutine.mContext);
        coroutine.mContext.uc_stack.ss_sp = coroutine.mStack.get();
        coroutine.mContext.uc_stack.ss_size = kStackBytes;
        coroutine.mContext.uc_link = nullptr;
        makecontext(&coroutine.mContext, reinterpret_cast<void (*)()>(enterThread), 1, static_cast<int>(i));
    }
    mRunning = mChoices.Pick(static_cast<int>(mProgram.threads.size()));
    swapcontext(&mOutside, &mCoroutines[static_cast<std::size_t>(mRunning)].mContext);
    if (mFailure.empty() && mProgram.atEnd) {
        mProgram.atEnd();
    }
    gExecution = nullptr;
    return mFailure;
}

} // namespace

Result explore(const Program& program, const Weakened& weakened, long long limit)
{
    Choices choices;
    std::vector<Coroutine> coroutines(program.threads.size());
    Result result = { 0, false, std::string() };
    do {
        if (result.executions == limit) {
            return result;
        }
        ++result.executions;
        result.failure = Execution(program, weakened, choices, coroutines).Run();
        if (!result.failure.empty()) {
            return result;
        }
    } while (choices.Advance());
    result.complete = true;
    return result;
}

void track(const void* begin, std::size_t size)
{
    gExecution->mMemory.Track(reinterpret_cast<std::uintptr_t>(begin), size);
}

void fail(const std::string& what)
{
    gExecution->Fail(what);
}

bool isWatched(const void* address)
{
    return gExecution != nullptr && gExecution->IsInThread() && gExecution->Tracks(address);
}

void plainAccess(const void* address, std::size_t size, bool writes)
{
    if (gExecution == nullptr || !gExecution->IsInThread()) {
        return;
    }
    const std::uintptr_t place = reinterpret_cast<std::uintptr_t>(address);
    const std::string race = writes ? gExecution->mMemory.Write(gExecution->mRunning, place, size)
                                    : gExecution->mMemory.Read(gExecution->mRunning, place, size);
    if (!race.empty()) {
        gExecution->Fail(race);
    }
}

std::uint64_t atomicLoad(const void* address, std::uint64_t current, Order order)
{
    gExecution->Switch();
    const std::uintptr_t place = reinterpret_cast<std::uintptr_t>(address);
    const int thread = gExecution->mRunning;
    const int visible = gExecution->mMemory.Choices(thread, place, current);
    const bool isTotal = order.isTotal && gExecution->mMemory.KeepsTotalOrder(place);
    const int count = isTotal ? gExecution->mMemory.TotalChoices(visible, place) : visible;
    return gExecution->mMemory.Load(thread, place, gExecution->mChoices.Pick(count), order.acquires);
}

void beforeAtomicStore(const void* address, std::uint64_t current)
{
    gExecution->mMemory.Choices(gExecution->mRunning, reinterpret_cast<std::uintptr_t>(address), current);
}

void atomicStore(const void* address, std::uint64_t value, Order order, bool modifies)
{
    gExecution->mMemory.Store(gExecution->mRunning, reinterpret_cast<std::uintptr_t>(address), value, order,
                              modifies);
}

void beforeTotalStore(const void* address)
{
    if (gExecution->mMemory.KeepsTotalOrder(reinterpret_cast<std::uintptr_t>(address))) {
        gExecution->Switch();
    }
}

void beforeModify()
{
    gExecution->Switch();
}

void atomicSeeNewest(const void* address, Order order)
{
    gExecution->mMemory.Load(gExecution->mRunning, reinterpret_cast<std::uintptr_t>(address), 0,
                             order.acquires);
}

} // namespace order
