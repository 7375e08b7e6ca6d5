// The bytes of a crash log: what a dying process writes of its log, for a healthy one to render.
//
// A header, then sections, each of them its kind (4), the number of bytes that follow (4) and those. Numbers
// are in the byte order of the process that wrote them and without padding. A reader skips kinds that it does
// not know.
//
//     header    "HSLCrash", byte order (4), version (4), sizes of long, pointer and wchar_t (1 each), 0 (1),
//               seconds that local time is ahead of UTC (4, signed), process id (4), 0 (4)
//     STAT      number of the last record begun (4, signed), time of the record that was output last (seconds
//     4,
//               microseconds 4; 0 for none), filter (256), contexts and formats that are not in here for want
//               of memory (4, 4), records lost with the contexts of threads that ended (4), when this was
//               written (8, seconds since 1970)
//     FORM      a registered format: id (4), 1 for narrow and 0 for wide (1), the narrow text
//     CTXT      a context: depth (4, signed), record counter (4, signed), capacity of its ring (4), offset at which
//               the oldest record begins (4; less than the first slot's where its first bytes are behind the last
//               slot), write offset (4) and offset of the first slot (4), a RingProblem (4), its name
//     RING      bytes of the context told last, oldest first; more than one such section where they wrap, and where
//               the ring has the first bytes no more but the process still knows them
//     HOLE      of the section before: from this offset on (4) its bytes could not be read
//     SEEN      behind a context's bytes: the offset at which the oldest record began at that moment (4), counted on
//               from the first one, also past the last slot; 1 if the context had gone (4)
//     KEPT      kept lines: size, begin and end of their memory (4 each), then the bytes from begin to end
//     KSEN      behind those: begin at that moment (4)
//     DONE      number of sections before this one (4); a file without it was cut short
#ifndef HSLOG_CRASH_CRASH_LOG_FORMAT_H
#define HSLOG_CRASH_CRASH_LOG_FORMAT_H

#include <cstdint>
#include <cstring>

namespace HSL {
namespace CrashLog {

constexpr char kMagic[] = "HSLCrash";
constexpr std::uint32_t kByteOrder = 0x01020304;
constexpr std::uint32_t kVersion = 1;
constexpr unsigned int kHeaderSize = 32;
constexpr unsigned int kSectionHeaderSize = 8;

constexpr std::uint32_t sectionKind(const char (&name)[5])
{
    return static_cast<std::uint32_t>(name[0]) | static_cast<std::uint32_t>(name[1]) << 8
        | static_cast<std::uint32_t>(name[2]) << 16 | static_cast<std::uint32_t>(name[3]) << 24;
}

constexpr std::uint32_t kStateSection = sectionKind("STAT");
constexpr std::uint32_t kFormatSection = sectionKind("FORM");
constexpr std::uint32_t kContextSection = sectionKind("CTXT");
constexpr std::uint32_t kRingSection = sectionKind("RING");
constexpr std::uint32_t kHoleSection = sectionKind("HOLE");
constexpr std::uint32_t kSeenSection = sectionKind("SEEN");
constexpr std::uint32_t kKeptSection = sectionKind("KEPT");
constexpr std::uint32_t kKeptSeenSection = sectionKind("KSEN");
constexpr std::uint32_t kDoneSection = sectionKind("DONE");

constexpr unsigned int kStateSize = 4 + 4 + 4 + 256 + 4 + 4 + 4 + 8;
constexpr unsigned int kFormatHeadSize = 5;
constexpr unsigned int kContextHeadSize = 28;
constexpr unsigned int kKeptHeadSize = 12;

enum RingProblem : std::uint32_t {
    kRingWhole = 0,
    kRingDamaged = 1,    // the positions make no sense; the section holds the whole data area
    kRingUnreadable = 2, // the control block cannot be read
    kRingMissing = 3     // the context never had a ring
};

// Entries of kept lines begin at multiples of this.
constexpr std::uint32_t kLineUnit = 8;

// One kept line, followed by the context's name and the message. The line's header is made anew from these.
struct KeptLineHead {
    std::uint32_t mSize; // of the whole entry, with less than a unit of anything behind it
    std::int32_t mSequence;
    std::uint32_t mSeconds;
    std::uint32_t mMicroseconds;
    double mDelta; // seconds since the record that was output before
    std::uint32_t mNameLength;
    std::uint32_t mMessageLength;
    std::uint8_t mDepth;
    std::uint8_t mCategoryCount; // 0 to 10
    std::uint8_t mCategories[10];
    std::uint8_t mUnused[4];
};
static_assert(sizeof(KeptLineHead) == 48, "the same on every build");

// The fields of a section, put together before they are written.
class SectionFields {
public:
    template <typename T> SectionFields& Add(const T& field)
    {
        std::memcpy(mBytes + mSize, &field, sizeof field);
        mSize += static_cast<std::uint32_t>(sizeof field);
        return *this;
    }

    const unsigned char* Bytes() const { return mBytes; }
    std::uint32_t Size() const { return mSize; }

private:
    unsigned char mBytes[kStateSize];
    std::uint32_t mSize = 0;
};

} // namespace CrashLog
} // namespace HSL

#endif
