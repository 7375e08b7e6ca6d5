#include "MachImage.h"

#include "DyldCodes.h"
#include "MachFormat.h"

#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace {

template <typename Type> Type readAt(const std::string& bytes, std::size_t offset)
{
    if (offset + sizeof(Type) > bytes.size()) {
        refuse("a table ends beyond its file");
    }
    Type value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

std::string fixedText(const char* text)
{
    return std::string(text, strnlen(text, kNameSize));
}

// The numbers of a universal file's header are big-endian.
std::uint32_t bigEndian(const std::string& bytes, std::size_t offset)
{
    return __builtin_bswap32(readAt<std::uint32_t>(bytes, offset));
}

std::string sliceOf(const std::string& file)
{
    if (bigEndian(file, 0) != kUniversalMagic) {
        return file;
    }
    for (std::uint32_t i = 0; i < bigEndian(file, 4); ++i) {
        const std::size_t entry = 8 + 20 * std::size_t(i);
        if (bigEndian(file, entry) == kProcessorX8664) {
            return file.substr(bigEndian(file, entry + 8), bigEndian(file, entry + 12));
        }
    }
    return std::string();
}

} // namespace

void refuse(const std::string& sentence)
{
    std::fprintf(stderr, "%s\n", sentence.c_str());
    std::exit(3);
}

MachImage::MachImage(const std::string& path)
    : mPath(path)
{
    std::ifstream stream(path, std::ios::binary);
    mFile = sliceOf(std::string(std::istreambuf_iterator<char>(stream), {}));
    const auto header = readAt<MachHeader>(mFile, 0);
    if (header.magic != kMagic || header.processor != kProcessorX8664) {
        refuse(path + " is no image for x86-64");
    }
    SymbolTableCommand symbols = {};
    std::size_t offset = sizeof header;
    for (std::uint32_t i = 0; i < header.commandCount; ++i) {
        const auto command = readAt<LoadCommand>(mFile, offset);
        if (command.kind == kSegment64) {
            AddSegment(offset);
        } else if (command.kind == kSymbolTable) {
            symbols = readAt<SymbolTableCommand>(mFile, offset);
        } else if (command.kind == kDyldInfo || command.kind == kDyldInfoOnly) {
            const auto info = readAt<DyldInfoCommand>(mFile, offset);
            mRebases = info.rebase;
            mBindings = { info.bind, info.weakBind, info.lazyBind };
        } else if (command.kind == kMain) {
            mEntryOffset = readAt<MainCommand>(mFile, offset).entryOffset;
        } else if (command.kind == kChainedFixups) {
            refuse(path + " has chained fix-ups, which are not known here");
        }
        offset += command.size;
    }
    Map();
    ReadExports(symbols);
    Rebase();
}

void MachImage::AddSegment(std::size_t offset)
{
    const auto segment = readAt<SegmentCommand>(mFile, offset);
    mSegments.push_back(segment);
    if (segment.initialProtection == 0) {
        return; // __PAGEZERO: keeps addresses below 4 GB from being valid, and is not needed here
    }
    if (mBytes == 0) {
        mFirst = segment.address;
    }
    mBytes = segment.address + segment.size - mFirst;
    for (std::uint32_t i = 0; i < segment.sectionCount; ++i) {
        mSections.push_back(readAt<SectionHeader>(mFile, offset + sizeof segment + i * sizeof(SectionHeader)));
    }
}

void MachImage::Map()
{
    void* memory = mmap(nullptr, mBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        refuse(mPath + " finds no memory");
    }
    mBase = static_cast<char*>(memory);
    for (const SegmentCommand& segment : mSegments) {
        if (segment.initialProtection != 0) {
            if (segment.fileOffset + segment.fileSize > mFile.size()) {
                refuse(mPath + " is cut off");
            }
            std::memcpy(At(segment.address), mFile.data() + segment.fileOffset, segment.fileSize);
        }
    }
}

void MachImage::ReadExports(const SymbolTableCommand& symbols)
{
    for (std::uint32_t i = 0; i < symbols.count; ++i) {
        const auto symbol = readAt<Symbol>(mFile, symbols.offset + i * sizeof(Symbol));
        if ((symbol.type & kSymbolKinds) == kDefinedInSection) {
            mExports[mFile.c_str() + symbols.namesOffset + symbol.name] = At(symbol.value);
        }
    }
}

