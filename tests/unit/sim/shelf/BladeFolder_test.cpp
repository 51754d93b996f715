// Specimens of one kind of blade, and the addresses of their DSPs.
#include "sim/shelf/BladeFolder.h"

#include <gmock/gmock.h>

using namespace bladesim;
using nlohmann::ordered_json;
using testing::HasSubstr;
using testing::Not;

namespace {

ordered_json BladeWithDsps(size_t count) {
    ordered_json dsps = ordered_json::array();
    for (size_t dsp = 0; dsp < count; ++dsp)
        dsps.push_back({{"type", 2}, {"mac", "02:4d:71:00:03:10"}});
    return {{"ethernet", {{"interfaces", {{{"name", "eth6"}, {"mac", "02:4d:71:00:00:06"}, {"address", "10.1.2.3"}}}}}},
            {"frus", {{{"inventory", {{"board", {{"serial_number", "FB-1"}}}, {"dsps", dsps}}}}}}};
}

} // namespace

TEST(BladeFolder, GivesEachSlotSerialNumbersOfItsOwn) {
    ordered_json blade = BladeWithDsps(0);
    MakeSpecimen(blade, 3);
    EXPECT_EQ(blade["frus"][0]["inventory"]["board"]["serial_number"], "FB-1-S03");
}

TEST(BladeFolder, GivesEachSlotMacAddressesOfItsOwn) {
    ordered_json blade = BladeWithDsps(1);
    MakeSpecimen(blade, 14);
    EXPECT_EQ(blade["frus"][0]["inventory"]["dsps"][0]["mac"], "02:4d:71:0e:03:10");
    EXPECT_EQ(blade["ethernet"]["interfaces"][0]["mac"], "02:4d:71:0e:00:06");
}

TEST(BladeFolder, LeavesAnEmptySerialNumberEmpty) {
    ordered_json blade = {{"serial_number", ""}};
    MakeSpecimen(blade, 1);
    EXPECT_EQ(blade["serial_number"], "");
}

TEST(BladeFolder, KeepsALongSerialNumberWithin63Characters) {
    ordered_json blade = {{"serial_number", std::string(63, 'x')}};
    MakeSpecimen(blade, 1);
    EXPECT_EQ(blade["serial_number"], std::string(59, 'x') + "-S01");
}

TEST(BladeFolder, LeavesInventoriesOfGivenBytesOrSizeAlone) {
    for (const ordered_json& inventory : {ordered_json{{"raw", "01"}, {"serial_number", "S"}},
                                          ordered_json{{"size", 40}, {"board", {{"serial_number", "S"}}}}}) {
        ordered_json blade = {{"frus", {{{"inventory", inventory}}}}};
        MakeSpecimen(blade, 1);
        EXPECT_EQ(blade["frus"][0]["inventory"], inventory);
    }
}

TEST(BladeFolder, GivesAddressesToAllDspsWhenThereAreMoreThanFour) {
    const std::string table = DspAddresses(BladeWithDsps(5));
    EXPECT_THAT(table, HasSubstr(R"(<param id="0x30d12" type="int" key="true" value="5"/>)"));
    EXPECT_THAT(table, HasSubstr(R"(<param id="0x30d14" type="string" key="false" value="10.1.2.101"/>)"));
    EXPECT_THAT(table, HasSubstr("10.1.2.105"));
    EXPECT_THAT(table, Not(HasSubstr("10.1.2.106")));
}

TEST(BladeFolder, LeavesDspsToTheirDefaultsWhenThereAreFour) {
    EXPECT_EQ(DspAddresses(BladeWithDsps(4)), "");
}

TEST(BladeFolder, GivesNoAddressesWithoutEth6) {
    ordered_json blade = BladeWithDsps(5);
    blade["ethernet"]["interfaces"][0]["name"] = "eth5";
    EXPECT_EQ(DspAddresses(blade), "");
}
