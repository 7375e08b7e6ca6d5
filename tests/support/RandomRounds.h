// How many random cases a comparison with the C library tries.
#ifndef FALLCATCH_TESTS_RANDOM_ROUNDS_H
#define FALLCATCH_TESTS_RANDOM_ROUNDS_H

#include <cstdlib>

// FALLCATCH_TEST_ROUNDS, or `usual` if the environment does not name a number. A complete comparison:
//
//     FALLCATCH_TEST_ROUNDS=10000000 build/release/tests/KXPL/hslog/hslshortcuts_test
inline long randomRounds(long usual)
{
    const char* asked = std::getenv("FALLCATCH_TEST_ROUNDS");
    const long rounds = asked != nullptr ? std::strtol(asked, nullptr, 10) : 0;
    return rounds > 0 ? rounds : usual;
}

#endif
