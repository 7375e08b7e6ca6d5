#include "CrashLogFile.h"

#include <algorithm>
#include <cstring>

namespace HSL {
namespace CrashLog {
namespace {

template <typename T> T numberAt(const char* bytes, std::size_t offset)
{
    T number;
    std::memcpy(&number, bytes + offset, sizeof number);
    return number;
}

} // namespace

struct StoredLog::Section {
    std::uint32_t kind;
    const char* bytes;
    std::size_t size;

    template <typename T> T At(std::size_t offset) const { return numberAt<T>(bytes, offset); }
};

bool StoredLog::ReadHeader(const std::string& file, std::string& why)
{
    const char* const bytes = file.data();
    if (file.size() < kHeaderSize || std::memcmp(bytes, kMagic, 8) != 0) {
        why = "this is no crash log";
        return false;
    }
    if (numberAt<std::uint32_t>(bytes, 8) != kByteOrder) {
        why = "this crash log comes from a processor with another byte order";
        return false;
    }
    if (numberAt<std::uint32_t>(bytes, 12) != kVersion) {
        why = "this crash log is of version " + std::to_string(numberAt<std::uint32_t>(bytes, 12))
            + "; known is " + std::to_string(kVersion);
        return false;
    }
    const unsigned char* const sizes = reinterpret_cast<const unsigned char*>(bytes + 16);
    const auto isUsual = [](unsigned char size) { return size == 4 || size == 8; };
    if (!isUsual(sizes[0]) || !isUsual(sizes[1]) || sizes[2] != 4) {
        why = "this crash log has numbers of unknown sizes";
        return false;
    }
    mWidths = { sizes[0], sizes[1] };
    mZoneOffset = std::clamp(numberAt<std::int32_t>(bytes, 20), -86400, 86400);
    mProcess = numberAt<std::int32_t>(bytes, 24);
    return true;
}

bool StoredLog::Read(const std::string& file, std::string& why)
{
    if (!ReadHeader(file, why)) {
        return false;
    }
    std::size_t at = kHeaderSize;
    std::uint32_t sections = 0;
    while (!mIsWhole && file.size() - at >= kSectionHeaderSize) {
        const std::uint32_t kind = numberAt<std::uint32_t>(file.data(), at);
        const std::size_t announced = numberAt<std::uint32_t>(file.data(), at + 4);
        at += kSectionHeaderSize;
        const Section section = { kind, file.data() + at, std::min(announced, file.size() - at) };
        if (kind == kDoneSection) {
            mIsWhole = section.size >= 4 && section.At<std::uint32_t>(0) == sections;
        } else {
            Take(section);
        }
        ++sections;
        at += section.size;
    }
    ReadLines();
    return true;
}

void StoredLog::Take(const Section& section)
{
    switch (section.kind) {
    case kStateSection:
        TakeState(section);
        break;
    case kContextSection:
        TakeContext(section);
        break;
    case kRingSection:
        TakeRing(section);
        break;
    case kSeenSection:
        TakeSeen(section);
        break;
    case kFormatSection:
        TakeFormat(section);
        break;
    case kKeptSection:
        TakeKept(section);
        break;
    case kKeptSeenSection:
        TakeKeptSeen(section);
        break;
    case kHoleSection:
        TakeHole(section);
        break;
    default:
        break;
    }
    mLastKind = section.kind;
}

void StoredLog::TakeState(const Section& section)
{
    if (section.size < kStateSize) {
        return;
    }
    mHasState = true;
    mSequence = section.At<std::int32_t>(0);
    mLastSeconds = section.At<std::uint32_t>(4);
    mLastMicroseconds = section.At<std::uint32_t>(8);
    std::memcpy(mFilter, section.bytes + 12, sizeof mFilter);
    mContextsMissing = section.At<std::uint32_t>(268);
    mFormatsMissing = section.At<std::uint32_t>(272);
    mRecordsLost = section.At<std::uint32_t>(276);
    mWritten = section.At<std::int64_t>(280);
}

void StoredLog::TakeContext(const Section& section)
{
    if (section.size < kContextHeadSize) {
        return;
    }
    StoredContext context;
    context.mDepth = section.At<std::int32_t>(0);
    context.mCount = section.At<std::int32_t>(4);
    mCapacity = section.At<std::uint32_t>(8);
    mReadOffset = section.At<std::uint32_t>(12);
    context.mProblem = section.At<std::uint32_t>(24);
    context.mRing.mIsWholeArea = context.mProblem == kRingDamaged;
    context.mName.assign(section.bytes + kContextHeadSize, section.size - kContextHeadSize);
    mContexts.push_back(std::move(context));
}

void StoredLog::TakeRing(const Section& section)
{
    if (!mContexts.empty()) {
        std::string& bytes = mContexts.back().mRing.mBytes;
        mLastRingBegin = bytes.size();
        bytes.append(section.bytes, section.size);
    }
}

// What a pass took while the bytes were written may have been overwritten meanwhile.
void StoredLog::TakeSeen(const Section& section)
{
    if (section.size < 8 || mContexts.empty() || mContexts.back().mProblem != kRingWhole) {
        return;
    }
    RingBytes& ring = mContexts.back().mRing;
    const std::uint32_t now = section.At<std::uint32_t>(0);
    if (section.At<std::uint32_t>(4) != 0) {
        ring = RingBytes();
        return;
    }
    const std::uint32_t slots = mCapacity + 1;
    const std::uint32_t taken = now >= mReadOffset ? now - mReadOffset : now - mReadOffset + slots;
    if (taken == 0) {
        return;
    }
    const std::size_t gone = std::min<std::size_t>(taken, ring.mBytes.size());
    ring.mBytes.erase(0, gone);
    for (auto& hole : ring.mHoles) {
        hole.first -= std::min(hole.first, gone);
        hole.second -= std::min(hole.second, gone);
    }
}

void StoredLog::TakeFormat(const Section& section)
{
    if (section.size < kFormatHeadSize || section.At<std::uint32_t>(0) != mFormats.size()
        || mFormats.size() >= 32768) {
        return;
    }
    const bool isNarrow = section.At<std::uint8_t>(4) != 0;
    mFormats.push_back(
        { isNarrow, std::string(section.bytes + kFormatHeadSize, section.size - kFormatHeadSize), {} });
}

void StoredLog::TakeKept(const Section& section)
{
    if (section.size >= kKeptHeadSize) {
        mKeptBegin = section.At<std::uint32_t>(4);
        mKept.assign(section.bytes + kKeptHeadSize, section.size - kKeptHeadSize);
    }
}

void StoredLog::TakeHole(const Section& section)
{
    if (section.size < 4) {
        return;
    }
    const std::size_t from = section.At<std::uint32_t>(0);
    if (mLastKind == kRingSection && !mContexts.empty()) {
        RingBytes& ring = mContexts.back().mRing;
        const std::size_t begin = mLastRingBegin + from;
        if (begin < ring.mBytes.size()) {
            ring.mHoles.emplace_back(begin, ring.mBytes.size());
        }
    } else if (mLastKind == kKeptSection && from >= kKeptHeadSize) {
        mKept.resize(std::min(mKept.size(), from - kKeptHeadSize));
    } else if (mLastKind == kContextSection && from >= kContextHeadSize && !mContexts.empty()) {
        std::string& name = mContexts.back().mName;
        name.resize(std::min(name.size(), from - kContextHeadSize));
    }
}

// Lines that a pass let go while the bytes were written may have been overwritten meanwhile.
void StoredLog::TakeKeptSeen(const Section& section)
{
    if (section.size >= 4) {
        const std::uint32_t gone = section.At<std::uint32_t>(0) - mKeptBegin;
        mKept.erase(0, std::min<std::size_t>(gone, mKept.size()));
    }
}

void StoredLog::ReadLines()
{
    std::size_t at = 0;
    while (mKept.size() - at >= sizeof(KeptLineHead)) {
        StoredLine line;
        std::memcpy(&line.mHead, mKept.data() + at, sizeof line.mHead);
        const std::size_t most = mKept.size() - at - sizeof line.mHead;
        const std::size_t name = line.mHead.mNameLength;
        const std::size_t message = line.mHead.mMessageLength;
        if (name > most || message > most - name || line.mHead.mSize < sizeof line.mHead + name + message
            || line.mHead.mSize - (sizeof line.mHead + name + message) >= kLineUnit
            || line.mHead.mSize > mKept.size() - at
            || line.mHead.mCategoryCount > sizeof line.mHead.mCategories) {
            break;
        }
        line.mName.assign(mKept.data() + at + sizeof line.mHead, name);
        line.mMessage.assign(mKept.data() + at + sizeof line.mHead + name, message);
        at += line.mHead.mSize;
        mLines.push_back(std::move(line));
    }
    mLinesDamaged = static_cast<std::uint32_t>(mKept.size() - at);
    mKept.clear();
}

} // namespace CrashLog
} // namespace HSL
