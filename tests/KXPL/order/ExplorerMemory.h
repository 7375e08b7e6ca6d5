// What each thread may see of the tracked memory.
#ifndef FALLCATCH_TESTS_ORDER_EXPLORER_MEMORY_H
#define FALLCATCH_TESTS_ORDER_EXPLORER_MEMORY_H

#include "Explorer.h"
#include "ExplorerAccess.h"

#include <array>
#include <cstdint>
#include <map>

namespace order {

constexpr int kMostThreads = 4; // the last one stands for setUp and atEnd

// How much of each thread's past has happened before a point.
struct Clock {
    std::array<unsigned int, kMostThreads> mTicks = {};

    void Join(const Clock& other);
    bool Covers(int thread, unsigned int tick) const
    {
        return mTicks[static_cast<std::size_t>(thread)] >= tick;
    }
};

class Memory {
public:
    // From here on that kind of order has no effect, of accesses to the location or, if that is 0, of any.
    void Weaken(Weakened::Kind kind, std::uintptr_t location)
    {
        mWeakened = kind;
        mWeakenedLocation = location;
    }

    bool KeepsTotalOrder(std::uintptr_t address) const { return Keeps(Weakened::TotalOrder, address); }
    // Of Choices, for a sequentially consistent load: none older than the newest store of that kind.
    int TotalChoices(int choices, std::uintptr_t address) const;

    void Track(std::uintptr_t begin, std::size_t size);
    bool Tracks(std::uintptr_t address) const;

    // Plain accesses; the result tells of a race, or is empty.
    std::string Read(int thread, std::uintptr_t address, std::size_t size);
    std::string Write(int thread, std::uintptr_t address, std::size_t size);

    // How many stores a load may return: choice 0 is the newest.
    int Choices(int thread, std::uintptr_t address, std::uint64_t current);
    std::uint64_t Load(int thread, std::uintptr_t address, int choice, bool acquires);
    void Store(int thread, std::uintptr_t address, std::uint64_t value, Order order, bool modifies);

    // The thread begins, or is found to have ended, with the other's past behind it.
    void Follow(int thread, int other);

private:
    struct Byte {
        int mWriter = -1;
        unsigned int mWritten = 0;
        std::array<unsigned int, kMostThreads> mRead = {};
    };

    struct StoreMade {
        std::uint64_t mValue;
        int mThread;
        unsigned int mTick;
        Clock mReleased;
        bool mIsTotal;
    };

    struct Location {
        std::vector<StoreMade> mStores; // in modification order
        std::array<std::size_t, kMostThreads> mSeen = {};
    };

    std::size_t OldestVisible(int thread, const Location& location) const;
    unsigned int& Tick(int thread) { return ClockOf(thread).mTicks[static_cast<std::size_t>(thread)]; }
    Clock& ClockOf(int thread) { return mClocks[static_cast<std::size_t>(thread)]; }
    const Clock& ClockOf(int thread) const { return mClocks[static_cast<std::size_t>(thread)]; }
    Byte* Find(std::uintptr_t address);

    bool Keeps(Weakened::Kind kind, std::uintptr_t address) const
    {
        return mWeakened != kind || (mWeakenedLocation != 0 && mWeakenedLocation != address);
    }

    Weakened::Kind mWeakened = Weakened::Nothing;
    std::uintptr_t mWeakenedLocation = 0;
    std::map<std::uintptr_t, std::vector<Byte>> mBytes; // by the beginning of what is tracked
    std::map<std::uintptr_t, Location> mLocations;
    std::array<Clock, kMostThreads> mClocks;
};

} // namespace order

#endif
