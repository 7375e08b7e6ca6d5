// libcurl writes a form while it sends it and compresses nothing of what it sends, so that the form is written here.
#include "SenderPack.h"

#include <algorithm>
#include <random>
#include <utility>
#include <zlib.h>

namespace BreakpadLinux {

namespace {

// zlib's number for a gzip head and the largest window.
constexpr int kGzipWindow = 15 + 16;
constexpr int kMemory = 8;
constexpr std::size_t kPiece = std::size_t { 64 } << 10;

class Packer {
public:
    explicit Packer(std::size_t limit)
        : mLimit(limit)
    {
        mGood =
            deflateInit2(&mStream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, kMemory, Z_DEFAULT_STRATEGY)
            == Z_OK;
    }
    Packer(const Packer&) = delete;
    Packer& operator=(const Packer&) = delete;
    ~Packer() { deflateEnd(&mStream); }

    // By pieces, as zlib counts in unsigned int.
    void Add(const char* bytes, std::size_t count)
    {
        for (std::size_t done = 0; done < count && mGood; done += kPiece) {
            pack(bytes + done, std::min(kPiece, count - done), Z_NO_FLUSH);
        }
    }
    void Add(const std::string& text) { Add(text.data(), text.size()); }

    // All that was added; nothing when any of it failed.
    std::optional<std::string> Finish()
    {
        if (mGood) {
            pack("", 0, Z_FINISH);
        }
        return mGood ? std::optional<std::string>(std::move(mPacked)) : std::nullopt;
    }

private:
    void pack(const char* bytes, std::size_t count, int flush)
    {
        mStream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes));
        mStream.avail_in = static_cast<uInt>(count);
        int result = Z_OK;
        do {
            mStream.next_out = reinterpret_cast<Bytef*>(mOut);
            mStream.avail_out = sizeof mOut;
            result = deflate(&mStream, flush);
            mPacked.append(mOut, sizeof mOut - mStream.avail_out);
        } while (result == Z_OK && mStream.avail_out == 0);
        // Z_BUF_ERROR: all of it had fitted exactly, and there was nothing left to do.
        const bool isDone =
            flush == Z_FINISH ? result == Z_STREAM_END : result == Z_OK || result == Z_BUF_ERROR;
        mGood = isDone && mPacked.size() <= mLimit;
    }

    const std::size_t mLimit;
    z_stream mStream = {};
    bool mGood = false;
    std::string mPacked;
    char mOut[kPiece];
};

// A line that no field and no dump holds, other than by a chance of one in 2 to the 128.
std::string newBoundary()
{
    std::random_device random;
    std::string boundary = "------------------------";
    for (int i = 0; i < 32; ++i) {
        boundary += "0123456789abcdef"[random() % 16];
    }
    return boundary;
}

// As browsers write names and libcurl does.
std::string quoted(const std::string& name)
{
    std::string text = "\"";
    for (const char c : name) {
        text += c == '"' ? "%22" : c == '\r' ? "%0D" : c == '\n' ? "%0A" : std::string(1, c);
    }
    return text + '"';
}

std::string fileHead(const std::string& line, const std::string& field, const std::string& name,
                     const std::string& type)
{
    return line + "Content-Disposition: form-data; name=" + quoted(field) + "; filename=" + quoted(name)
        + "\r\nContent-Type: " + type + "\r\n\r\n";
}

bool addDump(Packer& packer, PostedDump& dump)
{
    char piece[kPiece];
    ssize_t got = 0;
    while ((got = dump.Read(piece, sizeof piece)) > 0) {
        packer.Add(piece, static_cast<std::size_t>(got));
    }
    return got == 0;
}

} // namespace

std::optional<PackedForm> Pack(const Submission& submission, PostedDump& dump, std::size_t limit)
{
    PackedForm form;
    const std::string boundary = newBoundary();
    const std::string line = "--" + boundary + "\r\n";
    Packer packer(limit);
    for (const auto& field : submission.fields) {
        packer.Add(line + "Content-Disposition: form-data; name=" + quoted(field.first) + "\r\n\r\n"
                   + field.second + "\r\n");
    }
    for (const FormFile& file : submission.files) {
        packer.Add(fileHead(line, file.field, file.name, file.type) + file.contents + "\r\n");
    }
    packer.Add(fileHead(line, kDumpField, dump.Name(), kDumpType));
    if (!addDump(packer, dump)) {
        return std::nullopt;
    }
    packer.Add("\r\n--" + boundary + "--\r\n");
    auto bytes = packer.Finish();
    if (!bytes) {
        return std::nullopt;
    }
    form.type = "multipart/form-data; boundary=" + boundary;
    form.bytes = std::move(*bytes);
    return form;
}

} // namespace BreakpadLinux
