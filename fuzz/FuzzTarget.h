// What a fuzz target is made of: its one function, a reader of the input, and a check.
//
// An own reader rather than the one that comes with clang: corpora are replayed in builds by other compilers
// too, and one that takes every field from the front lets seeds be written and read by hand.
#ifndef FALLCATCH_FUZZ_TARGET_H
#define FALLCATCH_FUZZ_TARGET_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// Takes any bytes, reports by ending the process, and returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Takes fields off the front. Behind the end there are only zeros.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : mNext(data)
        , mLeft(size)
    {
    }

    bool AtEnd() const { return mLeft == 0; }

    unsigned int Byte()
    {
        if (mLeft == 0) {
            return 0;
        }
        --mLeft;
        return *mNext++;
    }

    int SignedByte() { return static_cast<signed char>(Byte()); }
    unsigned int Two()
    {
        const unsigned int low = Byte();
        return low | Byte() << 8;
    }
    std::uint32_t Four()
    {
        const std::uint32_t low = Two();
        return low | Two() << 16;
    }

    // At most as many as there are.
    std::string Bytes(std::size_t count)
    {
        const std::size_t taken = std::min(count, mLeft);
        const std::string bytes(mNext, mNext + taken);
        mNext += taken;
        mLeft -= taken;
        return bytes;
    }
    std::string Rest() { return Bytes(SIZE_MAX); }

private:
    const std::uint8_t* mNext;
    std::size_t mLeft;
};

inline void fuzzRequire(bool holds, const std::string& what)
{
    if (!holds) {
        std::fprintf(stderr, "FUZZ TARGET: %s\n", what.c_str());
        std::abort();
    }
}

#endif
