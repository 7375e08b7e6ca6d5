#include "HSLRecordCut.h"

#include "hslog/detail/HSLTextCut.h"

#include <cstddef>

namespace HSL {
namespace {

struct Text {
    const AnyField* field;
    int which;

    unsigned int Size() const { return field->mSize; }
};

unsigned int unitOf(unsigned char type)
{
    return type == kWString ? sizeof(wchar_t) : (type == kUTF16String ? sizeof(unsigned short) : 1);
}

template <typename Unit> unsigned int wholeBytes(const void* text, unsigned int bytes)
{
    const std::size_t units = detail::WholeUnits(static_cast<const Unit*>(text), bytes / sizeof(Unit));
    return static_cast<unsigned int>(units * sizeof(Unit));
}

// As many of the first `bytes` as are whole characters.
unsigned int wholeBytes(const Text& text, unsigned int bytes)
{
    const void* const units = text.field->Text().mText;
    switch (unitOf(text.field->mKind)) {
    case 1:
        return wholeBytes<char>(units, bytes);
    case 2:
        return wholeBytes<unsigned short>(units, bytes);
    default:
        return wholeBytes<wchar_t>(units, bytes);
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
            if (!isWhole[i] && texts[i].Size() <= share) {
                isWhole[i] = true;
                found = true;
                room -= texts[i].Size();
                --left;
            }
        }
    }
    return left > 0 ? room / static_cast<unsigned int>(left) : room;
}

} // namespace

bool CRecordCuts::Fit(unsigned int room, const AnyField* fields, int count)
{
    Text texts[kMostValues + 1] = {};
    int found = 0;
    detail::Sizes sizes;
    VisitMessage(sizes, fields, count);
    const unsigned int size = HeaderSize(CCat::kMaxCodes) + sizes.mSize;
    if (size <= room) {
        return true;
    }
    unsigned int fixed = size;
    for (int i = 0; i <= count; ++i) {
        if (fields[i].mIsText) {
            texts[found++] = { &fields[i], i };
            fixed -= fields[i].mSize;
        }
    }
    if (fixed + kDroppedRecordSize > room) {
        return false;
    }
    const unsigned int share = largestShare(texts, found, room - kDroppedRecordSize - fixed);
    for (int i = 0; i < found; ++i) {
        const Text& text = texts[i];
        if (text.Size() > share) {
            const unsigned int mark = kCutMarkUnits * unitOf(text.field->mKind);
            mIsCut[text.which] = true;
            mKept[text.which] = share > mark ? wholeBytes(text, share - mark) : 0;
        }
    }
    return true;
}

void CRecordCuts::Write(CCircularBuffer& buffer, const AnyField* fields, int count) const
{
    Writes writes { buffer };
    for (int i = 0; i <= count; ++i) {
        if (mIsCut[i]) {
            writes.Put(fields[i].mKind);
            WriteText(writes, i, fields[i]);
        } else {
            Visit(writes, fields[i]);
        }
        if (i == 0) {
            writes.Put(static_cast<unsigned char>(count));
        }
    }
}

void CRecordCuts::WriteText(Writes& writes, int which, const AnyField& field) const
{
    // Where not even the mark has room, there is nothing.
    static constexpr char kMarks[] = "...";
    static constexpr unsigned short kUTF16Marks[] = { '.', '.', '.' };
    static constexpr wchar_t kWideMarks[] = L"...";
    const unsigned int unit = unitOf(field.mKind);
    const void* const mark = unit == 1 ? static_cast<const void*>(kMarks)
                                       : (unit == 2 ? static_cast<const void*>(kUTF16Marks) : kWideMarks);
    const unsigned int kept = mKept[which];
    const unsigned int markUnits = kept != 0 ? kCutMarkUnits : 0;
    writes.Put(static_cast<unsigned short>(kept / unit + markUnits));
    if (kept != 0) {
        writes.Bytes(field.Text().mText, kept);
        writes.Bytes(mark, markUnits * unit);
    }
}

} // namespace HSL
