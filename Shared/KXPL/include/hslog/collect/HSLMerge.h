// The contexts of a pass in the order of their next records' numbers.
#ifndef HSLOG_HSL_MERGE_H
#define HSLOG_HSL_MERGE_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace HSL {

// A heap that acts like a set: of entries that are equal by `Less` only the one that came first is kept. The others
// are dropped when the first one has reached the front; before that the two cannot be told apart. Numbers are unique
// unless a ring was misread.
//
// `Less` compares two pointers to items by their numbers, signed: past 2,147,483,647 the numbers turn negative and the
// newest records come first within a pass. The heap keeps a copy of each number beside the pointer, which spares it
// the way to the items where it looks for a place.
template <typename Item, typename Less> class Merge {
public:
    void Reserve(std::size_t items) { mHeap.reserve(items); }

    bool IsEmpty() const { return mHeap.empty(); }

    void Insert(int number, Item* item)
    {
        mHeap.push_back({ NextKey(number), item });
        std::size_t at = mHeap.size() - 1;
        while (at > 0 && mHeap[at].key < mHeap[(at - 1) / 2].key) {
            std::swap(mHeap[at], mHeap[(at - 1) / 2]);
            at = (at - 1) / 2;
        }
    }

    Item* First()
    {
        while (mHeap.size() > 1 && !Less()(mHeap[0].item, mHeap[SmallerChild(0)].item)) {
            RemoveAt(SmallerChild(0));
        }
        return mHeap[0].item;
    }

    void RemoveFirst() { RemoveAt(0); }

    // The first one takes part with another number from now on, as if removed and inserted again.
    void ReplaceFirst(int number) { SiftDown(0, NextKey(number), mHeap[0].item); }

private:
    // The number, made unsigned without changing the order, and below it the order of insertion. That order
    // would start again after 4,294,967,296 insertions in one pass, which matters to equal numbers only.
    struct Entry {
        std::uint64_t key;
        Item* item;
    };

    std::uint64_t NextKey(int number)
    {
        const std::uint32_t ordered = static_cast<std::uint32_t>(number) ^ 0x80000000u;
        return static_cast<std::uint64_t>(ordered) << 32 | mInsertions++;
    }

    // Of an entry with at least one child.
    std::size_t SmallerChild(std::size_t at) const
    {
        const std::size_t left = 2 * at + 1;
        const bool rightIsSmaller = left + 1 < mHeap.size() && mHeap[left + 1].key < mHeap[left].key;
        return left + (rightIsSmaller ? 1 : 0);
    }

    // Puts an entry at a place that is to be filled, or below it.
    void SiftDown(std::size_t at, std::uint64_t key, Item* item)
    {
        while (2 * at + 1 < mHeap.size()) {
            const std::size_t child = SmallerChild(at);
            if (key < mHeap[child].key) {
                break;
            }
            mHeap[at] = mHeap[child];
            at = child;
        }
        mHeap[at].key = key;
        mHeap[at].item = item;
    }

    // The entry that takes the place comes from the end of the heap. At the front or just below it, nothing
    // that is moved there can have to rise.
    void RemoveAt(std::size_t at)
    {
        const Entry last = mHeap.back();
        mHeap.pop_back();
        if (at < mHeap.size()) {
            SiftDown(at, last.key, last.item);
        }
    }

    std::vector<Entry> mHeap;
    std::uint32_t mInsertions = 0;
};

} // namespace HSL

#endif
