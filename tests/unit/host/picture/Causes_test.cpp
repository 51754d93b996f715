// What is said to be wrong with a blade, for pictures made by hand.
#include "host/picture/Causes.h"

#include "common/veldo_common_protocol.h"
#include "tests/unit/host/HostParams.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace bmhost;
using namespace BM_ADAPTOR;
using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const WallTime Morning = *WallTimeOf("2026-11-22T09:30:00.125Z");

LedReading Lit(int32_t bay, int32_t led, int32_t color, bool local, bool on = true) {
    const bool board = bay == 0;
    LedReading reading;
    reading.m_bay = bay;
    reading.m_led = led;
    reading.m_result = RESULT_OK;
    reading.m_read = Morning;
    reading.m_state = Row(Int(board ? BMI_HW_BB_LED_LOCAL_CONTROL : BMI_HW_AMC_LED_LOCAL_CONTROL, local ? 1 : 0),
                          Int(board ? BMI_HW_BB_LED_ON_TIME : BMI_HW_AMC_LED_ON_TIME, on ? 1 : 0),
                          Int(board ? BMI_HW_BB_LED_OFF_TIME : BMI_HW_AMC_LED_OFF_TIME, on ? 0 : 1),
                          Int(board ? BMI_HW_BB_LED_COLOR : BMI_HW_AMC_LED_COLOR, color));
    return reading;
}

LedReading Off(int32_t bay, int32_t led) {
    return Lit(bay, led, INTERNAL_LED_RED, true, false);
}

CBMIParams Module(int32_t bay, int32_t runStatus) {
    return Row(Int(BMI_HW_AMC_BAY, bay, true), Int(BMI_HW_AMC_RUN_STATUS, runStatus));
}

CallOutcome Outcome(const std::string& operation, int32_t result, std::vector<std::string> reasons = {}) {
    return {operation, result, Morning, std::move(reasons)};
}

DspFacts Dsp(int32_t number, int32_t bay, const std::string& address) {
    DspFacts dsp;
    dsp.m_number = number;
    dsp.m_bay = bay;
    dsp.m_dspOfAmc = 1;
    dsp.m_ip = address;
    return dsp;
}

// A blade in service, with nothing wrong.
Picture Sound() {
    Picture picture;
    picture.m_time = Morning;
    picture.m_host.m_resident = true;
    picture.m_host.m_init = Outcome("init", RESULT_OK);
    picture.m_host.m_start = Outcome("start", RESULT_OK);
    picture.m_inventory.m_result = RESULT_OK;
    picture.m_inventory.m_modules = {Module(3, RUN_STATUS_RUNNING), Module(RTM_BAY, RUN_STATUS_RUNNING)};
    picture.m_leds = {Off(0, 2), Off(0, 3), Off(3, 2), Lit(3, 3, INTERNAL_LED_GREEN, false)};
    picture.m_dsps = {Dsp(1, 3, "192.168.0.23")};
    PortFacts port;
    port.m_port = 1;
    port.m_enabled = true;
    picture.m_ports = {port};
    picture.m_health = {HealthState::Monitored, Morning, {}};
    picture.m_controller = {Controller::State::Answers, Morning};
    return picture;
}

Fault Only(const Picture& picture) {
    const auto faults = FaultsOf(picture);
    EXPECT_THAT(faults, SizeIs(1));
    return faults.empty() ? Fault() : faults.front();
}

TEST(Causes, NothingIsWrongWithASoundBlade) {
    EXPECT_THAT(FaultsOf(Sound()), IsEmpty());
}

TEST(Causes, ASimulatedInventoryIsToldWithItsReasonAndHidesTheFailureOfInit) {
    Picture picture = Sound();
    picture.m_host.m_init = Outcome("init", 0, {"IPMI smi setup failed"});
    picture.m_source = {Source::Kind::NoPermission, "/dev/ipmi0: Permission denied"};
    const Fault fault = Only(picture);
    EXPECT_EQ("controller", fault.m_place);
    EXPECT_EQ("the inventory is simulated", fault.m_what);
    EXPECT_THAT(fault.m_cause, HasSubstr("may not open it"));
    EXPECT_THAT(fault.m_evidence, ElementsAre("/dev/ipmi0: Permission denied", "init returned 0 (nothing done)"));
    EXPECT_THAT(fault.m_cure, HasSubstr("as root"));
    picture.m_source.m_kind = Source::Kind::Missing;
    EXPECT_THAT(Only(picture).m_cure, HasSubstr("ipmi_devintf"));
    picture.m_source.m_kind = Source::Kind::NoController;
    EXPECT_THAT(Only(picture).m_cause, HasSubstr("no controller answers"));
}

