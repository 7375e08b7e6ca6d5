// A dump of this process is completed and blanked as in a crash, while one read or write after another fails.
#include "DumpFile.h"
#include "DumpNames.h"
#include "DumpPrivacy.h"
#include "DumpStack.h"
#include "FailingCalls.h"

#include "client/linux/handler/exception_handler.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace BreakpadLinux;
namespace fs = std::filesystem;

extern "C" {

ssize_t __real_pread64(int file, void* bytes, std::size_t count, off64_t offset);
ssize_t __real_pwrite64(int file, const void* bytes, std::size_t count, off64_t offset);
int __real_ftruncate64(int file, off64_t size);

ssize_t __wrap_pread64(int file, void* bytes, std::size_t count, off64_t offset)
{
    return fails() ? -1 : __real_pread64(file, bytes, count, offset);
}

ssize_t __wrap_pwrite64(int file, const void* bytes, std::size_t count, off64_t offset)
{
    return fails() ? -1 : __real_pwrite64(file, bytes, count, offset);
}

int __wrap_ftruncate64(int file, off64_t size)
{
    return fails() ? -1 : __real_ftruncate64(file, size);
}
}

namespace {

std::string contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
}

bool takePath(const google_breakpad::MinidumpDescriptor& descriptor, void* path, bool succeeded)
{
    *static_cast<std::string*>(path) = descriptor.path();
    return succeeded;
}

class DumpFailures : public testing::Test {
protected:
    DumpFailures()
    {
        char pattern[] = "/tmp/fallcatch-dump-XXXXXX";
        mFolder = mkdtemp(pattern);
        std::string path;
        EXPECT_TRUE(google_breakpad::ExceptionHandler::WriteMinidump(mFolder, takePath, &path));
        mFresh = contents(path);
    }
    ~DumpFailures() override { fs::remove_all(mFolder); }

    // As the crashed process does it. False when the dump has to go.
    bool Amend(const std::string& path) const
    {
        const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
        static DumpFile dump;
        const bool done =
            dump.Open(file) && BlankTexts(dump, mTexts) && Complete(dump) && BlankTexts(dump, mTexts);
        close(file);
        return done;
    }

    bool Complete(DumpFile& dump) const
    {
        CompleteStack(dump, static_cast<std::uint32_t>(syscall(SYS_gettid)));
        AddThreadNames(dump);
        AddDistribution(dump);
        const Note notes[] = { { "prod", "App", 3 }, { "ver", nullptr, 0 } };
        AddNotes(dump, notes, 2);
        dump.Commit();
        return true;
    }

    std::string Copy() const
    {
        const std::string path = mFolder + "/copy.dmp";
        std::ofstream(path, std::ios::binary) << mFresh;
        return path;
    }

    // As the kernel has it; long enough to be met by no chance.
    static std::string Secret()
    {
        const std::string all = contents("/proc/self/environ");
        const std::size_t path = all.find("PATH=");
        return path == std::string::npos ? "" : all.substr(path + 5, all.find('\0', path) - path - 5);
    }

    std::string mFolder;
    std::string mFresh;
    const ProcessTexts mTexts = FindProcessTexts();
};

} // namespace

TEST_F(DumpFailures, WhicheverCallFailsNoDumpWithTheEnvironmentIsLeft)
{
    const std::string secret = Secret();
    ASSERT_GT(secret.size(), 8U);
    ASSERT_NE(mFresh.find(secret), std::string::npos) << "the test would show nothing";
    gError = EIO;
    int kept = 0;
    int calls = 0;
    for (bool all = false; !all; ++calls) {
        ASSERT_LT(calls, 5000);
        const std::string path = Copy();
        gUntilFailure = calls;
        const bool stays = Amend(path);
        all = gUntilFailure >= 0;
        gUntilFailure = -1;
        if (stays) {
            ++kept;
            EXPECT_EQ(contents(path).find(secret), std::string::npos) << "call " << calls;
            EXPECT_EQ(contents(path).compare(0, 4, "MDMP"), 0) << "call " << calls;
        }
    }
    EXPECT_GT(calls, 20);
    EXPECT_GT(kept, 1) << "what only adds may fail";
    EXPECT_LT(kept, calls);
}

TEST_F(DumpFailures, ACallThatASignalInterruptsIsMadeAgain)
{
    const std::string path = Copy();
    ASSERT_TRUE(Amend(path));
    const std::string undisturbed = contents(path);
    gError = EINTR;
    for (int call = 0; call < 60; call += 3) {
        Copy();
        gUntilFailure = call;
        EXPECT_TRUE(Amend(path)) << call;
        gUntilFailure = -1;
        EXPECT_EQ(contents(path).size(), undisturbed.size()) << call;
    }
}

TEST_F(DumpFailures, WhatIsNoDumpIsNotTouched)
{
    for (const std::string& bytes :
         { std::string(), std::string("MDMP"), std::string(4096, 'x'), mFresh.substr(0, 40) }) {
        const std::string path = mFolder + "/none.dmp";
        std::ofstream(path, std::ios::binary) << bytes;
        EXPECT_FALSE(Amend(path)) << bytes.size();
        EXPECT_EQ(contents(path), bytes);
    }
}

