#ifndef FALLCATCH_FORMAT_CHECK_PREAMBLE_H
#define FALLCATCH_FORMAT_CHECK_PREAMBLE_H

// What every statement may use. Each compiler reads it once and keeps what it made of it for all of them.
#include "hslog/HSLFormatCheck.h"

#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <string>

enum Colour {
    kRed
};
enum class Shape {
    kRound
};

struct Fields {
    unsigned int mBits : 3;
};

// Values of the types that a statement may pass.
template <typename T> T any();

#endif
