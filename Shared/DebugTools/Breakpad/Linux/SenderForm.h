// The form that is posted: the report's fields, its files and its dump.
#ifndef FALLCATCH_BREAKPAD_SENDER_FORM_H
#define FALLCATCH_BREAKPAD_SENDER_FORM_H

#include "OwnFiles.h"
#include "SenderReport.h"

#include <curl/curl.h>
#include <string>
#include <sys/types.h>
#include <unistd.h>

namespace BreakpadLinux {

constexpr char kDumpField[] = "upload_file_minidump";
constexpr char kDumpType[] = "application/octet-stream";

// The dump, read as it is sent, from the very file that was looked at.
class PostedDump {
public:
    explicit PostedDump(const std::string& path);

    bool IsThere() const { return static_cast<bool>(mFile); }
    const std::string& Name() const { return mName; }
    std::uint64_t Bytes() const { return mFacts.bytes; }

    // As read(2): 0 at the end, below 0 for an error.
    ssize_t Read(char* bytes, std::size_t size) { return ::read(mFile.Number(), bytes, size); }
    // As lseek(2).
    bool Seek(off_t offset, int origin) { return lseek(mFile.Number(), offset, origin) >= 0; }

private:
    std::string mName;
    Descriptor mFile;
    FileFacts mFacts;
};

// Makes the library write the form while it is sent; the dump must live as long. False without memory.
bool FillForm(curl_mime* mime, const Submission& submission, PostedDump& dump);

} // namespace BreakpadLinux

#endif