TEST(Causes, AFailedStartIsExplainedByItsLines) {
    Picture picture = Sound();
    picture.m_host.m_start = Outcome("start", STARTUP_DSP_FAILED,
                                     {"TRACE calling mavk_boot", "MAVK_BOOT: x", "Fail to download DSP ErrorID = 7"});
    const Fault fault = Only(picture);
    EXPECT_EQ("DSPs", fault.m_place);
    EXPECT_THAT(fault.m_what, HasSubstr("start returned 0x30012"));
    EXPECT_THAT(fault.m_cause, HasSubstr("mavk_boot"));
    EXPECT_THAT(fault.m_evidence,
                ElementsAre("Fail to download DSP ErrorID = 7", HasSubstr("2026-11-22T09:30:00.125Z")));
}

TEST(Causes, AnInitWithoutALineIsExplainedToo) {
    Picture picture = Sound();
    picture.m_host.m_init = Outcome("init", 0);
    EXPECT_THAT(Only(picture).m_cause, HasSubstr("no DSPs"));
    picture.m_host.m_init = Outcome("init", 0, {"Fail to Get MAC of eth6"});
    EXPECT_EQ("eth6", Only(picture).m_place);
}

TEST(Causes, AFailedStopIsTold) {
    Picture picture = Sound();
    picture.m_host.m_stop = Outcome("stop", STARTUP_MEDIA_STOP_FAILED, {"Fail to stop MEDIA SERVER "});
    EXPECT_THAT(Only(picture).m_cause, HasSubstr("mediaStop"));
}

TEST(Causes, AFailedModuleHasTheCauseOfTheStart) {
    Picture picture = Sound();
    picture.m_host.m_start = Outcome("start", STARTUP_DSP_FAILED, {"DSPs Post Test Fail, ErrorID = 16"});
    picture.m_inventory.m_modules = {Module(3, RUN_STATUS_FAILED), Module(6, RUN_STATUS_RUNNING)};
    const auto faults = FaultsOf(picture);
    ASSERT_THAT(faults, SizeIs(2));
    EXPECT_EQ("AMC bay 3", faults[1].m_place);
    EXPECT_EQ("run status failed (5)", faults[1].m_what);
    EXPECT_THAT(faults[1].m_cause, HasSubstr("mavk_diag"));
    EXPECT_THAT(faults[1].m_evidence, Contains(HasSubstr("start returned")));
}

TEST(Causes, EveryRedAndEveryLitOutOfServiceLedIsToldWithItsReading) {
    Picture picture = Sound();
    picture.m_leds = {
        Lit(0, HOST_LED_FOURTH, INTERNAL_LED_RED, true), Lit(3, HOST_LED_OUT_OF_SERVICE, INTERNAL_LED_AMBER, false),
        Lit(3, HOST_LED_HEALTH, INTERNAL_LED_GREEN, false), Lit(3, HOST_LED_HOT_SWAP, INTERNAL_LED_BLUE, true)};
    const auto faults = FaultsOf(picture);
    ASSERT_THAT(faults, SizeIs(2));
    EXPECT_EQ("baseboard", faults[0].m_place);
    EXPECT_EQ("LED 4 LED 3 is on red", faults[0].m_what);
    EXPECT_THAT(faults[0].m_cause, HasSubstr("module's own controller"));
    EXPECT_THAT(faults[0].m_evidence, ElementsAre("on red, under local control, read 2026-11-22T09:30:00.125Z"));
    EXPECT_EQ("AMC bay 3", faults[1].m_place);
    EXPECT_THAT(faults[1].m_what, HasSubstr("out of service is on amber"));
    EXPECT_THAT(faults[1].m_cause, HasSubstr("the host set this LED"));
}

