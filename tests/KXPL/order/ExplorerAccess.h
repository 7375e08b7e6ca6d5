// What the hooks tell the explorer of the code under test.
#ifndef FALLCATCH_TESTS_ORDER_EXPLORER_ACCESS_H
#define FALLCATCH_TESTS_ORDER_EXPLORER_ACCESS_H

#include <cstddef>
#include <cstdint>

namespace order {

// Whether a thread of a program runs and the address is tracked. Only then may the atomic ones be called.
bool isWatched(const void* address);

void plainAccess(const void* address, std::size_t size, bool writes);

// What an access was asked to order.
struct Order {
    bool acquires;
    bool releases;
    bool isTotal; // sequentially consistent
};

// `current` is what lies in memory. The result may be older.
std::uint64_t atomicLoad(const void* address, std::uint64_t current, Order order);

// A store is two calls, with the store itself between them. In front of them a sequentially consistent one calls
// beforeTotalStore. A read-modify-write calls beforeModify first and, because it sees the newest value,
// atomicSeeNewest between the two.
void beforeModify();
void beforeTotalStore(const void* address);
void beforeAtomicStore(const void* address, std::uint64_t current);
void atomicStore(const void* address, std::uint64_t value, Order order, bool modifies);
void atomicSeeNewest(const void* address, Order order);

} // namespace order

#endif
