#include "OwnFiles.h"

#include "Refuse.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using namespace BreakpadLinux;
namespace fs = std::filesystem;

namespace {

class OwnFiles : public testing::Test {
protected:
    OwnFiles()
    {
        char pattern[] = "/tmp/fallcatch-own-XXXXXX";
        mFolder = mkdtemp(pattern);
    }
    ~OwnFiles() override { fs::remove_all(mFolder); }

    // Why the file is not read, or "" with its text in mText.
    std::string Read(const std::string& name, std::size_t limit = 1000)
    {
        std::string why;
        const Descriptor folder = OpenOwnFolder(mFolder, why);
        const auto text = ReadOwnFile(folder.Number(), name, limit, why);
        mText = text.value_or("");
        return text ? "" : why;
    }

    std::string Open(const std::string& path)
    {
        std::string why;
        return OpenOwnFolder(path, why) ? "" : why;
    }

    std::string mFolder;
    std::string mText;
};

} // namespace

TEST_F(OwnFiles, AFileOfTheUsersIsRead)
{
    std::ofstream(mFolder + "/file") << "text";
    EXPECT_EQ(Read("file"), "");
    EXPECT_EQ(mText, "text");
}

TEST_F(OwnFiles, WhatOthersMayWriteIsNot)
{
    std::ofstream(mFolder + "/file") << "text";
    for (const int mode : { 0620, 0602, 0666 }) {
        fs::permissions(mFolder + "/file", static_cast<fs::perms>(mode));
        EXPECT_EQ(Read("file"), "can be written by others");
    }
    fs::permissions(mFolder + "/file", static_cast<fs::perms>(0644));
    EXPECT_EQ(Read("file"), "");
}

TEST_F(OwnFiles, WhatBelongsToAnotherIsNot)
{
    std::ofstream(mFolder + "/file") << "text";
    if (chown((mFolder + "/file").c_str(), 12345, 12345) != 0) {
        GTEST_SKIP() << "only root may give files away";
    }
    EXPECT_EQ(Read("file"), "belongs to another user");
    ASSERT_EQ(chown(mFolder.c_str(), 12345, 12345), 0);
    EXPECT_EQ(Open(mFolder), "belongs to another user");
}

TEST_F(OwnFiles, LinksFoldersPipesAndDevicesAreNoFiles)
{
    std::ofstream(mFolder + "/file") << "text";
    fs::create_symlink("file", mFolder + "/link");
    fs::create_symlink("link", mFolder + "/loop");
    fs::create_directory(mFolder + "/folder");
    ASSERT_EQ(mkfifo((mFolder + "/pipe").c_str(), 0600), 0);
    EXPECT_EQ(Read("link"), "is a link");
    EXPECT_EQ(Read("loop"), "is a link");
    EXPECT_EQ(Read("folder"), "is no regular file");
    EXPECT_EQ(Read("pipe"), "is no regular file");
    EXPECT_EQ(Read("none"), "is not there");
    if (mknod((mFolder + "/zero").c_str(), S_IFCHR | 0600, makedev(1, 5)) == 0) {
        EXPECT_NE(Read("zero"), "");
    }
}

TEST_F(OwnFiles, AFileBeyondTheLimitIsNot)
{
    std::ofstream(mFolder + "/file") << std::string(1001, 'x');
    EXPECT_EQ(Read("file", 1000), "is too long");
    EXPECT_EQ(Read("file", 1001), "");
}

TEST_F(OwnFiles, AFolderIsTheUsersAlone)
{
    EXPECT_EQ(Open(mFolder), "");
    for (const int mode : { 0720, 0702, 0777, 01777 }) {
        fs::permissions(mFolder, static_cast<fs::perms>(mode));
        EXPECT_EQ(Open(mFolder), "can be written by others");
    }
    fs::permissions(mFolder, static_cast<fs::perms>(0755));
    EXPECT_EQ(Open(mFolder), "");
    fs::create_symlink(mFolder, mFolder + "/link");
    EXPECT_EQ(Open(mFolder + "/link"), "is a link or no folder");
    std::ofstream(mFolder + "/file") << "text";
    EXPECT_EQ(Open(mFolder + "/file"), "is a link or no folder");
    EXPECT_EQ(Open(mFolder + "/none"), "is not there");
}

TEST_F(OwnFiles, AFileIsWrittenWholeAndForTheUserAlone)
{
    std::string why;
    const Descriptor folder = OpenOwnFolder(mFolder, why);
    std::ofstream(mFolder + "/file.part") << "of one that was ended";
    umask(0);
    EXPECT_TRUE(WriteOwnFile(folder.Number(), "file", "text"));
    umask(022);
    EXPECT_EQ(fs::status(mFolder + "/file").permissions(), static_cast<fs::perms>(0600));
    EXPECT_EQ(Read("file"), "");
    EXPECT_EQ(mText, "text");
    EXPECT_FALSE(fs::exists(mFolder + "/file.part"));
}

TEST_F(OwnFiles, AFileThatCannotBeWrittenLeavesTheOldOne)
{
    std::string why;
    const Descriptor folder = OpenOwnFolder(mFolder, why);
    ASSERT_TRUE(WriteOwnFile(folder.Number(), "file", "old"));
    for (const unsigned int call : { SYS_write, SYS_fsync, SYS_renameat }) {
        EXPECT_EXIT(
            {
                Refuse(call);
                std::exit(WriteOwnFile(folder.Number(), "file", "new") ? 1 : 0);
            },
            testing::ExitedWithCode(0), "");
    }
    EXPECT_EQ(Read("file"), "");
    EXPECT_EQ(mText, "old");
    EXPECT_FALSE(fs::exists(mFolder + "/file.part"));
}

TEST_F(OwnFiles, WithoutAFolderNothingIsWritten)
{
    EXPECT_FALSE(WriteOwnFile(-1, "file", "text"));
    std::string why;
    EXPECT_FALSE(ReadOwnFile(-1, "file", 100, why));
}
