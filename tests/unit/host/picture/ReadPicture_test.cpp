// The picture's parts as they are read from a session and from the storage.
#include "host/picture/ReadPicture.h"

#include "common/veldo_common_protocol.h"
#include "host/HostParams.h"
#include "host/TestFolder.h"
#include "host/session/Session.h"

#include "bm/DataStorage.h"
#include "bm_dev/HostStorage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <unistd.h>
#include <utility>

namespace {

using namespace bmhost;
using namespace BM_ADAPTOR;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int ReadColor = 2;

/// Answers from tables by group, and rows by group and first two keys.
class TableSession final : public Session {
public:
    int Lifecycle(Operation) override { return Success; }
    std::unique_ptr<CBMITable> Table(unsigned group, int& result) override {
        result = NotFound;
        const auto found = m_tables.find(group);
        if (found == m_tables.end()) return nullptr;
        result = Success;
        return std::make_unique<CBMITable>(found->second);
    }
    std::unique_ptr<CBMIParams> Row(unsigned group, const CBMIKeys& keys, int& result) override {
        const auto key = [&](int index) { return keys.Get(index) != nullptr ? keys.Get(index)->GetInt() : 0; };
        const auto found = m_rows.find({group, {key(0), key(1)}});
        result = found != m_rows.end() ? Success : m_noRow[group];
        m_complaints.m_count += group == m_complainsOf ? 1 : 0;
        return found != m_rows.end() ? std::make_unique<CBMIParams>(found->second) : nullptr;
    }
    int WriteRow(unsigned, CBMIKeys&, CBMIParams&) override { return Success; }
    std::optional<AdaptorEvent> TakeEvent(std::chrono::milliseconds) override { return std::nullopt; }
    StorageComplaints Complaints() const override { return m_complaints; }
    bool HasUpgraded() const override { return m_upgraded; }

    void AddRow(unsigned group, CBMIParams row) { m_tables[group].AddRow(row); }

    std::map<unsigned, CBMITable> m_tables;
    std::map<std::pair<unsigned, std::pair<int, int>>, CBMIParams> m_rows;
    std::map<unsigned, int> m_noRow;
    StorageComplaints m_complaints;
    unsigned m_complainsOf = 0;
    bool m_upgraded = false;
};

class StorageFolder : public testing::Test {
protected:
    void Store(const char* file, const CBMIKeys& keys, const CBMIParams& row) const {
        const auto storage = bm_dev::MakeStorage(m_folder);
        ASSERT_EQ(1, storage->StartTransaction());
        ASSERT_EQ(1, storage->SetRow(file, keys, row));
        ASSERT_EQ(1, storage->EndTransaction());
    }

