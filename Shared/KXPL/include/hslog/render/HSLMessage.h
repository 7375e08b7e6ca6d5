// The renderer behind CLogManager::StringifyFormatArgs, for a pass that keeps its place in the ring.
#ifndef HSLOG_HSL_MESSAGE_H
#define HSLOG_HSL_MESSAGE_H

#include "hslog/HSLLogManager.h"
#include "hslog/record/HSLRecordReader.h"
#include "HSLTextBuffer.h"

namespace HSL {

enum class Formats {
    kTrusted, // handed to the C library as they are, or sought in for ever
    // What problemOf and problemOfLiteral object to, and a format whose search never ends, are shown as they
    // are between angle brackets, with their values.
    kChecked
};

// Takes a record's format and values off the ring and appends the message's text. Without `render` it takes the
// same bytes and appends nothing but the marker of an unknown tag. Under the manager's lock only: its buffers
// are shared by the whole module.
void appendMessage(TextBuffer& text, bool render, RingCursor& ring,
                   const std::vector<CLogManager::CFormatStringEntry>& formats,
                   Formats trust = Formats::kTrusted);

} // namespace HSL

#endif
