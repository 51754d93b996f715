// Where things are on the blade, and how they are.
#include "host/web/redfish/Places.h"

#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::ElementsAre;

TEST(RedfishPlaces, HaveIdsOfTheirBays) {
    EXPECT_EQ("Blade", PlaceId(0));
    EXPECT_EQ("AMC8", PlaceId(8));
    EXPECT_EQ("RTM", PlaceId(9));
    for (int bay = 0; bay <= 9; ++bay)
        EXPECT_EQ(bay, BayOfPlaceId(PlaceId(bay)));
    EXPECT_EQ(std::nullopt, BayOfPlaceId("AMC9"));
    EXPECT_EQ(std::nullopt, BayOfPlaceId(""));
}

TEST(RedfishPlaces, AreTheModulesOfKnownBaysInTheirOrder) {
    EXPECT_THAT(ModuleBays(BigBlade()), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_THAT(ModuleBays(HostileBlade()), ElementsAre(2, 3));
    EXPECT_EQ(2, FirstAmc(HostileBlade()));
    Picture rtmOnly;
    rtmOnly.m_inventory.m_modules = {ModuleOf(9, "RTM", 1)};
    EXPECT_EQ(std::nullopt, FirstAmc(rtmOnly));
}

TEST(RedfishStatus, ComesOfTheRunStatus) {
    EXPECT_EQ((RedfishStatus{"StandbyOffline", ""}), StatusOfRun(1));
    EXPECT_EQ((RedfishStatus{"Starting", ""}), StatusOfRun(2));
    EXPECT_EQ((RedfishStatus{"Starting", ""}), StatusOfRun(3));
    EXPECT_EQ((RedfishStatus{"Enabled", "OK"}), StatusOfRun(4));
    EXPECT_EQ((RedfishStatus{"UnavailableOffline", "Critical"}), StatusOfRun(5));
    for (const int other : {0, 6, -1, 77})
        EXPECT_EQ(RedfishStatus{}, StatusOfRun(other));
    EXPECT_EQ(nullptr, StatusJson(StatusOfRun(6)));
    EXPECT_EQ(Json(R"({"State": "Starting"})"), StatusJson(StatusOfRun(3)));
}

TEST(RedfishStatus, OfManyIsTheWorst) {
    Picture picture;
    picture.m_inventory.m_modules = {ModuleOf(1, "", 4), ModuleOf(2, "", 3), ModuleOf(3, "", 1), ModuleOf(4, "", 5),
                                     ModuleOf(5, "", 77)};
    EXPECT_EQ("Enabled", WorstStatus(picture, {1}).m_state);
    EXPECT_EQ("Starting", WorstStatus(picture, {1, 2}).m_state);
    EXPECT_EQ("StandbyOffline", WorstStatus(picture, {3, 2, 1}).m_state);
    EXPECT_EQ("UnavailableOffline", WorstStatus(picture, {1, 4, 3}).m_state);
    EXPECT_EQ(RedfishStatus{}, WorstStatus(picture, {5, 6}));
    EXPECT_EQ(RedfishStatus{}, WorstStatus(picture, {}));
}

TEST(RedfishTasks, KeepTheirIdsWhileOthersComeAndGo) {
    Picture picture = SmallBlade();
    const std::string id = TaskId(picture.m_upgrades[1]);
    picture.m_upgrades.erase(picture.m_upgrades.begin());
    ASSERT_NE(nullptr, FindUpgrade(picture, id));
    EXPECT_EQ("board.bin", FindUpgrade(picture, id)->m_file);
}

} // namespace
