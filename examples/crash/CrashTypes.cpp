#include "CrashTypes.h"

#include <csignal>

namespace Crash {

const std::array<Type, 8>& Types()
{
    static const std::array<Type, 8> types { {
        { 0, "TC_AR", "array range: reads far behind an array's end, where no memory is", SIGSEGV, "SIGSEGV",
          "Crash::readBeyondArray", true },
        { 1, "TC_GC", "garbage call: calls through a pointer that points to no code", SIGSEGV, "SIGSEGV",
          "Crash::callGarbage", false },
        { 2, "TC_DIV0", "divides an integer by zero", SIGFPE, "SIGFPE", "Crash::divideByZero", true },
        { 3, "TC_DER0", "dereferences address zero", SIGSEGV, "SIGSEGV", "Crash::dereferenceZero", true },
        { 4, "TC_PUREV", "calls a pure virtual function", SIGABRT, "SIGABRT", "Crash::callPureVirtual", false },
        { 5, "TC_RECOVERABLE", "throws an exception that a caller could have caught, but none does", SIGABRT,
          "SIGABRT", "Crash::throwUncaught", false },
        { 6, "TC_NONRECOVERABLE", "runs into an instruction that no processor has", SIGILL, "SIGILL",
          "Crash::executeInvalid", true },
        { 7, "TC_CONSTRUCTWITHNULL", "constructs an object from a null argument that its constructor reads",
          SIGSEGV, "SIGSEGV", "Crash::Copy::Copy", true },
    } };
    return types;
}

const Type* Find(int code)
{
    for (const Type& type : Types()) {
        if (type.code == code) {
            return &type;
        }
    }
    return nullptr;
}

std::string Help()
{
    std::string text = "  -tcmt TYPE    crash on the main thread\n"
                       "  -tcwt TYPE    crash on a worker thread\n"
                       "with TYPE one of\n";
    for (const Type& type : Types()) {
        std::string word = type.word;
        word.resize(word.size() < 22 ? 22 : word.size() + 1, ' ');
        text += "  " + word + type.what + "\n";
    }
    return text;
}

std::string List()
{
    std::string text;
    for (const Type& type : Types()) {
        text += std::string(type.word) + ' ' + std::to_string(type.signal) + ' ' + type.reason + ' '
            + type.function + '\n';
    }
    return text;
}

} // namespace Crash
