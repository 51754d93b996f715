// Which order for an upgrade the resident host is sent.
#include "host/context/HostUpgrade.h"

#include <gtest/gtest.h>

namespace bmhost {

TEST(HostUpgrade, SendsTheFilesNameWithoutItsFolder) {
    const Order board{"firmware-update", {{"target", "board"}, {"name", "/root/images/image one.bin"}}};
    EXPECT_EQ("/v1/firmware?target=board&name=image%20one.bin", PathOfUpgrade(board));
    const Order module{"firmware-update", {{"target", "amc"}, {"bay", 3}, {"name", "image.bin"}}};
    EXPECT_EQ("/v1/firmware?target=amc&bay=3&name=image.bin", PathOfUpgrade(module));
}

} // namespace bmhost
