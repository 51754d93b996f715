// The command file for ipmi_sim.
#include "sim/SimulatorConfig.h"

#include <gmock/gmock.h>

using namespace BLADESIM;

namespace {

BLADE SampleBlade() {
    BLADE l_Blade;
    l_Blade.m_Controller = {0x82, 0x35, 1, 3, 0x12, 0x7ED9, 0x0B1A};
    FRU l_FRU;
    l_FRU.m_Site = {0x41, 0, 5};
    l_FRU.m_LEDs = 3;
    l_Blade.m_FRUs.push_back(l_FRU);
    return l_Blade;
}

} // namespace

TEST(SimulatorConfig, MakesTheControllerInTheOrderThatTheSimulatorNeeds) {
    EXPECT_EQ(SimulatorCommands(SampleBlade(), "/run/here"),
              "atca_enable\n"
              "mc_add 0x82 0x35 no-device-sdrs 0x1 0x3 0x12 0x9f 0x7ed9 0xb1a\n"
              "sel_enable 0x82 0x100 0x0a\n"
              "atca_set_site 0x41 0 0x5\n"
              "mc_set_num_leds 0x82 0x3\n"
              "mc_add_fru_data 0x82 0 0x30 file 0 \"/run/here/fru-0.bin\"\n"
              "mc_setbmc 0x82\n"
              "mc_enable 0x82\n");
}

TEST(SimulatorConfig, NamesTheControllerThatTheInterfacesBelongTo) {
    EXPECT_THAT(SimulatorInterfaces(SampleBlade()), testing::HasSubstr("set_working_mc 130\n"));
}
