// Runs a program for macOS on x86-64 on this system.
//
//     run_host PROGRAM[,LIBRARY] [ARGUMENT ...]
//
// The program finds in the library what it does not have itself, and the library in the program.
#include "Darwin.h"

#include <cstdlib>
#include <deque>
#include <string>

extern "C" char** environ;

int main(int argumentCount, char** arguments)
{
    if (argumentCount < 2) {
        refuse("usage: run_host PROGRAM[,LIBRARY] [ARGUMENT ...]");
    }
    const std::string paths = arguments[1];
    const std::size_t comma = paths.find(',');
    std::deque<MachImage> images;
    if (comma != std::string::npos) {
        images.emplace_back(paths.substr(comma + 1));
    }
    images.emplace_back(paths.substr(0, comma)); // last, as dyld runs initialisers
    const auto resolve = [&images](const std::string& name) {
        for (const MachImage& image : images) {
            if (void* found = image.Exported(name)) {
                return found;
            }
        }
        return darwinSymbol(name);
    };
    tellArguments(argumentCount - 1, arguments + 1);
    for (const MachImage& image : images) {
        image.Bind(resolve);
        adoptObjects(image);
        image.Protect();
    }
    for (const MachImage& image : images) {
        image.RunInitialisers(argumentCount - 1, arguments + 1, environ);
    }
    using Main = int (*)(int, char**, char**);
    const Main entry = reinterpret_cast<Main>(reinterpret_cast<void (*)()>(images.back().Entry()));
    if (entry == nullptr) {
        refuse(paths + " is no program");
    }
    std::exit(entry(argumentCount - 1, arguments + 1, environ));
}
