// Reports that are posted compressed.
#include "RawServer.h"
#include "SenderPack.h"
#include "SenderUpload.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <zlib.h>

using namespace BreakpadLinux;

namespace {

bool gHasNoMemory = false;

} // namespace

// zlib's own, unless a test has it fail.
extern "C" int ZEXPORT deflateInit2_(z_streamp stream, int level, int method, int window, int memory,
                                     int strategy, const char* version, int size)
{
    using Function = decltype(&deflateInit2_);
    static const Function real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "deflateInit2_"));
    return gHasNoMemory ? Z_MEM_ERROR : real(stream, level, method, window, memory, strategy, version, size);
}

namespace {

std::string unpacked(const std::string& packed)
{
    std::string text;
    char piece[65536];
    z_stream stream = {};
    EXPECT_EQ(inflateInit2(&stream, 15 + 16), Z_OK); // gzip and nothing else
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    int result = Z_OK;
    while (result == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef*>(piece);
        stream.avail_out = sizeof piece;
        result = inflate(&stream, Z_NO_FLUSH);
        text.append(piece, sizeof piece - stream.avail_out);
    }
    EXPECT_EQ(result, Z_STREAM_END);
    EXPECT_EQ(stream.avail_in, 0U);
    inflateEnd(&stream);
    return text;
}

std::string bodyOf(const std::string& request)
{
    return request.substr(request.find("\r\n\r\n") + 4);
}

bool isPacked(const std::string& request)
{
    const std::size_t place = request.find("Content-Encoding: gzip\r\n");
    return place < request.find("\r\n\r\n");
}

std::string answer(const std::string& status)
{
    return "HTTP/1.1 " + status + "\r\nContent-Length: 13\r\n\r\nCrashID=bp-1\n";
}

class SenderPack : public testing::Test {
protected:
    SenderPack()
    {
        char pattern[] = "/tmp/fallcatch-pack-XXXXXX";
        mFolder = mkdtemp(pattern);
        unsetenv("http_proxy");
        mSubmission.dump = mFolder + "/1-2-3.dmp";
        mSubmission.fields = { { "ProductName", "App" } };
        mSubmission.gzip = true;
        WriteDump("MDMP of few bytes");
    }
    ~SenderPack() override { std::filesystem::remove_all(mFolder); }

    void WriteDump(const std::string& bytes) const
    {
        std::ofstream(mSubmission.dump, std::ios::binary) << bytes;
    }

    Answer UploadTo(const RawServer& server)
    {
        mSubmission.url = server.Url();
        return Upload(mSubmission);
    }

