#include "HSLRecordCut.h"

#include "hslog/detail/HSLTextCut.h"

#include <cstddef>

namespace HSL {
namespace {

struct Text {
    CRecordText text;
    int which;
    unsigned int unit;
};

unsigned int unitOf(unsigned char type)
{
    return type == kWString ? sizeof(wchar_t) : (type == kUTF16String ? sizeof(unsigned short) : 1);
}

template <typename Unit> unsigned int wholeBytes(const void* text, unsigned int bytes)
{
    const std::size_t units = WholeUnits(static_cast<const Unit*>(text), bytes / sizeof(Unit));
    return static_cast<unsigned int>(units * sizeof(Unit));
}

// As many of the first `bytes` as are whole characters.
unsigned int wholeBytes(const Text& text, unsigned int bytes)
{
    switch (text.unit) {
    case 1:
        return wholeBytes<char>(text.text.mText, bytes);
    case 2:
        return wholeBytes<unsigned short>(text.text.mText, bytes);
    default:
        return wholeBytes<wchar_t>(text.text.mText, bytes);
    }
}

// The size from which on texts are cut: all that is below stays whole, and what that leaves is shared.
unsigned int largestShare(const Text* texts, int count, unsigned int room)
{
    bool isWhole[kMostValues + 1] = {};
    int left = count;
    for (bool found = true; found && left > 0;) {
        found = false;
        const unsigned int share = room / static_cast<unsigned int>(left);
        for (int i = 0; i < count; ++i) {
            if (!isWhole[i] && texts[i].text.mSize <= share) {
                isWhole[i] = true;
                found = true;
                room -= texts[i].text.mSize;
                --left;
            }
        }
    }
    return left > 0 ? room / static_cast<unsigned int>(left) : room;
}

} // namespace

bool CRecordCuts::Fit(unsigned int room, const CRecordText* format, const CRecordValue* values, int count)
{
    Text texts[kMostValues + 1];
    int found = 0;
    unsigned int fixed = 15 + CCat::kMaxCodes + 3 + 1;
    if (format != nullptr) {
        texts[found++] = { *format, 0, 1 };
    }
    for (int i = 0; i < count; ++i) {
        if (IsText(values[i].mType)) {
            texts[found++] = { values[i].mText, i + 1, unitOf(values[i].mType) };
            fixed += 3;
        } else {
            fixed += values[i].Size();
        }
    }
    unsigned int size = fixed;
    for (int i = 0; i < found; ++i) {
        size += texts[i].text.mSize;
    }
    if (size <= room) {
        return true;
    }
    if (fixed + kDroppedRecordSize > room) {
        return false;
    }
    const unsigned int share = largestShare(texts, found, room - kDroppedRecordSize - fixed);
    for (int i = 0; i < found; ++i) {
        const Text& text = texts[i];
        if (text.text.mSize > share) {
            const unsigned int mark = kCutMarkUnits * text.unit;
            mIsCut[text.which] = true;
            mKept[text.which] = share > mark ? wholeBytes(text, share - mark) : 0;
        }
    }
    return true;
}

void CRecordCuts::Write(CCircularBuffer& buffer, int which, CRecordText text, unsigned int unit) const
{
    if (!mIsCut[which]) {
        return WriteText(buffer, text);
    }
    // Where not even the mark has room, there is nothing.
    static constexpr char kMarks[] = "...";
    static constexpr unsigned short kUTF16Marks[] = { '.', '.', '.' };
    static constexpr wchar_t kWideMarks[] = L"...";
    const void* const mark = unit == 1 ? static_cast<const void*>(kMarks)
                                       : (unit == 2 ? static_cast<const void*>(kUTF16Marks) : kWideMarks);
    const unsigned int kept = mKept[which];
    const unsigned int markUnits = kept != 0 ? kCutMarkUnits : 0;
    WriteField(buffer, static_cast<unsigned short>(kept / unit + markUnits));
    if (kept != 0) {
        WriteBytes(buffer, text.mText, static_cast<int>(kept));
        WriteBytes(buffer, mark, static_cast<int>(markUnits * unit));
    }
}

void CRecordCuts::WriteValue(CCircularBuffer& buffer, int which, const CRecordValue& value) const
{
    if (!mIsCut[which]) {
        return HSL::WriteValue(buffer, value);
    }
    WriteField(buffer, value.mType);
    Write(buffer, which, value.mText, unitOf(value.mType));
}

} // namespace HSL
