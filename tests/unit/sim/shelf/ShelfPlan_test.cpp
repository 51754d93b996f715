// Shelves of a number of blades, their addresses and their names.
#include "sim/shelf/ShelfPlan.h"

#include <gmock/gmock.h>

using namespace bladesim;

TEST(ShelfPlan, PutsBladesOfDifferentKindsIntoTheFirstSlots) {
    const auto places = PlanOf(3);
    ASSERT_EQ(places.size(), 3U);
    EXPECT_EQ(places[0].m_name + places[0].m_blade, "blade1typical");
    EXPECT_EQ(places[1].m_name + places[1].m_blade, "blade2full");
    EXPECT_EQ(places[2].m_slot, 3U);
}

TEST(ShelfPlan, GivesEachSlotAnAddress) {
    EXPECT_EQ(TextOf(ShelfAddress()), "192.0.2.1");
    EXPECT_EQ(TextOf(AddressOf(PlanOf(14).back())), "192.0.2.24");
    EXPECT_EQ(TextOf(BaseMask()), "255.255.255.0");
}

TEST(ShelfPlan, NamesTheBladesBeforeAllOthers) {
    EXPECT_EQ(HostNames(PlanOf(2), "10.0.0.1 blade1\n"),
              "127.0.0.1 localhost\n192.0.2.1 shelf\n192.0.2.11 blade1\n192.0.2.12 blade2\n10.0.0.1 blade1\n");
}
