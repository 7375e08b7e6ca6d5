// A fence for texts that come from outside: cuts them so that a log call's record fits into its ring.
//
//     #include "hslog/HSLBounded.h"
//
//     log->Log(3, "opened %s for %s", HSL::Bounded(path), HSL::Bounded(user, 200));
#ifndef HSLOG_HSL_BOUNDED_H
#define HSLOG_HSL_BOUNDED_H

#include "../detail/KxHost.h"

#include "HSLValue.h"
#include "detail/HSLNullText.h"
#include "detail/HSLTextCut.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

namespace HSL {

// A ring keeps 4,096 bytes free for the record that is being written. A record that is longer may be cut short,
// and then the bytes that the collector takes for the next record are whatever comes next: of the following
// text, if that is longer still, any of its bytes, a format of its own making included. So everything that a
// user, a file or the network supplies has to be bounded, and all that one call logs has to stay below 4,096
// bytes together:
//
//     20 + the format's bytes + 3 for each text + its bytes + 2 to 9 for each other value
//
// A text that is short enough is logged from where it lies; a longer one is copied up to the last character
// that fits as a whole. Either way it shows up to its first zero unit. A null pointer shows as "<NULL>", in a
// wide text as well, where a bare null pointer would garble the ring; a null UTF-16 text shows as nothing.
//
// `Unit` is char (UTF-8, or any encoding of single bytes), wchar_t (32 bits) or unsigned short (UTF-16). The
// text stays the caller's and must live as long as the object; neither is needed once the log call has
// returned.
template <typename Unit> class Bounded {
    static_assert(
        std::is_same_v<Unit, char> || std::is_same_v<Unit, wchar_t> || std::is_same_v<Unit, unsigned short>,
        "texts are of char, wchar_t or unsigned short");

public:
    // Bytes, whatever the unit's width: what the text takes in the record.
    static constexpr std::size_t kUsualMaximum = 1000;
    // A larger maximum counts as this.
    static constexpr std::size_t kLargestMaximum = 4000;

    // maximum: in bytes. A longer text is copied, cut to what fits.
    explicit Bounded(const Unit* text, std::size_t maximum = kUsualMaximum)
        : mText(text)
    {
        if (text == nullptr) {
            mText = IfNull(text);
            return;
        }
        const std::size_t bytes = maximum < kLargestMaximum ? maximum : kLargestMaximum;
        const std::size_t units = bytes / sizeof(Unit);
        if (!EndsWithin(text, units + 1)) {
            Cut(text, units);
        }
    }

    // Up to its first zero unit.
    explicit Bounded(const std::basic_string<Unit>& text, std::size_t maximum = kUsualMaximum)
        : Bounded(text.c_str(), maximum)
    {
    }

    // Of a text that was cut the copy has its own; any other stays where it is.
    Bounded(const Bounded& other)
        : mText(other.mText)
    {
        if (other.mText == other.mCopy) {
            std::memcpy(mCopy, other.mCopy, sizeof mCopy);
            mText = mCopy;
        }
    }
    Bounded& operator=(const Bounded&) = delete;

    // What a log call takes.
    operator CValue() const { return CValue(mText); }

    // The bounded text, terminated; valid as long as the object. Null only for a null UTF-16 text.
    const Unit* Text() const { return mText; }

private:
    static const char* IfNull(const char*) { return detail::kNullText; }
    static const wchar_t* IfNull(const wchar_t*) { return detail::kNullWideText; }
    static const unsigned short* IfNull(const unsigned short*) { return nullptr; }

    // Whether a zero stands among so many units. Looks at none behind it.
    static bool EndsWithin(const Unit* text, std::size_t units)
    {
        if constexpr (sizeof(Unit) == 1) {
            return std::memchr(text, 0, units) != nullptr;
        } else {
            std::size_t length = 0;
            while (length < units && text[length] != 0) {
                ++length;
            }
            return length < units;
        }
    }

    // Not inlined: a seldom way, and compilers warn of it where they see that a literal is shorter.
    [[gnu::noinline]] void Cut(const Unit* text, std::size_t units)
    {
        const std::size_t length = detail::WholeUnits(text, units);
        std::memcpy(mCopy, text, length * sizeof(Unit));
        mCopy[length] = 0;
        mText = mCopy;
    }

    const Unit* mText;
    Unit mCopy[kLargestMaximum / sizeof(Unit) + 1]; // only of a text that was too long
};

} // namespace HSL

#endif
