// Who serves the system interface: names, and which of them have a controller.
#include "sim/controller/SystemInterface.h"

#include <gtest/gtest.h>

using namespace bladesim;

namespace {

struct Sample {
    SystemInterface m_interface;
    const char* m_name;
    bool m_hasController;
};

constexpr Sample Samples[] = {
    {SystemInterface::Bridge, "bridge", true}, {SystemInterface::None, "none", false},
    {SystemInterface::Denied, "denied", true}, {SystemInterface::Machine, "machine", false},
    {SystemInterface::Guest, "guest", true},
};

} // namespace

TEST(SystemInterface, HasTheNameThatTheCommandLineHasForIt) {
    for (const Sample& sample : Samples)
        EXPECT_EQ(NameOf(sample.m_interface), sample.m_name);
}

TEST(SystemInterface, NeedsAControllerWhereBladesimOrAGuestWorksIt) {
    for (const Sample& sample : Samples)
        EXPECT_EQ(HasController(sample.m_interface), sample.m_hasController) << sample.m_name;
}
