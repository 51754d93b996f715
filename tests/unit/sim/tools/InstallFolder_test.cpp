// Where the firmware tool is looked for.
#include "sim/tools/InstallFolder.h"

#include <gtest/gtest.h>

#include <utility>

using namespace bladesim;

TEST(PathWithTools, FindsTheFirmwareToolBeforeThatOfTheSystemAndAfterTheCallersOwn) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "/usr/korvel/sbin"},
        {"/usr/bin", "/usr/korvel/sbin:/usr/bin"},
        {"/bin", "/usr/korvel/sbin:/bin"},
        {"/sbin/", "/usr/korvel/sbin:/sbin/"},
        {"/opt/mine:/usr/local/bin:/usr/bin", "/opt/mine:/usr/korvel/sbin:/usr/local/bin:/usr/bin"},
        {"/opt/mine:/root/bin", "/opt/mine:/root/bin:/usr/korvel/sbin"},
        {"/binary:/usrlocal", "/binary:/usrlocal:/usr/korvel/sbin"},
        {"/binary:/usr", "/binary:/usr/korvel/sbin:/usr"},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(PathWithTools(path), expected);
}