void MachImage::Rebase() const
{
    Codes codes(mFile, mRebases.offset, mRebases.size);
    char* place = nullptr;
    const auto move = [&](std::uint64_t count, std::uint64_t skip) {
        for (; count > 0; --count) {
            std::uint64_t value;
            std::memcpy(&value, place, sizeof value);
            value = reinterpret_cast<std::uintptr_t>(At(value));
            std::memcpy(place, &value, sizeof value);
            place += sizeof value + skip;
        }
    };
    while (!codes.IsAtEnd()) {
        const unsigned char code = codes.Byte();
        const unsigned char immediate = code & 0x0F;
        switch (code & 0xF0) {
        case kRebaseDone:
            return;
        case kRebaseSetType:
            break; // pointers, the only ones that x86-64 has
        case kRebaseSetSegment:
            place = InSegment(immediate, codes.Unsigned());
            break;
        case kRebaseAdd:
            place += codes.Unsigned();
            break;
        case kRebaseAddPointers:
            place += immediate * sizeof(void*);
            break;
        case kRebase:
            move(immediate, 0);
            break;
        case kRebaseMany:
            move(codes.Unsigned(), 0);
            break;
        case kRebaseAndAdd:
            move(1, codes.Unsigned());
            break;
        case kRebaseManyAndSkip: {
            const std::uint64_t count = codes.Unsigned();
            move(count, codes.Unsigned());
            break;
        }
        default:
            refuse(mPath + " has an unknown code among its rebases");
        }
    }
}

void MachImage::Bind(const Resolve& resolve) const
{
    BindTable(mBindings[0], false, resolve);
    BindTable(mBindings[1], false, resolve);
    BindTable(mBindings[2], true, resolve); // what would be looked up at the first call
}

// In the table of lazy bindings each entry ends with kBindDone.
void MachImage::BindTable(const Range& range, bool isLazy, const Resolve& resolve) const
{
    Codes codes(mFile, range.offset, range.size);
    Binding binding;
    const auto bind = [&](std::uint64_t count, std::uint64_t skip) {
        for (; count > 0; --count) {
            Set(binding, resolve);
            binding.place += sizeof(void*) + skip;
        }
    };
    while (!codes.IsAtEnd()) {
        const unsigned char code = codes.Byte();
        const unsigned char immediate = code & 0x0F;
        switch (code & 0xF0) {
        case kBindDone:
            if (!isLazy) {
                return;
            }
            break;
        case kBindSetLibrary: // names are told apart by themselves here
        case kBindSetSpecialLibrary:
        case kBindSetType:
            break;
        case kBindSetLongLibrary:
            codes.Unsigned();
            break;
        case kBindSetName:
            binding.mayLack = (immediate & kWeakImport) != 0;
            binding.name = codes.Text();
            break;
        case kBindSetAddend:
            binding.addend = codes.Signed();
            break;
        case kBindSetSegment:
            binding.place = InSegment(immediate, codes.Unsigned());
            break;
        case kBindAdd:
            binding.place += codes.Unsigned();
            break;
        case kBind:
            bind(1, 0);
            break;
        case kBindAndAdd:
            bind(1, codes.Unsigned());
            break;
        case kBindAndAddPointers:
            bind(1, immediate * sizeof(void*));
            break;
        case kBindManyAndSkip: {
            const std::uint64_t count = codes.Unsigned();
            bind(count, codes.Unsigned());
            break;
        }
        default:
            refuse(mPath + " has an unknown code among its bindings");
        }
    }
}

void MachImage::Set(const Binding& binding, const Resolve& resolve) const
{
    char* found = static_cast<char*>(resolve(binding.name));
    if (found == nullptr && !binding.mayLack) {
        refuse(mPath + " uses " + binding.name + ", which nothing stands for here");
    }
    found = found == nullptr ? nullptr : found + binding.addend;
    std::memcpy(binding.place, &found, sizeof found);
}

char* MachImage::InSegment(std::size_t number, std::uint64_t offset) const
{
    if (number >= mSegments.size()) {
        refuse(mPath + " has a table that names no segment");
    }
    return At(mSegments[number].address + offset);
}

void MachImage::Protect() const
{
    for (const SegmentCommand& segment : mSegments) {
        // Protections have the same numbers on both systems.
        if (segment.initialProtection != 0 && segment.size != 0
            && mprotect(At(segment.address), segment.size, segment.initialProtection) != 0) {
            refuse(mPath + ": " + fixedText(segment.name) + " cannot be protected");
        }
    }
}

void MachImage::RunInitialisers(int argumentCount, char** arguments, char** environment) const
{
    using Initialiser = void (*)(int, char**, char**);
    const Bytes pointers = SectionBytes("__DATA", "__mod_init_func");
    for (std::size_t offset = 0; offset < pointers.size; offset += sizeof(Initialiser)) {
        Initialiser initialise;
        std::memcpy(&initialise, pointers.begin + offset, sizeof initialise);
        initialise(argumentCount, arguments, environment);
    }
}

void* MachImage::Exported(const std::string& name) const
{
    const auto found = mExports.find(name);
    return found == mExports.end() ? nullptr : found->second;
}

void* MachImage::Entry() const
{
    return mEntryOffset == 0 ? nullptr : mBase + mEntryOffset;
}

MachImage::Bytes MachImage::SectionBytes(const std::string& segment, const std::string& name) const
{
    for (const SectionHeader& section : mSections) {
        if (fixedText(section.segment) == segment && fixedText(section.name) == name) {
            return { At(section.address), section.size };
        }
    }
    return {};
}