TEST(Causes, AnOutOfServiceLedMayBlinkDuringAStart) {
    Picture picture = Sound();
    picture.m_leds = {Lit(3, HOST_LED_OUT_OF_SERVICE, INTERNAL_LED_RED, false)};
    EXPECT_THAT(FaultsOf(picture), SizeIs(1));
    picture.m_calls = {{"start", Morning, ""}};
    EXPECT_THAT(FaultsOf(picture), IsEmpty());
}

TEST(Causes, AReadingOfBeforeAGoodStartSaysNothingOfARedLed) {
    Picture picture = Sound();
    picture.m_leds = {Lit(3, HOST_LED_OUT_OF_SERVICE, INTERNAL_LED_RED, false)};
    picture.m_host.m_start->m_time = Morning + 1ms;
    EXPECT_THAT(FaultsOf(picture), IsEmpty()) << "it is about to be read again";
    picture.m_leds[0].m_read = Morning + 1ms;
    EXPECT_THAT(FaultsOf(picture), SizeIs(1));
}

TEST(Causes, AFaultOfTheMonitorIsToldWithItsLinesAndThatMonitoringHasEnded) {
    Picture picture = Sound();
    picture.m_health = {HealthState::Fault,
                        Morning,
                        {"Waiting for 0x800072 message timed out. timeout period = 5000 ms",
                         "QBoardStatusReply() failed in IsVXPLive()"}};
    const Fault fault = Only(picture);
    EXPECT_EQ("media software", fault.m_place);
    EXPECT_EQ("health: fault", fault.m_what);
    EXPECT_EQ("the media software does not answer", fault.m_cause);
    EXPECT_THAT(fault.m_evidence, Contains("monitoring ended 2026-11-22T09:30:00.125Z"));
    EXPECT_THAT(fault.m_cure, HasSubstr("`bmhost stop` and `bmhost start`"));
}

TEST(Causes, AMonitorThatEndedIsAFaultOnlyInService) {
    Picture picture = Sound();
    picture.m_health.m_state = HealthState::Ended;
    EXPECT_EQ("no longer monitored", Only(picture).m_what);
    picture.m_host.m_start->m_time = Morning + 1ms;
    EXPECT_THAT(FaultsOf(picture), IsEmpty()) << "the one of before the start; the next is about to tell of itself";
    picture.m_host.m_start.reset();
    EXPECT_THAT(FaultsOf(picture), IsEmpty());
}

TEST(Causes, AControllerThatIsLostExplainsOldReadings) {
    Picture picture = Sound();
    picture.m_controller = {Controller::State::Lost, Morning};
    picture.m_time = Morning + 10min;
    picture.m_leds[0].m_result = 0xC3;
    const Fault fault = Only(picture);
    EXPECT_EQ("controller lost since 2026-11-22T09:30:00.125Z", fault.m_what);
    EXPECT_EQ("controller lost", fault.m_kind);
    EXPECT_THAT(fault.m_evidence, ElementsAre("the oldest reading of an LED is of 2026-11-22T09:30:00.125Z"));
}

TEST(Causes, AReadingThatFailedOrIsOldIsTold) {
    Picture picture = Sound();
    picture.m_leds = {Off(3, 2)};
    picture.m_leds[0].m_result = RESULT_NOT_FOUND;
    const Fault fault = Only(picture);
    EXPECT_EQ("LED 2 out of service is not read any more", fault.m_what);
    EXPECT_THAT(fault.m_evidence,
                ElementsAre("the last try gave 12 (not found)", "last read 2026-11-22T09:30:00.125Z: off"));

    picture.m_leds[0].m_result = RESULT_OK;
    picture.m_time = Morning + 89s;
    EXPECT_THAT(FaultsOf(picture), IsEmpty());
    picture.m_time = Morning + 91s;
    EXPECT_THAT(FaultsOf(picture), SizeIs(1));
    picture.m_calls = {{"firmware update", Morning, ""}};
    EXPECT_THAT(FaultsOf(picture), IsEmpty()) << "no sweep while an order is under way";
}

