// The contexts of a pass in the order of their next records' numbers.
#ifndef HSLOG_HSL_MERGE_H
#define HSLOG_HSL_MERGE_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace HSL {

// A heap that acts like a set: of entries that are equal by `Less` only the one that came first is kept. The
// others are dropped when the first one has reached the front; before that the two cannot be told apart.
// Numbers are unique unless a ring was misread.
//
// `Less` compares two pointers to items. An item's place in the order must not change while it takes part, but
// for the first one's right before ReplaceFirst.
template <typename Item, typename Less> class Merge {
public:
    void Reserve(std::size_t items) { mHeap.reserve(items); }

    bool IsEmpty() const { return mHeap.empty(); }

    void Insert(Item* item)
    {
        mHeap.push_back({ item, mInsertions++ });
        std::size_t at = mHeap.size() - 1;
        while (at > 0 && IsBefore(mHeap[at], mHeap[(at - 1) / 2])) {
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

    // The first one has another place from now on, as if removed and inserted again.
    void ReplaceFirst() { SiftDown(0, { mHeap[0].item, mInsertions++ }); }

private:
    struct Entry {
        Item* item;
        std::uint32_t insertion; // starts again after 4,294,967,296 in one pass, which matters to equals only
    };

    static bool IsBefore(const Entry& a, const Entry& b)
    {
        return Less()(a.item, b.item) || (a.insertion < b.insertion && !Less()(b.item, a.item));
    }

    // Of an entry with at least one child.
    std::size_t SmallerChild(std::size_t at) const
    {
        const std::size_t left = 2 * at + 1;
        const bool rightIsSmaller = left + 1 < mHeap.size() && IsBefore(mHeap[left + 1], mHeap[left]);
        return left + (rightIsSmaller ? 1 : 0);
    }

    // Puts an entry at a place that is to be filled, or below it.
    void SiftDown(std::size_t at, Entry entry)
    {
        while (2 * at + 1 < mHeap.size()) {
            const std::size_t child = SmallerChild(at);
            if (IsBefore(entry, mHeap[child])) {
                break;
            }
            mHeap[at] = mHeap[child];
            at = child;
        }
        mHeap[at] = entry;
    }

    // The entry that takes the place comes from the end of the heap. At the front or just below it, nothing
    // that is moved there can have to rise.
    void RemoveAt(std::size_t at)
    {
        const Entry last = mHeap.back();
        mHeap.pop_back();
        if (at < mHeap.size()) {
            SiftDown(at, last);
        }
    }

    std::vector<Entry> mHeap;
    std::uint32_t mInsertions = 0;
};

} // namespace HSL

#endif
