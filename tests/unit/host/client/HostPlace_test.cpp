// Where lock and socket of a blade's resident host are.
#include "host/client/HostClient.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace {

using namespace bmhost;

class HostPlaceTest : public testing::Test {
protected:
    HostPlaceTest() {
        if (const char* value = getenv("BLADESIM_RUN_DIR"); value != nullptr) m_before = value;
    }
    ~HostPlaceTest() override {
        unsetenv("BLADESIM_RUN_DIR");
        if (m_before) setenv("BLADESIM_RUN_DIR", m_before->c_str(), 1);
    }

private:
    std::optional<std::string> m_before;
};

TEST_F(HostPlaceTest, OfASimulatedBladeIsItsRunFolder) {
    setenv("BLADESIM_RUN_DIR", "/tmp/blade", 1);
    EXPECT_EQ("/tmp/blade", PlaceOfHost().m_folder);
    EXPECT_EQ("/tmp/blade/bmhost.lock", PlaceOfHost().Lock());
    EXPECT_EQ("/tmp/blade/bmhost.sock", PlaceOfHost().Socket());
}

TEST_F(HostPlaceTest, OfAMachineIsTheSameWhoeverAsks) {
    unsetenv("BLADESIM_RUN_DIR");
    EXPECT_EQ("/run/bmhost", PlaceOfHost().m_folder);
    setenv("BLADESIM_RUN_DIR", "", 1);
    EXPECT_EQ("/run/bmhost", PlaceOfHost().m_folder);
}

} // namespace
