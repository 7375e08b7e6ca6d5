// What a server's answer means for a report.
#ifndef FALLCATCH_BREAKPAD_SENDER_ANSWER_H
#define FALLCATCH_BREAKPAD_SENDER_ANSWER_H

#include <ctime>
#include <string>

namespace BreakpadLinux {

struct Answer {
    long status = 0;       // of HTTP; 0 without a whole head
    std::string error;     // empty when the exchange came to its end, or to that of what is read of an answer
    std::string text;      // the body's first line, as one line for a log
    std::string type;      // the media type without its parameters, in lower case
    time_t retryAfter = 0; // seconds that the server asked for; 0 for none
    bool isPosted = true;  // false: it was not tried, since URL or dump are none
};

enum class Verdict {
    taken,     // the report may go
    discarded, // the server has it and wants it no more
    refused,   // not this report; after some tries it is given up
    failed,    // not now: the place is unreachable, busy or not what it should be
};

// mustName: the first line must hold "CrashID=" or "Discarded=", as that of every collector of the type
// "socorro" does. A page in HTML is never an answer of a collector's, but one of a network that wants a login.
struct Judgement {
    Verdict verdict = Verdict::failed;
    std::string reason;
};
Judgement Judge(const Answer& answer, bool mustName);

// A Retry-After header's value, seconds or a date of HTTP, as seconds from now; 0 for a time that has passed
// and for what is neither.
time_t RetryAfter(const std::string& value, time_t now);

} // namespace BreakpadLinux

#endif
