// Rotated files that are compressed.
#include "hslog/sinks/HSLFileSink.h"
#include "hslog/sinks/HSLGzip.h"

#include "SinkTest.h"

#include <zlib.h>

using namespace HSL::Sinks;

namespace {

std::string unpacked(const std::string& path)
{
    const gzFile file = gzopen(path.c_str(), "rb");
    std::string text(100000, 0);
    const int count = gzread(file, text.data(), static_cast<unsigned int>(text.size()));
    gzclose(file);
    text.resize(static_cast<std::size_t>(count > 0 ? count : 0));
    return text;
}

} // namespace

TEST(Gzip, RotatedFilesAreCompressedAndCounted)
{
    const Folder folder;
    FileOptions options;
    options.mLayout = MakePatternLayout("{message}");
    options.mRotateBytes = 8;
    options.mKeep = 2;
    options.mCompress = Gzip;
    {
        const auto sink = MakeFileSink((folder / "log").c_str(), std::move(options));
        for (const char* message : { "first..", "second.", "third..", "fourth." }) {
            sink->Write(lineOf(message));
        }
    }
    EXPECT_EQ(contentOf(folder / "log"), "fourth.\n");
    EXPECT_EQ(unpacked(folder / "log.1.gz"), "third..\n");
    EXPECT_EQ(unpacked(folder / "log.2.gz"), "second.\n");
    EXPECT_EQ(folder.Count(), 3u);
}

TEST(Gzip, FileThatCannotBeCompressedStays)
{
    const Folder folder;
    EXPECT_FALSE(Gzip((folder / "none").c_str(), (folder / "none.gz").c_str()));
    std::ofstream(folder / "log") << "text";
    EXPECT_FALSE(Gzip((folder / "log").c_str(), (folder / "none/log.gz").c_str()));
    EXPECT_EQ(contentOf(folder / "log"), "text");
}
