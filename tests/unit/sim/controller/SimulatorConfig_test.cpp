// The two files for ipmi_sim.
#include "sim/controller/SimulatorConfig.h"

#include "sim/base/Error.h"
#include "sim/module/SampleCarrier.h"

#include <gmock/gmock.h>

using namespace bladesim;
using testing::HasSubstr;

TEST(SimulatorConfig, MakesTheControllerInTheOrderThatTheSimulatorNeeds) {
    Blade blade = SampleCarrier();
    blade.m_frus = {{0, {0x41, 0, 5}, {}, {}}};
    EXPECT_EQ(SimulatorCommands(blade),
              "mc_add 0x82 0x35 no-device-sdrs 0x1 0x3 0x12 0x9f 0x17ed9 0xb1a\n"
              "sel_enable 0x82 0x100 0x0a\n"
              "main_sdr_add 0x82 0 0 0x51 0x12 0x10 0x82 0 0 0x9f 0 0 0 0xa0 0x60 0 0xc5 0x46 0x52 0x55 0x20 0x30\n"
              "main_sdr_add 0x82 0 0 0x51 0x11 0x10 0x82 0 0x80 0 0 0x10 0 0xa0 0x60 0 0xc5 0x46 0x52 0x55 0x20 0x30\n"
              "mc_setbmc 0x82\n"
              "mc_enable 0x82\n");
}

TEST(SimulatorConfig, NamesTheControllerThatTheInterfacesBelongTo) {
    EXPECT_THAT(SimulatorInterfaces(SampleCarrier(), "/module.so"), HasSubstr("\nset_working_mc 130\n"));
}

TEST(SimulatorConfig, LoadsTheCarrierWithItsBladeFile) {
    EXPECT_THAT(SimulatorInterfaces(SampleCarrier(), "/with blank/module.so"),
                HasSubstr("\nloadlib \"/with blank/module.so\" \"/blades/sample.json\"\n"));
}

TEST(SimulatorConfig, RefusesAPathThatCannotBeWrittenDown) {
    Blade blade = SampleCarrier();
    for (const char* const file : {"/a\"b.json", "/a\nb.json"}) {
        blade.m_file = file;
        EXPECT_THROW(SimulatorInterfaces(blade, "/module.so"), BladeError) << file;
    }
}
