#include "Reporter.h"

#include <gtest/gtest.h>

using namespace BreakpadLinux;

// A host may lose it between the reading of its configuration and now.
TEST(Reporter, AFolderThatIsGoneHoldsNoReports)
{
    Settings settings;
    settings.product = "App";
    settings.dumpFolder = "/none/of/these";
    settings.stateFolder = settings.dumpFolder;
    settings.sender = "/none/sender";
    Reporter reporter(settings);
    reporter.SetKeyValue("key", "value");
    reporter.RemoveKey("key");
}
