// The objects that logs of processes lie in: without memory, of others, with anything in them.
#include "LastingLogFixture.h"

#include "hslog/HSLCrashLog.h"
#include "hslog/crash/CrashLedger.h"
#include "hslog/crash/CrashLogText.h"
#include "hslog/crash/DeadLogs.h"
#include "platform/KxSharedObjects.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CLogManager;

namespace {

int gBytesLeft = -1; // of the file system that objects lie in, where that is full; else -1

} // namespace

// In the C library's place.
extern "C" int posix_fallocate(int file, off_t from, off_t size)
{
    if (gBytesLeft >= 0 && size > gBytesLeft) {
        return ENOSPC;
    }
    gBytesLeft -= gBytesLeft >= 0 ? static_cast<int>(size) : 0;
    const int flags = 0;
    return fallocate(file, flags, from, size) == 0 ? 0 : errno;
}

TEST_F(LastingLog, WithoutMemoryItIsRefusedAndLoggingGoesOn)
{
    for (const int bytes : { 0, 4096, 65536 }) {
        const pid_t child = fork();
        if (child == 0) {
            gBytesLeft = bytes;
            const bool isRefused = HSL::MakeLogLast(mProduct.c_str()) == ENOSPC && Objects() == 0;
            ManualPass pass;
            logTo(*pass.Manager().GetTLSContext(), 1);
            pass.Manager().Collect();
            _exit(isRefused && pass.lines.size() == 1 ? 0 : 1);
        }
        EXPECT_EQ(EndOf(child), 0) << bytes;
    }
}

TEST_F(LastingLog, BeyondTheLimitOfFilesItIsRefusedWithoutASignal)
{
    const pid_t child = fork();
    if (child == 0) {
        const rlimit limit = { 1 << 20, 1 << 20 };
        setrlimit(RLIMIT_FSIZE, &limit);
        _exit(HSL::MakeLogLast(mProduct.c_str()) == EFBIG && Objects() == 0 ? 0 : 1);
    }
    EXPECT_EQ(EndOf(child), 0);
}

TEST_F(LastingLog, RingsThatFindNoMemoryAnyMoreDoNotLast)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  logTo(*manager.GetTLSContext(), 2);
                  gBytesLeft = 0;
                  std::thread([&manager] {
                      manager.GetTLSContext()->SetName("late");
                      logTo(*manager.GetTLSContext(), 2);
                  }).join();
                  manager.AddFormatString(std::string(60000, 'f').c_str());
                  manager.AddFormatString(std::string(60000, 'f').c_str());
                  manager.Collect();
                  gBytesLeft = -1;
                  logTo(*manager.GetTLSContext(), 1, "last %d");
              }),
              kKilled);
    Take();
    EXPECT_EQ(Messages(), std::vector<std::string> { "last 0" });
    EXPECT_NE(mFound.notes.find("\"late\": its ring could not be read"), std::string::npos) << mFound.notes;
}

TEST_F(LastingLog, RingsBeyondItsSizeComeFromTheHeap)
{
    ASSERT_EQ(InAProcess([](CLogManager&) {
                  std::vector<std::unique_ptr<CLogContext>> contexts;
                  for (int i = 0; i < 100; ++i) {
                      contexts.push_back(
                          std::make_unique<CLogContext>("many", 0, HSL::LastingMalloc, HSL::LastingFree));
                      logTo(*contexts.back(), 1);
                  }
                  // Blocks are used again.
                  for (int i = 0; i < 1000; ++i) {
                      contexts.erase(contexts.begin());
                      contexts.push_back(
                          std::make_unique<CLogContext>("again", 0, HSL::LastingMalloc, HSL::LastingFree));
                      logTo(*contexts.back(), 1);
                  }
                  contexts.resize(90);
                  kill(getpid(), SIGKILL);
              }),
              kKilled);
    Take();
    EXPECT_GE(Messages().size(), 10u);
    EXPECT_LT(Messages().size(), 20u);
}

TEST_F(LastingLog, ObjectsThatOthersCanWriteToAreLeftAlone)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 1); }), kKilled);
    std::vector<std::string> names;
    ASSERT_TRUE(HSL::CrashLog::listLastingObjects(mProduct.c_str(), names));
    ASSERT_EQ(names.size(), 1u);
    const int entry = KXPL::KxOpenSharedEntry(names[0].c_str(), false);
    struct stat status = {};
    ASSERT_EQ(fstat(entry, &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    for (const mode_t mode : { 0606u, 0660u, 0640u }) {
        ASSERT_EQ(fchmod(entry, mode), 0);
        EXPECT_TRUE(Take().processes.empty());
    }
    ASSERT_EQ(fchmod(entry, 0600), 0);
    if (geteuid() == 0) {
        ASSERT_EQ(fchown(entry, 12345, 0), 0);
        EXPECT_TRUE(Take().processes.empty());
        ASSERT_EQ(fchown(entry, 0, 0), 0);
    }
    close(entry);
    EXPECT_EQ(Take().processes.size(), 1u);
}

TEST_F(LastingLog, LinksAreNotFollowed)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 1); }), kKilled);
    std::vector<std::string> names;
    ASSERT_TRUE(HSL::CrashLog::listLastingObjects(mProduct.c_str(), names));
    const std::string there = "/dev/shm/" + names.at(0);
    const std::string link = there + "9";
    ASSERT_EQ(symlink(there.c_str(), link.c_str()), 0);
    EXPECT_EQ(Take().processes.size(), 1u);
    EXPECT_EQ(access(there.c_str(), F_OK), -1);
    struct stat status = {};
    EXPECT_EQ(lstat(link.c_str(), &status), 0);
    unlink(link.c_str());
}

