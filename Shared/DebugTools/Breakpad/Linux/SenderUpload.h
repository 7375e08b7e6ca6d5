// One multipart POST.
#ifndef FALLCATCH_BREAKPAD_SENDER_UPLOAD_H
#define FALLCATCH_BREAKPAD_SENDER_UPLOAD_H

#include "SenderAnswer.h"
#include "SenderReport.h"

#include <string>

namespace BreakpadLinux {

// Ends in any case: when nothing moves for FALLCATCH_SENDER_TIMEOUT seconds (60), and when the whole takes more
// than FALLCATCH_SENDER_LIMIT seconds (600). Of an answer 64 KiB are read. What was to be compressed and cannot be,
// and what a server answers with 415 when it is, is posted as it is, with the same limits anew.
Answer Upload(const Submission& submission);

// Scheme, host and port of a URL in lower case, by which servers are told apart; empty for what is no URL of
// http or https.
std::string PlaceOf(const std::string& url);

// The number of seconds in an environment variable's text, at most a day; otherwise without text, for a text
// that is no number and for a number below 1.
long SecondsFrom(const char* text, long otherwise);

} // namespace BreakpadLinux

#endif