TEST(Causes, OfEachTargetTheLatestUpgradeCounts) {
    Picture picture = Sound();
    UpgradeFacts failed;
    failed.m_target = UPGRADETARGET_MODULE;
    failed.m_bay = 3;
    failed.m_state = UPGRADE_FAILED;
    failed.m_begun = Morning;
    failed.m_ended = Morning + 2s;
    failed.m_file = "image.bin";
    UpgradeFacts ofBoard = failed;
    ofBoard.m_target = UPGRADETARGET_BASEBOARD;
    ofBoard.m_state = UPGRADE_DONE;
    picture.m_upgrades = {failed, ofBoard};
    const Fault fault = Only(picture);
    EXPECT_EQ("AMC bay 3", fault.m_place);
    EXPECT_THAT(fault.m_evidence,
                ElementsAre("begun 2026-11-22T09:30:00.125Z", "failed 2026-11-22T09:30:02.125Z", "image image.bin"));
    UpgradeFacts again = failed;
    again.m_state = UPGRADE_DONE;
    picture.m_upgrades.push_back(again);
    EXPECT_THAT(FaultsOf(picture), IsEmpty());
}

TEST(Causes, ADspWithoutAddressIsToldButNotBeforeTheDefaultsAreStored) {
    Picture picture = Sound();
    picture.m_dsps = {Dsp(5, 4, "")};
    EXPECT_EQ("DSP 5", Only(picture).m_place);
    EXPECT_THAT(Only(picture).m_cure, HasSubstr("bmhost dsp set-ip"));
    picture.m_dsps = {Dsp(5, 4, ""), Dsp(6, 4, ""), Dsp(7, 4, "192.168.0.9"), Dsp(8, 6, "")};
    EXPECT_EQ("3 DSPs", Only(picture).m_place);
    EXPECT_THAT(Only(picture).m_evidence, ElementsAre("AMC bay 4: DSP 5, 6", "AMC bay 6: DSP 8"));
    picture.m_dsps = {Dsp(4, 3, "")};
    EXPECT_THAT(FaultsOf(picture), SizeIs(1));
    picture.m_dsps[0].m_stored = true;
    EXPECT_THAT(FaultsOf(picture), IsEmpty());
}

TEST(Causes, WhatTheStorageRefusedIsExplainedByItsWords) {
    Picture picture = Sound();
    picture.m_dsps[0].m_read = false;
    picture.m_dsps[0].m_note = "StartTransaction - /var/lib/bmhost: Permission denied";
    const Fault fault = Only(picture);
    EXPECT_THAT(fault.m_cause, HasSubstr("belongs to another user"));
    EXPECT_THAT(fault.m_evidence, ElementsAre("StartTransaction - /var/lib/bmhost: Permission denied"));
    picture = Sound();
    picture.m_ports[0].m_enabled.reset();
    EXPECT_EQ("switch port 1", Only(picture).m_place);
    picture.m_ports[0].m_stored = true;
    EXPECT_THAT(FaultsOf(picture), IsEmpty()) << "nothing is stored before the first init with the board";
    picture.m_ports[0].m_note = "StartTransaction - /var/lib/bmhost: Permission denied";
    EXPECT_THAT(Only(picture).m_cause, HasSubstr("belongs to another user"));
}

TEST(Causes, ACallThatDoesNotReturnIsToldOnceItTakesTooLong) {
    Picture picture = Sound();
    picture.m_time = Morning + 59s;
    picture.m_calls = {{"init", Morning, ""}};
    EXPECT_THAT(FaultsOf(picture), IsEmpty());
    picture.m_time = Morning + 61s;
    EXPECT_EQ("init has not returned since 2026-11-22T09:30:00.125Z", Only(picture).m_what);
    EXPECT_EQ("init has not returned", Only(picture).m_kind);
    picture.m_calls = {{"led set 3 health on", Morning, "uid 0, process 4711"}};
    EXPECT_THAT(Only(picture).m_evidence, ElementsAre("asked for by uid 0, process 4711"));
    picture.m_calls = {{"start", Morning, ""}};
    EXPECT_THAT(FaultsOf(picture), IsEmpty()) << "a start takes as long as the board's tools";
    picture.m_calls = {{"read 0x100", Morning, "uid 0, process 4711", true}};
    EXPECT_THAT(FaultsOf(picture), IsEmpty()) << "it was not called yet";
}

TEST(Causes, AnInventoryWithoutBoardIsTold) {
    Picture picture = Sound();
    picture.m_inventory.m_result = RESULT_NOT_FOUND;
    EXPECT_EQ("the board's table cannot be read", Only(picture).m_what);
    picture.m_host.m_init.reset();
    EXPECT_THAT(FaultsOf(picture), IsEmpty()) << "before init there is no inventory";
}

} // namespace
