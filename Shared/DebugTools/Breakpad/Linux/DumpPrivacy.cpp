#include "DumpPrivacy.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace BreakpadLinux {

namespace {

// The stack of a signal handler is small.
char gPiece[4096];

bool blankPart(DumpFile& dump, Blanker blanker, std::uint64_t offset, std::uint64_t count)
{
    while (count > 0) {
        const auto now = static_cast<std::size_t>(std::min<std::uint64_t>(count, sizeof(gPiece)));
        if (!dump.Read(offset, gPiece, now)) {
            return false;
        }
        blanker.Blank(gPiece, now);
        if (!dump.Write(offset, gPiece, now)) {
            return false;
        }
        offset += now;
        count -= now;
    }
    return true;
}

bool blankStream(DumpFile& dump, std::uint32_t type, Blanker::Kind kind)
{
    const MDRawDirectory* stream = dump.Find(type);
    return stream == nullptr
        || blankPart(dump, Blanker(kind), stream->location.rva, stream->location.data_size);
}

// What a piece of memory in the dump has of the texts between begin and end. A piece that begins in their
// middle may begin in the middle of a value, so all of it goes.
bool blankMemory(DumpFile& dump, const MDMemoryDescriptor& memory, std::uint64_t begin, std::uint64_t end,
                 Blanker::Kind kind)
{
    const std::uint64_t first = memory.start_of_memory_range;
    const std::uint64_t from = std::max(first, begin);
    const std::uint64_t to = std::min(first + memory.memory.data_size, end);
    if (from >= to) {
        return true;
    }
    Blanker blanker(kind);
    if (from != begin) {
        char middle[] = { '=', '\0' };
        blanker.Blank(middle, kind == Blanker::Kind::variables ? 1 : 2);
    }
    return blankPart(dump, blanker, memory.memory.rva + (from - first), to - from);
}

} // namespace

ProcessTexts FindProcessTexts()
{
    ProcessTexts texts;
    char line[2048];
    std::FILE* file = std::fopen("/proc/self/stat", "re");
    const char* found = file != nullptr ? std::fgets(line, sizeof(line), file) : nullptr;
    if (file != nullptr) {
        std::fclose(file);
    }
    // proc(5): the second field, the program's name in parentheses, may hold anything; arg_start is the 48th.
    const char* field = found != nullptr ? std::strrchr(line, ')') : nullptr;
    for (int number = 2; number < 48 && field != nullptr; ++number) {
        field = std::strchr(field + 1, ' ');
    }
    unsigned long long values[4] = {};
    if (field == nullptr
        || std::sscanf(field, " %llu %llu %llu %llu", &values[0], &values[1], &values[2], &values[3]) != 4) {
        return texts;
    }
    texts = { values[0], values[1], values[2], values[3] };
    return texts;
}

bool Blanker::mayStay() const
{
    return (mLength == 4 && std::memcmp(mName, "LANG", 4) == 0)
        || (mLength == 2 && std::memcmp(mName, "TZ", 2) == 0)
        || (mLength > 3 && std::memcmp(mName, "LC_", 3) == 0);
}

void Blanker::take(char& byte)
{
    if (mInside) {
        byte = mStays ? byte : '*';
    } else if (mKind == Kind::variables && byte == '=') {
        mInside = true;
        mStays = mayStay();
    } else {
        if (mLength < sizeof(mName)) {
            mName[mLength] = byte;
        }
        ++mLength;
    }
}

void Blanker::Blank(char* bytes, std::uint64_t count)
{
    for (std::uint64_t i = 0; i < count; ++i) {
        if (bytes[i] != '\0') {
            take(bytes[i]);
            continue;
        }
        mInside = mKind == Kind::arguments;
        mStays = false;
        mLength = 0;
    }
}

bool BlankTexts(DumpFile& dump, const ProcessTexts& texts)
{
    if (!blankStream(dump, MD_LINUX_ENVIRON, Blanker::Kind::variables)
        || !blankStream(dump, MD_LINUX_CMD_LINE, Blanker::Kind::arguments)) {
        return false;
    }
    const MDRawDirectory* stream = dump.Find(MD_MEMORY_LIST_STREAM);
    std::uint32_t count = 0;
    if (stream == nullptr) {
        return true;
    }
    if (!dump.Read(stream->location.rva, &count, sizeof(count))) {
        return false;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        MDMemoryDescriptor memory = {};
        const std::uint64_t where = stream->location.rva + sizeof(count) + std::uint64_t { i } * sizeof(memory);
        if (!dump.Read(where, &memory, sizeof(memory))
            || !blankMemory(dump, memory, texts.argumentsBegin, texts.argumentsEnd, Blanker::Kind::arguments)
            || !blankMemory(dump, memory, texts.variablesBegin, texts.variablesEnd, Blanker::Kind::variables)) {
            return false;
        }
    }
    return true;
}

} // namespace BreakpadLinux
