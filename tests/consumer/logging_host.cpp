// A host that uses the platform library and the logger alone.
#include "CircularBuffer.h"
#include "KxUnicode.h"
#include "hslog/HSL.h"

#include <cstdio>
#include <string>

namespace {

std::string gLines;

void appendLine(const char* line)
{
    gLines += line;
}

bool logs()
{
    HSL::CLogManager::Initialize();
    HSL::LogManager()->SetOutputCallback(appendLine);
    HSL::LogManager()->SetEnable(true);
    HSL::LogManager()->SetFilterValue(3, true);
    HSL::HSLog(HSL::CCat(3), "%d files opened", 42);
    HSL::CLogManager::Cleanup();
    const std::string end = ":  [Main              ]\t42 files opened\n";
    return gLines.size() > end.size() && gLines.compare(gLines.size() - end.size(), end.size(), end) == 0;
}

bool keepsBytes()
{
    CCircularBuffer ring(1, 16, CCircularBuffer::MallocFunc, CCircularBuffer::FreeFunc,
                         CCircularBuffer::CopyFunc);
    int count = 3;
    ring.Write("abc", count);
    char bytes[3] = {};
    ring.Read(bytes, count);
    return std::string(bytes, sizeof bytes) == "abc";
}

} // namespace

int main()
{
    const bool ok = logs() && keepsBytes();
    std::printf("%s%s\n", gLines.c_str(), ok ? "ok" : "wrong");
    return ok ? 0 : 1;
}
