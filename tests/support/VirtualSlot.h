// Which slot of the table of virtual functions a member function has.
#ifndef FALLCATCH_TESTS_VIRTUAL_SLOT_H
#define FALLCATCH_TESTS_VIRTUAL_SLOT_H

#include <cstddef>
#include <cstring>

// By the Itanium C++ ABI, as on x86: a pointer to a virtual member function holds the slot's distance in bytes
// plus one. Calling through it would not tell, since only a module compiled apart depends on the slot.
template <typename Function> int virtualSlot(Function function)
{
    std::ptrdiff_t representation[2];
    static_assert(sizeof function == sizeof representation, "a pointer to a member function");
    std::memcpy(representation, &function, sizeof representation);
    if (representation[0] % 2 == 0) {
        return -1;
    }
    return static_cast<int>((representation[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)));
}

#endif
