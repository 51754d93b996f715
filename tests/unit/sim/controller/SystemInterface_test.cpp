// Who works the system interface: by name, and whether the blade has a controller then.
#include "sim/controller/SystemInterface.h"

#include <gtest/gtest.h>

using namespace BLADESIM;

namespace {

struct SAMPLE {
    SYSTEM_INTERFACE m_Interface;
    const char* m_Name;
    bool m_HasController;
};

constexpr SAMPLE g_Samples[] = {
    {SYSTEM_INTERFACE::BRIDGE, "bridge", true},
    {SYSTEM_INTERFACE::NONE, "none", false},
    {SYSTEM_INTERFACE::MACHINE, "machine", false},
    {SYSTEM_INTERFACE::GUEST, "guest", true},
};

} // namespace

TEST(SystemInterface, HasTheNameThatTheCommandLineHasForIt) {
    for (const SAMPLE& l_Sample : g_Samples)
        EXPECT_EQ(NameOf(l_Sample.m_Interface), l_Sample.m_Name);
}

TEST(SystemInterface, NeedsAControllerWhereBladesimOrAGuestWorksIt) {
    for (const SAMPLE& l_Sample : g_Samples)
        EXPECT_EQ(HasController(l_Sample.m_Interface), l_Sample.m_HasController) << l_Sample.m_Name;
}