    const TestFolder m_own;
    const std::string m_folder = m_own.Path() + "/storage";
};

LedReading Reading(int bay, int led, int result, bool read) {
    LedReading reading;
    reading.m_bay = bay;
    reading.m_led = led;
    reading.m_result = result;
    if (read) reading.m_state = Row(Int(0x20c, ReadColor));
    return reading;
}

TEST(SourceOfBlade, IsTheHardwareWhereTheDeviceOpens) {
    EXPECT_EQ(Source::Kind::Hardware, SourceOfBlade("/dev/null").m_kind);
    EXPECT_EQ("", SourceOfBlade("/dev/null").m_reason);
}

TEST(SourceOfBlade, SaysWhyTheInventoryIsSimulated) {
    const Source missing = SourceOfBlade("/nowhere/ipmi0");
    EXPECT_EQ(Source::Kind::Missing, missing.m_kind);
    EXPECT_EQ("/nowhere/ipmi0: No such file or directory", missing.m_reason);
    const Source other = SourceOfBlade("/proc");
    EXPECT_EQ(Source::Kind::NoController, other.m_kind);
    EXPECT_EQ("/proc: Is a directory", other.m_reason);
}

TEST(ReadLeds, HasThoseThatTheAdaptorFindsWithTheResultOfTheTry) {
    TableSession session;
    session.m_noRow = {{0x100, NotFound}, {0x200, NotFound}};
    session.m_rows[{0x100, {1, 0}}] = Row(Int(0x101, 1, true), Int(0x10c, ReadColor));
    session.m_rows[{0x200, {3, 9}}] = Row(Int(0x201, 3, true), Int(0x20c, ReadColor), Int(0x20d, 9, true));
    const auto leds = ReadLeds(session);
    ASSERT_THAT(leds, SizeIs(2));
    EXPECT_EQ(0, leds[0].m_bay);
    EXPECT_EQ(1, leds[0].m_led);
    EXPECT_EQ(9, leds[1].m_bay);
    EXPECT_EQ(3, leds[1].m_led);
    EXPECT_EQ(1, leds[1].m_result);
    EXPECT_TRUE(leds[1].m_state);
    EXPECT_NE(WallTime{}, leds[1].m_read);
}

TEST(PutLed, KeepsTheLastGoodReadingOfAnLedThatCannotBeReadAnyMore) {
    std::vector<LedReading> leds;
    PutLed(Reading(3, 2, 1, true), leds);
    const LedReading before = leds[0];
    PutLed(Reading(3, 2, 0, false), leds);
    ASSERT_THAT(leds, SizeIs(1));
    EXPECT_EQ(0, leds[0].m_result);
    EXPECT_TRUE(leds[0].m_state);
    EXPECT_EQ(before.m_read, leds[0].m_read);
}

TEST(PutLed, TakesAwayAnLedThatIsGoneAndKeepsTheOrder) {
    std::vector<LedReading> leds;
    for (const auto& [bay, led] : {std::pair(9, 1), std::pair(0, 4), std::pair(3, 2), std::pair(3, 1)})
        PutLed(Reading(bay, led, 1, true), leds);
    PutLed(Reading(3, 2, NotFound, false), leds);
    PutLed(Reading(5, 2, NotFound, false), leds);
    std::vector<std::pair<int, int>> places;
    for (const LedReading& led : leds)
        places.emplace_back(led.m_bay, led.m_led);
    EXPECT_THAT(places, testing::ElementsAre(std::pair(0, 4), std::pair(3, 1), std::pair(9, 1)));
}

TEST(ReadDsps, TellsAnAddressThatNobodyGaveFromOneThatIsRefused) {
    TableSession session;
    session.AddRow(0x1200, Row(Int(0x1201, 3, true), Int(0x1202, 1, true), Text(0x1203, "02:4D")));
    session.AddRow(0x1200, Row(Int(0x1201, 3, true), Int(0x1202, 2, true), Text(0x1203, "02:4E")));
    session.m_rows[{0x30d10, {1, 0}}] = Row(Text(0x30d14, "10.0.0.1"));
    session.m_noRow[0x30d10] = 21;
    auto dsps = ReadDsps(session);
    ASSERT_THAT(dsps, SizeIs(2));
    EXPECT_EQ("10.0.0.1", dsps[0].m_ip);
    EXPECT_EQ(2, dsps[1].m_number);
    EXPECT_EQ(3, dsps[1].m_bay);
    EXPECT_EQ(2, dsps[1].m_dspOfAmc);
    EXPECT_EQ("", dsps[1].m_ip);
    EXPECT_TRUE(dsps[1].m_read);

    session.m_complainsOf = 0x30d10;
    session.m_complaints.m_last = "FILE: Permission denied";
    dsps = ReadDsps(session);
    EXPECT_FALSE(dsps[1].m_read);
    EXPECT_EQ("FILE: Permission denied", dsps[1].m_note);

    session.m_noRow[0x30d10] = 4;
    EXPECT_EQ("not in service", ReadDsps(session)[1].m_note);
}

TEST(ReadPorts, HasStateAndLinkOfEach) {
    TableSession session;
    session.AddRow(0x30e00, Row(Int(0x30e02, 1, true), Int(0x30e06, 2, true), Text(0x30e05, "One"), Int(0x30e03, 1),
                                Int(0x30e04, 1)));
    session.AddRow(0x30e00, Row(Int(0x30e02, 3, true), Int(0x30e06, 3, true), Text(0x30e05, "Three"), Int(0x30e03, 7),
                                Int(0x30e04, 2)));
    const auto ports = ReadPorts(session);
    ASSERT_THAT(ports, SizeIs(2));
    EXPECT_EQ("fabric", ports[0].m_leadsTo);
    EXPECT_EQ(true, ports[0].m_enabled);
    EXPECT_EQ(true, ports[0].m_linkUp);
    EXPECT_EQ("RTM", ports[1].m_leadsTo);
    EXPECT_EQ(false, ports[1].m_enabled);
    EXPECT_EQ("the state is 7", ports[1].m_note);
    EXPECT_EQ(std::nullopt, ports[1].m_linkUp);
}

TEST(ReadUpgrade, IsNoneBeforeTheFirst) {
    TableSession session;
    session.m_rows[{0x600, {0, 0}}] = Row(Int(0x601, 1), Int(0x606, 3), Int(0x602, 3));
    EXPECT_THAT(ReadUpgrade(session), IsEmpty());
    session.m_upgraded = true;
    const auto upgrades = ReadUpgrade(session);
    ASSERT_THAT(upgrades, SizeIs(1));
    EXPECT_EQ(1, upgrades[0].m_target);
    EXPECT_EQ(3, upgrades[0].m_bay);
    EXPECT_EQ(3, upgrades[0].m_state);
}

TEST_F(StorageFolder, GivesAddressesAndStatesMarkedAsStored) {
    Store(DSP_IP_FILE, Row<CBMIKeys>(Int(0x30d12, 1, true)), Row(Text(0x30d14, "10.0.0.1")));
    Store(SWITCH_PORT_FILE, Row<CBMIKeys>(Int(0x30e02, 2, true)), Row(Int(0x30e03, 0)));
    std::vector<DspFacts> dsps(2);
    dsps[0].m_number = 1;
    dsps[1].m_number = 2;
    std::vector<PortFacts> ports;
    AddStored(m_folder, dsps, ports);
    EXPECT_EQ("10.0.0.1", dsps[0].m_ip);
    EXPECT_EQ("", dsps[1].m_ip);
    EXPECT_TRUE(dsps[0].m_stored && dsps[1].m_stored && dsps[1].m_read);
    ASSERT_THAT(ports, SizeIs(4));
    EXPECT_EQ(std::nullopt, ports[0].m_enabled);
    EXPECT_EQ(false, ports[1].m_enabled);
    EXPECT_EQ("Switch Port RTM 1", ports[2].m_name);
    EXPECT_EQ("RTM", ports[2].m_leadsTo);
    for (const PortFacts& port : ports) {
        EXPECT_EQ(std::nullopt, port.m_linkUp);
        EXPECT_TRUE(port.m_stored);
    }
}

TEST_F(StorageFolder, IsNotMadeByALook) {
    std::vector<DspFacts> dsps(1);
    std::vector<PortFacts> ports;
    AddStored(m_folder, dsps, ports);
    EXPECT_FALSE(std::filesystem::exists(m_folder));
    EXPECT_TRUE(dsps[0].m_read);
    EXPECT_EQ("", dsps[0].m_ip);
}

TEST_F(StorageFolder, ThatCannotBeReadSaysSo) {
    std::filesystem::create_directories(m_folder);
    std::ofstream(m_folder + "/" + DSP_IP_FILE) << "no storage file";
    std::filesystem::create_directories(m_folder + "/" + SWITCH_PORT_FILE);
    std::vector<DspFacts> dsps(1);
    std::vector<PortFacts> ports;
    AddStored(m_folder, dsps, ports);
    EXPECT_FALSE(dsps[0].m_read);
    EXPECT_THAT(dsps[0].m_note, HasSubstr(std::string(DSP_IP_FILE) + ":1: "));
    ASSERT_THAT(ports, SizeIs(4));
    EXPECT_THAT(ports[0].m_note, HasSubstr(std::string(SWITCH_PORT_FILE) + ": not a regular file"));
}

TEST_F(StorageFolder, OfABladeWithoutDspsGivesNoPorts) {
    Store(SWITCH_PORT_FILE, Row<CBMIKeys>(Int(0x30e02, 2, true)), Row(Int(0x30e03, 0)));
    std::vector<DspFacts> dsps;
    std::vector<PortFacts> ports;
    AddStored(m_folder, dsps, ports);
    EXPECT_THAT(ports, IsEmpty());
}

} // namespace
