// Compression of rotated files. The library fallcatch::kxpl_sinks_gzip, which is there where zlib is.
#ifndef HSLOG_HSL_GZIP_H
#define HSLOG_HSL_GZIP_H

namespace HSL {
namespace Sinks {

// For FileOptions::mCompress. Runs on the sink's own thread.
bool Gzip(const char* from, const char* to);

} // namespace Sinks
} // namespace HSL

#endif
