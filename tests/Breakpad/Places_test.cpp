#include "Places.h"

#include "Refuse.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace BreakpadLinux;
namespace fs = std::filesystem;

namespace {

class Places : public testing::Test {
protected:
    Places()
    {
        char pattern[] = "/tmp/fallcatch-places-XXXXXX";
        mFolder = mkdtemp(pattern);
    }
    ~Places() override { fs::remove_all(mFolder); }

    std::string mFolder;
};

} // namespace

TEST_F(Places, APathLosesItsDetoursAndTrailingSlashes)
{
    EXPECT_EQ(AbsolutePath("/a/../b/./c//"), "/b/c");
    EXPECT_EQ(AbsolutePath("/"), "/");
}

TEST_F(Places, AProductNamedLikeAFolderAboveGetsAFolderOfItsOwn)
{
    EXPECT_EQ(FileNameFor("."), "%.");
    EXPECT_EQ(FileNameFor(".."), "%..");
    EXPECT_EQ(FileNameFor("..."), "...");
}

TEST_F(Places, WhereTheCurrentFolderIsGoneARelativePathStaysRelative)
{
    ASSERT_EQ(chdir(mFolder.c_str()), 0);
    fs::remove_all(mFolder);
    EXPECT_EQ(AbsolutePath("dumps/"), "dumps/");
    EXPECT_EQ(AbsolutePath("/dumps/"), "/dumps");
}

TEST_F(Places, FoldersAreMadeWithThoseAboveThem)
{
    EXPECT_TRUE(MakeFolder(mFolder + "/one/two/three"));
    EXPECT_TRUE(fs::is_directory(mFolder + "/one/two/three"));
    EXPECT_TRUE(MakeFolder(mFolder + "/one/two/three"));
}

TEST_F(Places, AFileIsNoFolderAndNoneIsMadeBelowIt)
{
    std::ofstream(mFolder + "/file") << "text";
    EXPECT_FALSE(MakeFolder(mFolder + "/file"));
    EXPECT_FALSE(MakeFolder(mFolder + "/file/below"));
    EXPECT_FALSE(MakeFolder(""));
}

TEST_F(Places, AFolderThatMayNotBeWrittenIsOfNoUse)
{
    // Root may write everywhere, so it is the question that is refused.
    EXPECT_EXIT(
        {
            Refuse(SYS_access);
            std::exit(MakeFolder(mFolder) ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(Places, OnlyAFileThatCanBeRunIsAProgram)
{
    EXPECT_TRUE(IsProgram("/bin/sh"));
    EXPECT_FALSE(IsProgram("/bin"));
    std::ofstream(mFolder + "/text") << "text";
    EXPECT_FALSE(IsProgram(mFolder + "/text"));
    EXPECT_FALSE(IsProgram(mFolder + "/none"));
}

// This program contains the adapter, and no sender lies beside it.
TEST_F(Places, WithoutASenderBesideTheLibraryNoneIsFound)
{
    EXPECT_EQ(FindSender(), "");
}
