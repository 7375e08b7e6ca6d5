// A 64-bit Mach-O image for x86-64, brought into a process of Linux as dyld would: mapped, moved, bound, its
// initialisers run. What this project's linkers do not write is not known; it ends the process with a sentence.
#ifndef FALLCATCH_TESTS_MACOS_NATIVE_MACH_IMAGE_H
#define FALLCATCH_TESTS_MACOS_NATIVE_MACH_IMAGE_H

#include "MachFormat.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

// Ends the process with exit code 3.
[[noreturn]] void refuse(const std::string& sentence);

class MachImage {
public:
    struct Bytes {
        char* begin = nullptr;
        std::size_t size = 0;
    };
    // What an import is bound to. Null: the name is not known.
    using Resolve = std::function<void*(const std::string& name)>;

    // Maps and moves the x86-64 slice of a file, universal or thin. It stays for the life of the process.
    explicit MachImage(const std::string& path);

    // Once, before any code of the image runs. Bindings that could wait for the first call are made too.
    void Bind(const Resolve& resolve) const;
    // Gives each segment the protection that its file asks for. After everything has been filled in.
    void Protect() const;
    void RunInitialisers(int argumentCount, char** arguments, char** environment) const;

    // The address of what the image exports; null for any other name. Names begin with C's underscore.
    void* Exported(const std::string& name) const;
    // main() of a program; null in a library.
    void* Entry() const;
    // Empty where the image has no such section.
    Bytes SectionBytes(const std::string& segment, const std::string& name) const;

private:
    struct Binding {
        std::string name;
        bool mayLack = false;
        std::int64_t addend = 0;
        char* place = nullptr;
    };

    void AddSegment(std::size_t offset);
    void Map();
    void ReadExports(const SymbolTableCommand& symbols);
    void Rebase() const;
    void BindTable(const Range& range, bool isLazy, const Resolve& resolve) const;
    void Set(const Binding& binding, const Resolve& resolve) const;
    char* InSegment(std::size_t number, std::uint64_t offset) const;
    char* At(std::uint64_t address) const { return mBase + (address - mFirst); }

    std::string mPath;
    std::string mFile; // the slice alone
    std::vector<SegmentCommand> mSegments;
    std::vector<SectionHeader> mSections;
    std::map<std::string, void*> mExports;
    Range mRebases = {};
    std::vector<Range> mBindings = { {}, {}, {} };
    std::uint64_t mFirst = 0; // the address that the image is linked for
    std::uint64_t mBytes = 0;
    std::uint64_t mEntryOffset = 0;
    char* mBase = nullptr;
};

#endif
