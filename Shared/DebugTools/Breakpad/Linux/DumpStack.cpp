#include "DumpStack.h"

#include <unistd.h>

namespace BreakpadLinux {

namespace {

constexpr std::uint64_t kToCapture = 32 * 1024;
// How far a frame of one function may have jumped over the end of the stack.
constexpr std::uint64_t kFarthest = 1024 * 1024;

struct Found {
    MDRawThread thread = {};
    std::uint64_t place = 0; // of it in the file
};

bool findThread(DumpFile& dump, std::uint32_t id, Found& found)
{
    const MDRawDirectory* stream = dump.Find(MD_THREAD_LIST_STREAM);
    std::uint32_t count = 0;
    if (stream == nullptr || !dump.Read(stream->location.rva, &count, sizeof(count))) {
        return false;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        found.place = stream->location.rva + sizeof(count) + std::uint64_t { i } * sizeof(MDRawThread);
        if (!dump.Read(found.place, &found.thread, sizeof(found.thread))) {
            return false;
        }
        if (found.thread.thread_id == id) {
            return true;
        }
    }
    return false;
}

const void* memoryAt(std::uint64_t address)
{
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(address));
}

// The kernel looks for us, and faults for us.
bool isReadable(std::uint64_t address)
{
    int ends[2];
    if (pipe(ends) != 0) {
        return false;
    }
    const bool readable = write(ends[1], memoryAt(address), 1) == 1;
    close(ends[0]);
    close(ends[1]);
    return readable;
}

// The list with the thread's new stack, in place of the old one or behind all others.
bool putIntoMemoryList(DumpFile& dump, const MDMemoryDescriptor& stack)
{
    const MDRawDirectory* stream = dump.Find(MD_MEMORY_LIST_STREAM);
    std::uint32_t count = 0;
    if (stream == nullptr || !dump.Read(stream->location.rva, &count, sizeof(count))) {
        return false;
    }
    const std::uint64_t old = stream->location.rva + sizeof(count);
    MDLocationDescriptor where = {};
    dump.AppendZeros(sizeof(count) + (std::size_t { count } + 1) * sizeof(stack), where);
    std::uint32_t written = 0;
    for (std::uint32_t i = 0; i <= count; ++i) {
        MDMemoryDescriptor memory = stack;
        if (i < count && !dump.Read(old + std::uint64_t { i } * sizeof(memory), &memory, sizeof(memory))) {
            return false;
        }
        if (i < count && memory.start_of_memory_range == stack.start_of_memory_range) {
            continue;
        }
        const std::uint64_t place = where.rva + sizeof(count) + std::uint64_t { written++ } * sizeof(memory);
        if (!dump.Write(place, &memory, sizeof(memory))) {
            return false;
        }
    }
    where.data_size = static_cast<std::uint32_t>(sizeof(count) + written * sizeof(stack));
    return dump.Write(where.rva, &written, sizeof(written)) && dump.Put(MD_MEMORY_LIST_STREAM, where);
}

} // namespace

void CompleteStack(DumpFile& dump, std::uint32_t id)
{
    Found found;
    if (!findThread(dump, id, found)) {
        return;
    }
    const auto page = static_cast<std::uint64_t>(getpagesize());
    const std::uint64_t start = found.thread.stack.start_of_memory_range / page * page;
    std::uint64_t readable = start;
    while (readable - start < kFarthest && !isReadable(readable)) {
        readable += page;
    }
    if (readable == start || readable - start >= kFarthest) {
        return;
    }
    std::uint64_t end = readable;
    while (end - readable < kToCapture && isReadable(end)) {
        end += page;
    }
    const auto gap = static_cast<std::size_t>(readable - start);
    const auto size = static_cast<std::size_t>(end - start);
    MDMemoryDescriptor stack = {};
    stack.start_of_memory_range = start;
    dump.AppendZeros(size, stack.memory);
    found.thread.stack = stack;
    if (dump.Write(stack.memory.rva + gap, memoryAt(readable), size - gap) && putIntoMemoryList(dump, stack)) {
        dump.Write(found.place, &found.thread, sizeof(found.thread));
    }
}

} // namespace BreakpadLinux
