// Lines to a file, with rotation.
#ifndef HSLOG_HSL_FILE_SINK_H
#define HSLOG_HSL_FILE_SINK_H

#include "HSLLayout.h"
#include "HSLSink.h"

#include <cstddef>
#include <memory>
#include <string>

namespace HSL {
namespace Sinks {

// When a file is rotated, whatever its size.
enum class Period {
    kNever,
    kHour, // at the full hour
    kDay   // at midnight; local time, both
};

// What a host may choose of a file.
struct FileOptions {
    std::size_t mRotateBytes = 0;         // a file is rotated before it would become larger; 0 for never
    Period mRotateEvery = Period::kNever; // by the clock, at the first line behind it
    bool mRotateAtStart = false;          // a file that is there already
    int mKeep = 5;                        // rotated files, "NAME.1" being the youngest
    // Compresses a rotated file to a second one of its name and mSuffix, which takes its place; false on failure, and
    // then it stays as it is. See HSLGzip.h.
    bool (*mCompress)(const char* from, const char* to) = nullptr;
    std::string mSuffix = ".gz"; // of compressed files
    // Waits for the disk each time that lines were written, some milliseconds apart at the least.
    bool mSync = false;
    std::size_t mQueueBytes = 4 << 20; // the most that waits to be written
    std::unique_ptr<Layout> mLayout;   // null for the usual pattern
};

// Opens the file by its first line. Several processes may share a file: each appends whole lines, and one of them
// rotates while the others go on with the new file. A file that is renamed or removed is made anew.
//
// When the disk is full, or the file cannot be opened, standard error is told once, the lines are counted, and a line
// tells their number when there is room again.
std::unique_ptr<Sink> MakeFileSink(const char* path, FileOptions options = FileOptions());

// Makes every file sink open its file anew with its next lines. May be called by a signal's handler.
void ReopenFiles();
// Makes a signal, SIGHUP say, call ReopenFiles. Replaces the handler that there is.
bool ReopenFilesOnSignal(int signal);

} // namespace Sinks
} // namespace HSL

#endif
