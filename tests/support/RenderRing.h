// A manager and a ring for calling the renderer on hand-made bytes.
#ifndef FALLCATCH_TESTS_RENDER_RING_H
#define FALLCATCH_TESTS_RENDER_RING_H

#include "HandMadeRecord.h"
#include "Interpose.h"
#include "WithoutShortcuts.h"

#include <string>
#include <vector>

class RenderRing {
public:
    RenderRing()
        : mRing(1, 1 << 20, CCircularBuffer::MallocFunc, CCircularBuffer::FreeFunc, CCircularBuffer::CopyFunc)
    {
    }

    // Renders one record's format and values, which begin with the format kind.
    std::string Render(const HandMadeRecord& record, bool render = true)
    {
        record.PushTo(mRing);
        return mManager.StringifyFormatArgs(render, mRing);
    }

    // Bytes that rendering has not taken.
    unsigned int Left() const { return cb_get_num_elem_used(mRing.mControl); }

    HSL::CLogManager& Manager() { return mManager; }
    CCircularBuffer& Ring() { return mRing; }

private:
    HSL::CLogManager mManager;
    CCircularBuffer mRing;
};

inline HandMadeRecord inlineRecord(const std::string& format, int count)
{
    return HandMadeRecord().Inline(format).Count(count);
}

// The formats of a record's pieces, as the C library's formatter gets them when none is rendered without it.
// Nothing is really formatted.
inline std::vector<std::string> formatsUsedFor(RenderRing& ring, const HandMadeRecord& record,
                                               bool render = true)
{
    std::vector<std::string> formats;
    const WithoutShortcuts everyPiece;
    Interposed hooks;
    hooks.vsnprintfHook = [&formats](char* output, std::size_t size, const char* format, va_list) {
        formats.push_back(format);
        if (size > 0) {
            output[0] = 0;
        }
        return 0;
    };
    ring.Render(record, render);
    return formats;
}

#endif
