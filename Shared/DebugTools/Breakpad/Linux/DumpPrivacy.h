// Takes out of a dump what the user did not mean to send: the values of environment variables and the command
// line's arguments.
#ifndef FALLCATCH_BREAKPAD_DUMP_PRIVACY_H
#define FALLCATCH_BREAKPAD_DUMP_PRIVACY_H

#include "DumpFile.h"

#include <cstdint>

namespace BreakpadLinux {

// Where the kernel has put the process's arguments and variables, at the top of the first stack.
struct ProcessTexts {
    std::uint64_t argumentsBegin = 0;
    std::uint64_t argumentsEnd = 0;
    std::uint64_t variablesBegin = 0;
    std::uint64_t variablesEnd = 0;
};

// From the kernel's tables; all 0 where they cannot be read. Not for signal handlers.
ProcessTexts FindProcessTexts();

// Puts an asterisk for each byte of a text that consists of parts that end with a zero. Handed over in pieces,
// in their order.
class Blanker {
public:
    enum class Kind {
        variables, // all values but those of LANG, TZ and LC_ANYTHING
        arguments, // all but the first
    };

    explicit Blanker(Kind kind)
        : mKind(kind)
    {
    }

    void Blank(char* bytes, std::uint64_t count);

private:
    bool mayStay() const;
    void take(char& byte);

    const Kind mKind;
    bool mInside = false; // behind a variable's "=", or behind the first argument
    bool mStays = false;
    char mName[8] = {}; // its beginning
    std::uint64_t mLength = 0;
};

// Wherever the dump has them: in streams of their own, and in the stacks. False when it could not be done; then
// the dump must go.
bool BlankTexts(DumpFile& dump, const ProcessTexts& texts);

} // namespace BreakpadLinux

#endif
