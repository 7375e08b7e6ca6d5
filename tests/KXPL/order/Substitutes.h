// Memory and threads for code under test whose own would be out of the explorer's sight.
#ifndef FALLCATCH_TESTS_ORDER_SUBSTITUTES_H
#define FALLCATCH_TESTS_ORDER_SUBSTITUTES_H

#include <cstddef>
#include <vector>

namespace order {

// The block that the next allocation of that size gets. There is one.
void* nextBlock(std::size_t size);

// Strings that are deleted while this is set; their memory stays as it is. It must have room.
extern std::vector<const void*>* gDeleted;

// No thread but the explorer's runs: pthread_create fails and is counted.
extern int gThreadsAskedFor;

} // namespace order

#endif