    std::string mFolder;
    Submission mSubmission;
};

std::string noise(std::size_t count)
{
    std::mt19937 random(1);
    std::string bytes(count, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

// As dumps are: much of it the same again and again.
std::string largeDump()
{
    std::string bytes = "MDMP";
    while (bytes.size() < 9600000) {
        bytes += noise(4096) + std::string(60000, '\0');
    }
    return bytes;
}

} // namespace

TEST_F(SenderPack, IsTheFormByteForByte)
{
    mSubmission.fields = { { "a\"b\r\n", "value" } };
    mSubmission.files = { { "upload_file_log", "1.log", "text/plain; charset=utf-8", "lines\n" } };
    PostedDump dump(mSubmission.dump);
    const auto form = Pack(mSubmission, dump);
    ASSERT_TRUE(form);
    const std::string start = "multipart/form-data; boundary=";
    ASSERT_EQ(form->type.rfind(start, 0), 0U);
    const std::string line = "--" + form->type.substr(start.size());
    EXPECT_LE(line.size(), 2U + 70U) << "as RFC 2046 has it";
    EXPECT_EQ(
        unpacked(form->bytes),
        line + "\r\nContent-Disposition: form-data; name=\"a%22b%0D%0A\"\r\n\r\nvalue\r\n" + line
            + "\r\nContent-Disposition: form-data; name=\"upload_file_log\"; filename=\"1.log\"\r\n"
              "Content-Type: text/plain; charset=utf-8\r\n\r\nlines\n\r\n"
            + line
            + "\r\nContent-Disposition: form-data; name=\"upload_file_minidump\"; filename=\"1-2-3.dmp\"\r\n"
              "Content-Type: application/octet-stream\r\n\r\nMDMP of few bytes\r\n"
            + line + "--\r\n");
}

TEST_F(SenderPack, WhatCannotBeMadeSmallerComesOutWhole)
{
    // Around the sizes of zlib's and the packer's own pieces too.
    for (const std::size_t size : { std::size_t { 0 }, std::size_t { 65536 }, std::size_t { 300001 } }) {
        const std::string bytes = noise(size);
        WriteDump(bytes);
        PostedDump dump(mSubmission.dump);
        const auto form = Pack(mSubmission, dump);
        ASSERT_TRUE(form);
        EXPECT_NE(unpacked(form->bytes).find("\r\n\r\n" + bytes + "\r\n--"), std::string::npos) << size;
    }
}

TEST_F(SenderPack, IsNotMadeBeyondItsLimit)
{
    WriteDump(noise(100000));
    PostedDump dump(mSubmission.dump);
    EXPECT_FALSE(Pack(mSubmission, dump, 99999));
    dump.Seek(0, SEEK_SET);
    EXPECT_TRUE(Pack(mSubmission, dump, 101000));
}

TEST_F(SenderPack, IsNotMadeOfADumpThatCannotBeRead)
{
    PostedDump none(mFolder + "/none.dmp");
    EXPECT_FALSE(Pack(mSubmission, none));
}

TEST_F(SenderPack, ThePostIsCompressedAsAWhole)
{
    const RawServer server({ Behaviour::Before::readAll, answer("200 OK") });
    EXPECT_EQ(UploadTo(server).status, 200);
    ASSERT_EQ(server.Requests().size(), 1U);
    const std::string request = server.Requests()[0];
    EXPECT_TRUE(isPacked(request)) << request;
    EXPECT_NE(request.find("\r\nContent-Type: multipart/form-data; boundary="), std::string::npos);
    const std::string form = unpacked(bodyOf(request));
    EXPECT_NE(form.find("\r\n\r\nMDMP of few bytes\r\n"), std::string::npos) << form;
    EXPECT_NE(form.find("name=\"ProductName\"\r\n\r\nApp\r\n"), std::string::npos) << form;
}

TEST_F(SenderPack, NothingIsCompressedUnlessAskedFor)
{
    mSubmission.gzip = false;
    const RawServer server({ Behaviour::Before::readAll, answer("200 OK") });
    EXPECT_EQ(UploadTo(server).status, 200);
    EXPECT_FALSE(isPacked(server.Requests().at(0)));
    EXPECT_NE(bodyOf(server.Requests()[0]).find("\r\n\r\nMDMP of few bytes\r\n"), std::string::npos);
}

TEST_F(SenderPack, ALargeDumpArrivesWholeInAFractionOfItsBytes)
{
    const std::string bytes = largeDump();
    WriteDump(bytes);
    const RawServer server({ Behaviour::Before::readAll, answer("200 OK") });
    EXPECT_EQ(UploadTo(server).status, 200);
    const std::string body = bodyOf(server.Requests().at(0));
    EXPECT_LT(body.size(), bytes.size() / 10);
    EXPECT_TRUE(unpacked(body).find("\r\n\r\n" + bytes + "\r\n--") != std::string::npos);
}

TEST_F(SenderPack, WhatCannotBeCompressedIsPostedAsItIs)
{
    gHasNoMemory = true;
    const RawServer server({ Behaviour::Before::readAll, answer("200 OK") });
    EXPECT_EQ(UploadTo(server).status, 200);
    gHasNoMemory = false;
    EXPECT_EQ(server.Connections(), 1);
    EXPECT_FALSE(isPacked(server.Requests().at(0)));
    EXPECT_NE(bodyOf(server.Requests()[0]).find("\r\n\r\nMDMP of few bytes\r\n"), std::string::npos);
}

TEST_F(SenderPack, AServerThatDoesNotKnowTheEncodingGetsThePostAsItIs)
{
    const RawServer server({ Behaviour::Before::readAll, answer("415 Unsupported Media Type"),
                             Behaviour::After::close, answer("200 OK") });
    EXPECT_EQ(UploadTo(server).status, 200);
    ASSERT_EQ(server.Requests().size(), 2U);
    EXPECT_TRUE(isPacked(server.Requests()[0]));
    EXPECT_FALSE(isPacked(server.Requests()[1]));
    EXPECT_NE(bodyOf(server.Requests()[1]).find("\r\n\r\nMDMP of few bytes\r\n"), std::string::npos);
}

TEST_F(SenderPack, AServerThatTakesItNeitherWayIsAskedNoThirdTime)
{
    const RawServer server({ Behaviour::Before::readAll, answer("415 Unsupported Media Type") });
    EXPECT_EQ(UploadTo(server).status, 415);
    EXPECT_EQ(server.Connections(), 2);
}

TEST_F(SenderPack, ARetryIsCompressedAgain)
{
    const RawServer server(
        { Behaviour::Before::readAll, answer("503 Busy"), Behaviour::After::close, answer("200 OK") });
    EXPECT_EQ(UploadTo(server).status, 503);
    EXPECT_EQ(server.Connections(), 1);
    EXPECT_EQ(UploadTo(server).status, 200);
    ASSERT_EQ(server.Requests().size(), 2U);
    for (const std::string& request : server.Requests()) {
        EXPECT_TRUE(isPacked(request));
        EXPECT_NE(unpacked(bodyOf(request)).find("filename=\"1-2-3.dmp\""), std::string::npos);
    }
}