TEST_F(DumpFailures, ThereIsRoomForSoManyStreams)
{
    const int file = open(Copy().c_str(), O_RDWR | O_CLOEXEC);
    static DumpFile dump;
    ASSERT_TRUE(dump.Open(file));
    const MDLocationDescriptor nowhere = {};
    std::uint32_t type = 0x77770000;
    while (dump.Put(type, nowhere)) {
        ASSERT_LT(type, 0x77770000 + DumpFile::kMostStreams);
        ++type;
    }
    EXPECT_GT(type, 0x77770000U);
    EXPECT_TRUE(dump.Put(type - 1, nowhere)) << "in the place of one that is there";
    close(file);
}

// Breakpad leaves out what it cannot write.
TEST_F(DumpFailures, WhicheverStreamIsMissingTheOthersAreCompleted)
{
    MDRawHeader header = {};
    std::memcpy(&header, mFresh.data(), sizeof(header));
    const std::string whole = mFresh;
    for (std::uint32_t i = 0; i < header.stream_count; ++i) {
        MDRawDirectory stream = {};
        const std::size_t place = header.stream_directory_rva + i * sizeof(stream);
        std::memcpy(&stream, whole.data() + place, sizeof(stream));
        stream.stream_type = 0x77770000 + i;
        mFresh = whole;
        mFresh.replace(place, sizeof(stream), reinterpret_cast<const char*>(&stream), sizeof(stream));
        const std::string path = Copy();
        EXPECT_TRUE(Amend(path)) << i;
        MDRawHeader amended = {};
        std::memcpy(&amended, contents(path).data(), sizeof(amended));
        EXPECT_EQ(amended.signature, header.signature);
        EXPECT_GE(amended.stream_count, header.stream_count);
    }
}

TEST_F(DumpFailures, ADumpOfMoreStreamsThanThereIsRoomForHasToGo)
{
    const std::uint32_t many = DumpFile::kMostStreams + 1;
    mFresh.replace(offsetof(MDRawHeader, stream_count), sizeof(many), reinterpret_cast<const char*>(&many),
                   sizeof(many));
    EXPECT_FALSE(Amend(Copy()));
}

// Where a system has this file its contents stand for the distribution, and nothing is added.
TEST_F(DumpFailures, ADistributionThatIsThereStays)
{
    const int file = open(Copy().c_str(), O_RDWR | O_CLOEXEC);
    static DumpFile dump;
    ASSERT_TRUE(dump.Open(file));
    MDLocationDescriptor where = {};
    ASSERT_TRUE(dump.Append("here", 4, where));
    ASSERT_TRUE(dump.Put(MD_LINUX_LSB_RELEASE, where));
    AddDistribution(dump);
    const MDRawDirectory* stream = dump.Find(MD_LINUX_LSB_RELEASE);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->location.rva, where.rva);
    EXPECT_EQ(stream->location.data_size, 4U);
    close(file);
}

TEST_F(DumpFailures, OfTwentyNotesSixteenAreAdded)
{
    const int file = open(Copy().c_str(), O_RDWR | O_CLOEXEC);
    static DumpFile dump;
    ASSERT_TRUE(dump.Open(file));
    Note notes[20];
    for (Note& note : notes) {
        note = { "name", "text", 4 };
    }
    AddNotes(dump, notes, 20);
    const MDRawDirectory* stream = dump.Find(MD_CRASHPAD_INFO_STREAM);
    ASSERT_NE(stream, nullptr);
    MDRawCrashpadInfo info = {};
    std::uint32_t count = 0;
    ASSERT_TRUE(dump.Read(stream->location.rva, &info, offsetof(MDRawCrashpadInfo, reserved)));
    ASSERT_TRUE(dump.Read(info.simple_annotations.rva, &count, sizeof(count)));
    EXPECT_EQ(count, 16U);
    close(file);
}

TEST_F(DumpFailures, WithoutADescriptorToSpareTheEnvironmentGoesAllTheSame)
{
    const std::string secret = Secret();
    const std::string path = Copy();
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    static DumpFile dump;
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = 3;
    setrlimit(RLIMIT_NOFILE, &limit);
    const ProcessTexts none = FindProcessTexts();
    const bool done = dump.Open(file) && BlankTexts(dump, mTexts) && Complete(dump) && BlankTexts(dump, mTexts);
    limit.rlim_cur = before;
    setrlimit(RLIMIT_NOFILE, &limit);
    close(file);
    EXPECT_EQ(none.variablesEnd, 0U);
    EXPECT_TRUE(done);
    EXPECT_EQ(contents(path).find(secret), std::string::npos);
}

TEST(AbortNote, IsTheTextWithoutItsLineEnds)
{
    EXPECT_EQ(AbortNote(nullptr).text, nullptr);
    const char* text = nullptr;
    EXPECT_EQ(AbortNote(&text).text, nullptr);
    const std::string said = std::string(sizeof(unsigned int), 'x') + "assertion failed\n\n";
    text = said.c_str();
    EXPECT_EQ(AbortNote(&text).length, 16U);
    const std::string nothing = std::string(sizeof(unsigned int), 'x') + "\n";
    text = nothing.c_str();
    EXPECT_EQ(AbortNote(&text).length, 0U);
}
