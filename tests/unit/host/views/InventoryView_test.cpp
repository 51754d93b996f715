// The inventory as tables.
#include "host/HostParams.h"
#include "host/views/Views.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::Not;

Picture Inventoried() {
    Picture picture;
    picture.m_inventory = {
        1,
        {Row(Text(0x30001, "FB-7200"), Int(0x30002, 5), Text(0x30003, "Harrow"), Text(0x30004, "FG-1"),
             Text(0x30005, "D1"), Text(0x30007, "PN"), Text(0x30006, "2.7"))},
        {Row(Text(0x30202, "ME-V\xF6ice"), Int(0x30201, 3, true), Int(0x30208, 5), Text(0x30203, "Merel\xE4nd"),
             Text(0x30204, "S\x1B"), Text(0x30205, "V3"), Text(0x30207, "PN"), Text(0x30206, "UnKn")),
         Row(Text(0x30202, "RT"), Int(0x30201, 9, true), Int(0x30208, 1), Text(0x30206, "1.2"))},
        {Row(Int(0x301, 2), Int(0x302, 4), Int(0x303, 3, true)),
         Row(Text(0x301, "1"), Text(0x302, "8"), Int(0x303, 4))},
        {Row(Int(0x401, 1), Int(0x402, 8), Int(0x403, 4))}};
    return picture;
}

TEST(InventoryView, SaysInWordsWhatTheAdaptorSaysInNumbers) {
    EXPECT_EQ("Baseboard\n"
              "  product name  site  manufacturer  serial  version  part number  firmware\n"
              "  FB-7200       5     Harrow        FG-1    D1       PN           2.7\n"
              "\n"
              "Modules\n"
              "  place      product name  run status       manufacturer  serial  version  part number  firmware\n"
              "  AMC bay 3  ME-V?ice      failed (5)       Merel?nd      S?      V3       PN           unknown\n"
              "  RTM        RT            not started (1)  -             -       -        -            1.2\n"
              "\n"
              "AMCs with DSPs\n"
              "  place      DSPs  type of the first\n"
              "  AMC bay 3  4     Mindspeed 829xx (2)\n"
              "  AMC bay 4  8     1\n"
              "\n"
              "RTM framers\n"
              "  framers  type                   trunks of each\n"
              "  8        PM4354 COMET-QUAD (1)  4\n",
              InventoryText(Inventoried(), {}));
    EXPECT_TRUE(InventoryIsGood(Inventoried()));
}

TEST(InventoryView, SaysWhatThereIsNot) {
    EXPECT_EQ("Baseboard\n  the baseboard's data cannot be read\n\nModules\n  no module\n\nAMCs with DSPs\n"
              "  no AMC with DSPs\n\nRTM framers\n  no RTM with framers\n",
              InventoryText(Picture(), {}));
    EXPECT_FALSE(InventoryIsGood(Picture()));
}

TEST(InventoryView, IsCutToTheTerminalAndShowsItsCharacters) {
    Style style;
    style.m_utf8 = true;
    style.m_width = 80;
    const std::string narrow = InventoryText(Inventoried(), style);
    EXPECT_THAT(narrow, HasSubstr("Mereländ"));
    EXPECT_THAT(narrow, HasSubstr("…"));
    style.m_wide = true;
    const std::string wide = InventoryText(Inventoried(), style);
    EXPECT_THAT(wide, Not(HasSubstr("…")));
    EXPECT_THAT(wide, HasSubstr("ME-Vöice"));
    EXPECT_THAT(wide, HasSubstr("  S?  ")) << "no control characters";
}

TEST(SourceText, NamesASimulatedInventoryAndWhy) {
    EXPECT_EQ("", SourceText({}));
    EXPECT_EQ("simulated inventory: /dev/ipmi0: Permission denied",
              SourceText({Source::Kind::NoPermission, "/dev/ipmi0: Permission denied"}));
}

} // namespace