// A process may have got the number of one that died; and one that has just begun may not have come to its lock.
TEST_F(LastingLog, NumbersOfLivingProcessesAreNotBelievedButForObjectsInTheMaking)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 1); }), kKilled);
    std::vector<std::string> names;
    ASSERT_TRUE(HSL::CrashLog::listLastingObjects(mProduct.c_str(), names));
    const std::string folder = "/dev/shm/";
    const std::string stem = names.at(0).substr(0, names[0].rfind('.', names[0].rfind('.') - 1));
    const std::string mine = stem + "." + std::to_string(getpid()) + ".0";
    ASSERT_EQ(rename((folder + names[0]).c_str(), (folder + mine).c_str()), 0);
    const std::string begun = stem + "." + std::to_string(getpid()) + ".1";
    close(KXPL::KxOpenSharedEntry(begun.c_str(), true));
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    EndOf(child);
    const std::string given = stem + "." + std::to_string(child) + ".2";
    close(KXPL::KxOpenSharedEntry(given.c_str(), true));
    Take();
    EXPECT_EQ(Messages(), std::vector<std::string> { "message 0" });
    EXPECT_EQ(mTaken, 2);
    EXPECT_EQ(access((folder + begun).c_str(), F_OK), 0);
    EXPECT_EQ(access((folder + given).c_str(), F_OK), -1);
}

TEST_F(LastingLog, WhatIsMuchTooLargeIsNotRead)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) { logTo(*manager.GetTLSContext(), 1); }), kKilled);
    std::vector<std::string> names;
    ASSERT_TRUE(HSL::CrashLog::listLastingObjects(mProduct.c_str(), names));
    ASSERT_EQ(truncate(("/dev/shm/" + names.at(0)).c_str(), (1ll << 30) + 4096), 0);
    Take();
    EXPECT_EQ(mFound.lines, "");
    EXPECT_EQ(mFound.notes, "-- it cannot be read\n");
    EXPECT_TRUE(mFound.isDamaged);
}

namespace {

std::string imageOf(const std::string& product)
{
    std::vector<std::string> names;
    std::string image;
    HSL::CrashLog::listLastingObjects(product.c_str(), names);
    HSL::CrashLog::DeadObject(names.at(0)).Read(image);
    return image;
}

} // namespace

// Whatever lies in an object: nothing is read outside of it, and it comes to an end.
TEST_F(LastingLog, NothingInAnObjectIsTrusted)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  HSL::KeepLines();
                  for (int i = 0; i < 20; ++i) {
                      manager.AddFormatString(("format %d number " + std::to_string(i)).c_str());
                  }
                  logTo(*manager.GetTLSContext(), 50);
                  manager.Collect();
                  logTo(*manager.GetTLSContext(), 50);
                  static CLogContext sOther("other", 20000, HSL::LastingMalloc, HSL::LastingFree);
                  logTo(sOther, 50);
              }),
              kKilled);
    const std::string whole = imageOf(mProduct);
    HSL::CrashLog::DeadLog log;
    ASSERT_TRUE(HSL::CrashLog::crashLogOf(whole, log));
    ASSERT_EQ(HSL::CrashLog::textOf(log.mFile, {}).mNotes,
              "-- 50 output and 100 pending; 0 more that the filter hides\n");
    // Where anything lies at all.
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        if (whole[i] != 0) {
            places.push_back(i);
        }
    }
    std::uint64_t base = 0;
    std::memcpy(&base, whole.data() + offsetof(HSL::CrashLog::LastingHeader, mBase), sizeof base);
    std::mt19937 random(3);
    std::string image = whole;
    std::size_t text = 0;
    for (int round = 0; round < 300; ++round) {
        image = whole;
        for (std::size_t changes = random() % 20 + 1; changes > 0; --changes) {
            const std::size_t at = places[random() % places.size()] / 8 * 8;
            const std::uint64_t values[] = { random(), base + random() % image.size(), ~0ull,
                                             base,     base + image.size() - 1,        0x7FFFFFFF };
            const std::uint64_t value = values[random() % 6];
            std::memcpy(&image[at], &value, random() % 2 == 0 ? 8 : 4);
        }
        image.resize(random() % 4 == 0 ? random() % image.size() : image.size());
        HSL::CrashLog::DeadLog other;
        HSL::CrashLog::crashLogOf(image, other);
        ASSERT_LE(other.mFile.size(), 2 * whole.size() + (17u << 20));
        text += HSL::CrashLog::textOf(other.mFile, {}).mLines.size();
    }
    EXPECT_GT(text, 0u);
}

TEST_F(LastingLog, FormatsInACircleComeToAnEnd)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  manager.AddFormatString(std::string(60000, 'f').c_str());
                  auto* first = reinterpret_cast<HSL::CrashLog::LedgerText*>(manager.mLedger->mFirstFormat);
                  first->mNext = manager.mLedger->mFirstFormat;
              }),
              kKilled);
    Take();
    EXPECT_TRUE(mFound.isDamaged);
    EXPECT_NE(mFound.notes.find("the file was cut short"), std::string::npos) << mFound.notes;
}

TEST_F(LastingLog, OfAnotherVersionIsToldAndRemoved)
{
    ASSERT_EQ(InAProcess([](CLogManager& manager) {
                  unsigned char* ledger = reinterpret_cast<unsigned char*>(manager.mLedger);
                  reinterpret_cast<HSL::CrashLog::LastingHeader*>(ledger - HSL::CrashLog::kLastingHeaderBytes)
                      ->mLayout = 77;
              }),
              kKilled);
    Take();
    EXPECT_EQ(mFound.notes, "-- it comes from another version or from a build for another processor\n");
    EXPECT_EQ(Objects(), 0u);
}
