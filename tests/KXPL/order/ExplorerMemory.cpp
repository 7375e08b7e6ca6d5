#include "ExplorerMemory.h"

#include <algorithm>

namespace order {

void Clock::Join(const Clock& other)
{
    for (std::size_t i = 0; i < mTicks.size(); ++i) {
        mTicks[i] = std::max(mTicks[i], other.mTicks[i]);
    }
}

void Memory::Track(std::uintptr_t begin, std::size_t size)
{
    mBytes[begin].assign(size, Byte());
}

Memory::Byte* Memory::Find(std::uintptr_t address)
{
    auto next = mBytes.upper_bound(address);
    if (next == mBytes.begin()) {
        return nullptr;
    }
    --next;
    return address - next->first < next->second.size() ? &next->second[address - next->first] : nullptr;
}

bool Memory::Tracks(std::uintptr_t address) const
{
    return const_cast<Memory*>(this)->Find(address) != nullptr;
}

std::string Memory::Read(int thread, std::uintptr_t address, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) {
        Byte* byte = Find(address + i);
        if (byte == nullptr) {
            continue;
        }
        if (byte->mWriter >= 0 && !ClockOf(thread).Covers(byte->mWriter, byte->mWritten)) {
            return "thread " + std::to_string(thread) + " reads what thread " + std::to_string(byte->mWriter)
                + " writes at the same time";
        }
        byte->mRead[static_cast<std::size_t>(thread)] = Tick(thread);
    }
    return std::string();
}

std::string Memory::Write(int thread, std::uintptr_t address, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) {
        Byte* byte = Find(address + i);
        if (byte == nullptr) {
            continue;
        }
        const std::string race = Read(thread, address + i, 1);
        if (!race.empty()) {
            return race;
        }
        for (int reader = 0; reader < kMostThreads; ++reader) {
            if (!ClockOf(thread).Covers(reader, byte->mRead[static_cast<std::size_t>(reader)])) {
                return "thread " + std::to_string(thread) + " writes what thread " + std::to_string(reader)
                    + " reads at the same time";
            }
        }
        byte->mWriter = thread;
        byte->mWritten = Tick(thread);
    }
    return std::string();
}

// A thread does not see what was overwritten before it, or before something that it has seen.
std::size_t Memory::OldestVisible(int thread, const Location& location) const
{
    std::size_t oldest = location.mSeen[static_cast<std::size_t>(thread)];
    for (std::size_t i = oldest; i < location.mStores.size(); ++i) {
        if (ClockOf(thread).Covers(location.mStores[i].mThread, location.mStores[i].mTick)) {
            oldest = i;
        }
    }
    return oldest;
}

int Memory::Choices(int thread, std::uintptr_t address, std::uint64_t current)
{
    Location& location = mLocations[address];
    if (location.mStores.empty()) {
        // Stored by plain code before the threads began.
        location.mStores.push_back({ current, kMostThreads - 1, 0, Clock(), true });
    }
    return static_cast<int>(location.mStores.size() - OldestVisible(thread, location));
}

int Memory::TotalChoices(int choices, std::uintptr_t address) const
{
    const std::vector<StoreMade>& stores = mLocations.at(address).mStores;
    const auto newest =
        std::find_if(stores.rbegin(), stores.rend(), [](const StoreMade& made) { return made.mIsTotal; });
    return std::min(choices, static_cast<int>(newest - stores.rbegin()) + 1);
}

std::uint64_t Memory::Load(int thread, std::uintptr_t address, int choice, bool acquires)
{
    Location& location = mLocations[address];
    const std::size_t index = location.mStores.size() - 1 - static_cast<std::size_t>(choice);
    location.mSeen[static_cast<std::size_t>(thread)] = index;
    if (acquires && Keeps(Weakened::Acquires, address)) {
        ClockOf(thread).Join(location.mStores[index].mReleased);
    }
    return location.mStores[index].mValue;
}

void Memory::Store(int thread, std::uintptr_t address, std::uint64_t value, Order order, bool modifies)
{
    Location& location = mLocations[address];
    ++Tick(thread);
    StoreMade made = { value, thread, Tick(thread), Clock(), order.isTotal && KeepsTotalOrder(address) };
    // A read-modify-write hands on what the store before it published.
    if (modifies && !location.mStores.empty()) {
        made.mReleased = location.mStores.back().mReleased;
    }
    if (order.releases && Keeps(Weakened::Releases, address)) {
        made.mReleased.Join(ClockOf(thread));
    }
    location.mStores.push_back(made);
    // Whoever reads it by plain code must be ordered behind it.
    if (Byte* byte = Find(address)) {
        byte->mWriter = thread;
        byte->mWritten = Tick(thread);
    }
    location.mSeen[static_cast<std::size_t>(thread)] = location.mStores.size() - 1;
    ++Tick(thread);
}

void Memory::Follow(int thread, int other)
{
    ClockOf(thread).Join(ClockOf(other));
    ++Tick(thread);
}

} // namespace order
