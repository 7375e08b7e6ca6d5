#include "hslog/sinks/HSLGzip.h"

#include <zlib.h>

#include <cstdio>

namespace HSL {
namespace Sinks {

bool Gzip(const char* from, const char* to)
{
    std::FILE* source = std::fopen(from, "rb");
    if (source == nullptr) {
        return false;
    }
    gzFile target = gzopen(to, "wb");
    bool isGood = target != nullptr;
    char bytes[16384];
    std::size_t count = 0;
    while (isGood && (count = std::fread(bytes, 1, sizeof bytes, source)) != 0) {
        isGood = gzwrite(target, bytes, static_cast<unsigned int>(count)) == static_cast<int>(count);
    }
    isGood = isGood && std::ferror(source) == 0;
    std::fclose(source);
    return (target == nullptr || gzclose(target) == Z_OK) && isGood;
}

} // namespace Sinks
} // namespace HSL
