// The parts of the Mach-O format that MachImage reads. Names and numbers are those of Darwin's <mach-o/loader.h>,
// <mach-o/nlist.h> and <mach-o/fat.h>, which Linux does not have.
#ifndef FALLCATCH_TESTS_MACOS_NATIVE_MACH_FORMAT_H
#define FALLCATCH_TESTS_MACOS_NATIVE_MACH_FORMAT_H

#include <cstddef>
#include <cstdint>

constexpr std::uint32_t kUniversalMagic = 0xCAFEBABE;
constexpr std::uint32_t kMagic = 0xFEEDFACF;
constexpr std::uint32_t kProcessorX8664 = 0x01000007;
constexpr std::size_t kNameSize = 16; // of segments and sections; not terminated when it is used up

// Load commands.
constexpr std::uint32_t kSymbolTable = 0x2;
constexpr std::uint32_t kSegment64 = 0x19;
constexpr std::uint32_t kDyldInfo = 0x22;
constexpr std::uint32_t kDyldInfoOnly = 0x80000022;
constexpr std::uint32_t kMain = 0x80000028;
constexpr std::uint32_t kChainedFixups = 0x80000034;

// Codes of the table of rebases, in the upper half of a byte.
constexpr unsigned char kRebaseDone = 0x00;
constexpr unsigned char kRebaseSetType = 0x10;
constexpr unsigned char kRebaseSetSegment = 0x20;
constexpr unsigned char kRebaseAdd = 0x30;
constexpr unsigned char kRebaseAddPointers = 0x40;
constexpr unsigned char kRebase = 0x50;
constexpr unsigned char kRebaseMany = 0x60;
constexpr unsigned char kRebaseAndAdd = 0x70;
constexpr unsigned char kRebaseManyAndSkip = 0x80;

// Codes of the tables of bindings.
constexpr unsigned char kBindDone = 0x00;
constexpr unsigned char kBindSetLibrary = 0x10;
constexpr unsigned char kBindSetLongLibrary = 0x20;
constexpr unsigned char kBindSetSpecialLibrary = 0x30;
constexpr unsigned char kBindSetName = 0x40;
constexpr unsigned char kBindSetType = 0x50;
constexpr unsigned char kBindSetAddend = 0x60;
constexpr unsigned char kBindSetSegment = 0x70;
constexpr unsigned char kBindAdd = 0x80;
constexpr unsigned char kBind = 0x90;
constexpr unsigned char kBindAndAdd = 0xA0;
constexpr unsigned char kBindAndAddPointers = 0xB0;
constexpr unsigned char kBindManyAndSkip = 0xC0;
constexpr unsigned char kWeakImport = 0x01; // in the lower half of kBindSetName

// Kinds of a symbol: bits for debuggers, hidden ones, the place, and external ones.
constexpr unsigned char kSymbolKinds = 0xE0 | 0x10 | 0x0E | 0x01;
constexpr unsigned char kDefinedInSection = 0x0E | 0x01;

struct MachHeader {
    std::uint32_t magic, processor, processorKind, fileKind, commandCount, commandBytes, flags, reserved;
};

struct LoadCommand {
    std::uint32_t kind, size;
};

struct SegmentCommand {
    LoadCommand command;
    char name[kNameSize];
    std::uint64_t address, size, fileOffset, fileSize;
    std::int32_t greatestProtection, initialProtection;
    std::uint32_t sectionCount, flags;
};

struct SectionHeader {
    char name[kNameSize], segment[kNameSize];
    std::uint64_t address, size;
    std::uint32_t fileOffset, alignment, relocationOffset, relocationCount, flags, reserved[3];
};

struct SymbolTableCommand {
    LoadCommand command;
    std::uint32_t offset, count, namesOffset, namesSize;
};

struct Symbol {
    std::uint32_t name;
    unsigned char type, section;
    std::uint16_t description;
    std::uint64_t value;
};

struct Range {
    std::uint32_t offset, size;
};

struct DyldInfoCommand {
    LoadCommand command;
    Range rebase, bind, weakBind, lazyBind, exports;
};

struct MainCommand {
    LoadCommand command;
    std::uint64_t entryOffset, stackSize;
};

static_assert(sizeof(SegmentCommand) == 72 && sizeof(SectionHeader) == 80 && sizeof(Symbol) == 16,
              "as on file");

#endif
