// Where the firmware tool is looked for.
#include "sim/tools/InstallFolder.h"

#include <gtest/gtest.h>

#include <utility>

using namespace BLADESIM;

TEST(PathWithTools, FindsTheFirmwareToolBeforeThatOfTheSystemAndAfterTheCallersOwn) {
    const std::pair<const char*, const char*> l_Cases[] = {
        {"", "/usr/korvel/sbin"},
        {"/usr/bin", "/usr/korvel/sbin:/usr/bin"},
        {"/bin", "/usr/korvel/sbin:/bin"},
        {"/sbin/", "/usr/korvel/sbin:/sbin/"},
        {"/opt/mine:/usr/local/bin:/usr/bin", "/opt/mine:/usr/korvel/sbin:/usr/local/bin:/usr/bin"},
        {"/opt/mine:/root/bin", "/opt/mine:/root/bin:/usr/korvel/sbin"},
        {"/binary:/usrlocal", "/binary:/usrlocal:/usr/korvel/sbin"},
        {"/binary:/usr", "/binary:/usr/korvel/sbin:/usr"},
    };
    for (const auto& [l_Path, l_Expected] : l_Cases)
        EXPECT_EQ(PathWithTools(l_Path), l_Expected);
}
