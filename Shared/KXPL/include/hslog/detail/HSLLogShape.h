// What the translation of a "{}" format has to know about the type of a value. For HSLLog.h.
#ifndef HSLOG_HSL_LOG_SHAPE_H
#define HSLOG_HSL_LOG_SHAPE_H

#include <cstddef>

namespace HSL {
namespace LogFormat {

enum Class : unsigned char {
    kSigned,
    kUnsigned,
    kBoolean,
    kCharacter, // char
    kReal,
    kText,
    kAddress,
    kFixed,  // shows as mFixed does, whatever the options would be; so there must be none
    kNothing // not loggable
};

// The texts of a call share what its record may hold; each gets at most this much unless its precision tells
// more.
constexpr unsigned int kUsualTextBytes = 1000;

struct Shape {
    Class mClass;
    unsigned char mSize;      // bytes of a number
    const char* mUnit = "";   // stands behind the number; a duration's
    const char* mFixed = "";  // the conversions of kFixed
    unsigned char mParts = 1; // values that it takes in the record
    unsigned char mBytes = 0; // of all parts of kFixed, tags included, texts without their bytes
    bool mMayBeEmpty = false; // shows as "none" then
};

constexpr std::size_t LengthOf(const char* text)
{
    std::size_t length = 0;
    while (text[length] != 0) {
        ++length;
    }
    return length;
}

} // namespace LogFormat
} // namespace HSL

#endif
