// Blade files: faults, and the errors of bad ones.
#include "BladeFileTest.h"

#include "sim/blade/FaultKinds.h"

using namespace bladesim;
using testing::ElementsAre;

namespace {

class BladeFileFault : public BladeFileTest {
protected:
    Fault ReadFaultWith(const nlohmann::json& fault) { return ReadWith("/faults/0", fault).m_faults.at(0); }
};

class BladeFileFaultValue : public BladeFileValueTest {};

} // namespace

TEST_F(BladeFileFault, SaysWhichRequestsItHits) {
    const Fault fault = ReadSample().m_faults.at(0);
    EXPECT_THAT(fault.m_request, ElementsAre(0x2C, 0x02, std::nullopt, 0x03));
    EXPECT_EQ(fault.m_first, 1U);
    EXPECT_EQ(fault.m_count, 0U) << "all that follow";
}

TEST_F(BladeFileFault, SaysFromWhichRequestOnAndHowManyItHits) {
    const Fault fault = ReadFaultWith({{"request", "0a 11"}, {"first", 3}, {"count", 2}, {"do", "lost"}});
    EXPECT_EQ(fault.m_first, 3U);
    EXPECT_EQ(fault.m_count, 2U);
    EXPECT_EQ(fault.m_kind, FaultKind::Lost);
}

TEST_F(BladeFileFault, OfEveryKindTakesTheGreatestArgumentOfItsKindOrNone) {
    for (const FaultKindText& kind : FaultKinds) {
        nlohmann::json json = {{"request", "0a 11"}, {"do", kind.m_name}};
        if (kind.m_maxArgument) json["argument"] = *kind.m_maxArgument;
        if (kind.m_kind == FaultKind::Reply) json["reply"] = "00 10";
        const Fault fault = ReadFaultWith(json);
        EXPECT_EQ(fault.m_kind, kind.m_kind) << kind.m_name;
        EXPECT_EQ(fault.m_argument, kind.m_maxArgument.value_or(0)) << kind.m_name;
    }
}

TEST_F(BladeFileFault, HasTheReplyThatComesInstead) {
    EXPECT_THAT(ReadFaultWith({{"request", "0a 11"}, {"do", "reply"}, {"reply", "00 10 ff"}}).m_reply,
                ElementsAre(0x00, 0x10, 0xFF));
}

TEST_P(BladeFileFaultValue, IsRefusedWithItsKeyAndWhatWasExpected) {
    ExpectRefusal();
}

INSTANTIATE_TEST_SUITE_P(
    Values, BladeFileFaultValue,
    testing::Values(
        BadValue{"/faults", 1, "faults", "expected a list"},
        BadValue{"/faults/0/request", "", "faults[0].request", "network function"},
        BadValue{"/faults/0/request", "2c", "faults[0].request", "network function"},
        BadValue{"/faults/0/request", "2c ?", "faults[0].request", "?? for any byte"},
        BadValue{"/faults/0/first", 0, "faults[0].first", "from 1 to "},
        BadValue{"/faults/0/count", -1, "faults[0].count", "from 0 to "},
        BadValue{"/faults/0/do", "vanish", "faults[0].do",
                 "completion-code, reply, lost, late, short, doubled, other-fru, gone, answered-twice, restarted"},
        BadValue{"/faults/0/argument", 256, "faults[0].argument", "from 0 to 255"},
        BadValue{"/faults/0/reply", "00", "faults[0].reply", "means nothing to a fault that does \"completion-code\""},
        BadValue{"/faults/0",
                 {{"request", "0a 11"}, {"do", "late"}, {"argument", 600001}},
                 "faults[0].argument",
                 "from 0 to 600000"},
        BadValue{"/faults/0", {{"request", "0a 11"}, {"do", "late"}}, "faults[0].argument", "is missing"},
        BadValue{"/faults/0",
                 {{"request", "0a 11"}, {"do", "lost"}, {"argument", 1}},
                 "faults[0].argument",
                 "means nothing to a fault that does \"lost\""},
        BadValue{
            "/faults/0", {{"request", "0a 11"}, {"do", "reply"}, {"reply", ""}}, "faults[0].reply", "completion code"},
        BadValue{"/faults/0", {{"request", "0a 11"}, {"do", "reply"}}, "faults[0].reply", "is missing"}));
