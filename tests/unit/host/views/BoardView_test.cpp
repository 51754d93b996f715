// DSPs and switch ports as tables.
#include "host/views/Views.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;

Picture WithDsps(std::vector<DspFacts> dsps) {
    Picture picture;
    picture.m_dsps = std::move(dsps);
    return picture;
}

Picture WithPorts(std::vector<PortFacts> ports) {
    Picture picture;
    picture.m_ports = std::move(ports);
    return picture;
}

TEST(DspsView, TellsWhatWasReadFromWhatIsStored) {
    const Picture read = WithDsps({{1, 3, 1, "02:4D", "10.0.0.1", true, false, ""},
                                   {2, 3, 2, "02:4E", "", true, false, ""},
                                   {3, 5, 1, "02:4F", "", false, false, "not in service"}});
    EXPECT_EQ("  DSP  AMC bay  DSP of AMC  MAC address  IP address\n"
              "  1    3        1           02:4D        10.0.0.1\n"
              "  2    3        2           02:4E        none\n"
              "  3    5        1           02:4F        not in service\n",
              DspsText(read, {}));
    EXPECT_EQ("", DspsRemarks(read));
    const Picture stored =
        WithDsps({{1, 3, 1, "02:4D", "10.0.0.1", true, true, ""}, {2, 3, 2, "02:4E", "", true, true, ""}});
    EXPECT_EQ("  DSP  AMC bay  DSP of AMC  MAC address  IP address   source of the address\n"
              "  1    3        1           02:4D        10.0.0.1     stored, not read\n"
              "  2    3        2           02:4E        none stored\n",
              DspsText(stored, {}));
}

TEST(DspsView, SaysThatTheStorageCannotBeReadAndWhyOnce) {
    const Picture refused = WithDsps({{1, 3, 1, "02:4D", "", false, true, "/s: Permission denied"},
                                      {2, 3, 2, "02:4E", "", false, true, "/s: Permission denied"}});
    EXPECT_EQ("  DSP  AMC bay  DSP of AMC  MAC address  IP address  source of the address\n"
              "  1    3        1           02:4D        not read\n"
              "  2    3        2           02:4E        not read\n",
              DspsText(refused, {}));
    EXPECT_EQ("the storage said: /s: Permission denied\n", DspsRemarks(refused));
}

TEST(DspsView, IsGoodWhereEachHasItsAddress) {
    EXPECT_TRUE(DspsAreGood(WithDsps({{1, 3, 1, "02:4D", "10.0.0.1", true, false, ""}})));
    EXPECT_TRUE(DspsAreGood(WithDsps({{1, 3, 1, "02:4D", "10.0.0.1", true, true, ""}})));
    EXPECT_FALSE(DspsAreGood(WithDsps({{1, 3, 1, "02:4D", "", true, false, ""}})));
    EXPECT_FALSE(DspsAreGood({}));
    EXPECT_EQ("no DSP\n", DspsText({}, {}));
}

TEST(PortsView, TellsWhatWasReadFromWhatIsStored) {
    EXPECT_EQ("  port  name  leads to  state                      link\n"
              "  1     One   fabric    enabled                    up\n"
              "  2     Two   RTM       disabled (the state is 5)  unknown\n",
              PortsText(WithPorts({{1, "One", "fabric", true, true, false, ""},
                                   {2, "Two", "RTM", false, std::nullopt, false, "the state is 5"}}),
                        {}));
    EXPECT_EQ("  port  name  leads to  state        link     source of the state\n"
              "  1     One   fabric    disabled     unknown  stored, not read\n"
              "  2     Two   RTM       none stored  unknown\n",
              PortsText(WithPorts({{1, "One", "fabric", false, std::nullopt, true, ""},
                                   {2, "Two", "RTM", std::nullopt, std::nullopt, true, ""}}),
                        {}));
}

TEST(PortsView, SaysThatTheStorageCannotBeRead) {
    const Picture refused = WithPorts({{1, "One", "fabric", std::nullopt, std::nullopt, true, "/s: damaged"}});
    EXPECT_EQ("  port  name  leads to  state     link     source of the state\n"
              "  1     One   fabric    not read  unknown\n",
              PortsText(refused, {}));
    EXPECT_EQ("the storage said: /s: damaged\n", PortsRemarks(refused));
    EXPECT_FALSE(PortsAreGood(refused));
}

TEST(PortsView, IsGoodWhereEachLinkThatIsReadIsKnown) {
    EXPECT_TRUE(PortsAreGood(WithPorts({{1, "One", "fabric", true, false, false, ""}})));
    EXPECT_FALSE(PortsAreGood(WithPorts({{1, "One", "fabric", true, std::nullopt, false, ""}})));
    EXPECT_TRUE(PortsAreGood(WithPorts({{1, "One", "fabric", true, std::nullopt, true, ""}})));
    EXPECT_FALSE(PortsAreGood({}));
    EXPECT_EQ("no switch port: a blade without DSPs serves none\n", PortsText({}, {}));
}

} // namespace
