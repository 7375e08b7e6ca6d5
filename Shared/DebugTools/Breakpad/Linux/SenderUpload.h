// One multipart POST.
#ifndef FALLCATCH_BREAKPAD_SENDER_UPLOAD_H
#define FALLCATCH_BREAKPAD_SENDER_UPLOAD_H

#include "SenderReport.h"

#include <string>

namespace BreakpadLinux {

struct Answer {
    long status = 0;   // of HTTP; 0 without a whole answer
    std::string error; // empty when the exchange came to its end
    std::string text;  // the first line of what the server said, usually the report's name there
};

Answer Upload(const Submission& submission);

} // namespace BreakpadLinux

#endif
