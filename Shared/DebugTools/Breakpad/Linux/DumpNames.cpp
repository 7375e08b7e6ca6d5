#include "DumpNames.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

namespace BreakpadLinux {

namespace {

constexpr std::uint32_t kMostThreads = 1024;
constexpr std::size_t kMostNotes = 16;
constexpr std::size_t kLongestNote = 1000;

// The stack of a signal handler is small.
MDRawThreadName gNames[kMostThreads];
char gText[4096];

std::size_t readFile(const char* path, char* bytes, std::size_t size)
{
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t count = file < 0 ? 0 : read(file, bytes, size);
    if (file >= 0) {
        close(file);
    }
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

// "/proc/self/task/<thread>/comm"
void makeCommPath(char (&path)[64], std::uint32_t thread)
{
    char digits[12];
    std::size_t count = 0;
    do {
        digits[count++] = static_cast<char>('0' + thread % 10);
        thread /= 10;
    } while (thread != 0);
    constexpr char kThreads[] = "/proc/self/task/";
    constexpr char kName[] = "/comm";
    memcpy(path, kThreads, sizeof kThreads - 1);
    char* next = path + sizeof kThreads - 1;
    while (count > 0) {
        *next++ = digits[--count];
    }
    memcpy(next, kName, sizeof kName);
}

// Names are ASCII as a rule; what is not is shown as a question mark.
bool appendName(DumpFile& dump, const char* name, std::size_t length, MDLocationDescriptor& where)
{
    struct {
        std::uint32_t bytes;
        std::uint16_t units[32];
    } text = {};
    for (std::size_t i = 0; i < length && i < 31; ++i) {
        const auto byte = static_cast<unsigned char>(name[i]);
        text.units[i] = byte < 0x80 ? byte : '?';
        text.bytes += 2;
    }
    return dump.Append(&text, sizeof(text.bytes) + text.bytes + 2, where);
}

bool appendUtf8(DumpFile& dump, const char* text, std::size_t length, MDRVA& where)
{
    const auto size = static_cast<std::uint32_t>(length < kLongestNote ? length : kLongestNote);
    memcpy(gText, &size, sizeof(size));
    memcpy(gText + sizeof(size), text, size);
    gText[sizeof(size) + size] = '\0';
    MDLocationDescriptor location = {};
    const bool appended = dump.Append(gText, sizeof(size) + size + 1, location);
    where = location.rva;
    return appended;
}

} // namespace

void AddThreadNames(DumpFile& dump)
{
    const MDRawDirectory* stream = dump.Find(MD_THREAD_LIST_STREAM);
    std::uint32_t count = 0;
    if (stream == nullptr || !dump.Read(stream->location.rva, &count, sizeof(count))) {
        return;
    }
    const MDRVA list = stream->location.rva;
    std::uint32_t named = 0;
    for (std::uint32_t i = 0; i < count && named < kMostThreads; ++i) {
        MDRawThread thread = {};
        if (!dump.Read(list + sizeof(count) + std::uint64_t { i } * sizeof(thread), &thread, sizeof(thread))) {
            return;
        }
        char path[64];
        char name[32];
        makeCommPath(path, thread.thread_id);
        const std::size_t length = readFile(path, name, sizeof(name));
        MDLocationDescriptor where = {};
        // The file ends with a line feed; a thread that has ended meanwhile has none.
        if (length > 1 && appendName(dump, name, length - 1, where)) {
            gNames[named].thread_id = thread.thread_id;
            gNames[named].thread_name_rva = where.rva;
            ++named;
        }
    }
    MDLocationDescriptor head = {};
    dump.AppendZeros(sizeof(named) + named * sizeof(*gNames), head);
    if (dump.Write(head.rva, &named, sizeof(named))
        && dump.Write(head.rva + sizeof(named), gNames, named * sizeof(*gNames))) {
        dump.Put(MD_THREAD_NAME_LIST_STREAM, head);
    }
}

void AddDistribution(DumpFile& dump)
{
    MDLocationDescriptor where = {};
    if (dump.Find(MD_LINUX_LSB_RELEASE) != nullptr) {
        return;
    }
    const std::size_t length = readFile("/etc/os-release", gText, sizeof(gText));
    if (length > 0 && dump.Append(gText, length, where)) {
        dump.Put(MD_LINUX_LSB_RELEASE, where);
    }
}

void AddNotes(DumpFile& dump, const Note* notes, std::size_t count)
{
    struct {
        std::uint32_t count;
        MDRawSimpleStringDictionaryEntry entries[kMostNotes];
    } dictionary = {};
    for (std::size_t i = 0; i < count && dictionary.count < kMostNotes; ++i) {
        MDRawSimpleStringDictionaryEntry& entry = dictionary.entries[dictionary.count];
        if (notes[i].text != nullptr && appendUtf8(dump, notes[i].name, strlen(notes[i].name), entry.key)
            && appendUtf8(dump, notes[i].text, notes[i].length, entry.value)) {
            ++dictionary.count;
        }
    }
    MDRawCrashpadInfo info = {};
    info.version = 1;
    MDLocationDescriptor where = {};
    const std::size_t size = sizeof(dictionary.count) + dictionary.count * sizeof(*dictionary.entries);
    // Up to the field that later versions have added.
    if (dump.Append(&dictionary, size, info.simple_annotations)
        && dump.Append(&info, offsetof(MDRawCrashpadInfo, reserved), where)) {
        dump.Put(MD_CRASHPAD_INFO_STREAM, where);
    }
}

AbortText FindAbortText()
{
    // Private to glibc, which keeps it for those who read its core files.
    return static_cast<AbortText>(dlvsym(RTLD_DEFAULT, "__abort_msg", "GLIBC_PRIVATE"));
}

// The text lies behind its length as an unsigned int.
Note AbortNote(AbortText text)
{
    const char* message = text != nullptr ? *text : nullptr;
    if (message == nullptr) {
        return { "abort_message", nullptr, 0 };
    }
    const char* begin = message + sizeof(unsigned int);
    std::size_t length = strnlen(begin, kLongestNote);
    while (length > 0 && begin[length - 1] == '\n') {
        --length;
    }
    return { "abort_message", begin, length };
}

} // namespace BreakpadLinux
