#include "hslog/HSL.h"

#include <gtest/gtest.h>

namespace {

std::string gLines;

void appendLine(const char* line)
{
    gLines += line;
}

} // namespace

TEST(HSLog, LineReachesTheOutputCallback)
{
    HSL::CLogManager::Initialize();
    HSL::LogManager()->SetOutputCallback(appendLine);
    HSL::LogManager()->SetEnable(true);
    HSL::LogManager()->SetFilterValue(3, true);
    HSL::HSLog(HSL::CCat(3), "x=%d", 5);
    HSL::CLogManager::Cleanup();
    EXPECT_NE(gLines.find("[Main              ]\tx=5\n"), std::string::npos) << gLines;
}
