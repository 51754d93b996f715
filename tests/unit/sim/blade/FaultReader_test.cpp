// Blade files: faults, and what is said about bad ones.
#include "BladeFileTest.h"

#include "sim/blade/FaultKinds.h"

using namespace BLADESIM;
using testing::ElementsAre;

namespace {

class BladeFileFault : public BLADE_FILE_TEST {
protected:
    FAULT ReadFaultWith(const nlohmann::json& a_Fault) { return ReadWith("/faults/0", a_Fault).m_Faults.at(0); }
};

class BladeFileFaultValue : public BLADE_FILE_VALUE_TEST {};

} // namespace

TEST_F(BladeFileFault, SaysWhichRequestsItHits) {
    const FAULT l_Fault = ReadSample().m_Faults.at(0);
    EXPECT_THAT(l_Fault.m_Request, ElementsAre(0x2C, 0x02, std::nullopt, 0x03));
    EXPECT_EQ(l_Fault.m_First, 1U);
    EXPECT_EQ(l_Fault.m_Count, 0U) << "all that follow";
}

TEST_F(BladeFileFault, SaysFromWhichRequestOnAndHowManyItHits) {
    const FAULT l_Fault = ReadFaultWith({{"request", "0a 11"}, {"first", 3}, {"count", 2}, {"do", "lost"}});
    EXPECT_EQ(l_Fault.m_First, 3U);
    EXPECT_EQ(l_Fault.m_Count, 2U);
    EXPECT_EQ(l_Fault.m_Kind, FAULT_KIND::LOST);
}

TEST_F(BladeFileFault, OfEveryKindTakesTheGreatestArgumentOfItsKindOrNone) {
    for (const FAULT_KIND_TEXT& l_Kind : g_FaultKinds) {
        nlohmann::json l_Json = {{"request", "0a 11"}, {"do", l_Kind.m_Name}};
        if (l_Kind.m_MaxArgument) l_Json["argument"] = *l_Kind.m_MaxArgument;
        if (l_Kind.m_Kind == FAULT_KIND::REPLY) l_Json["reply"] = "00 10";
        const FAULT l_Fault = ReadFaultWith(l_Json);
        EXPECT_EQ(l_Fault.m_Kind, l_Kind.m_Kind) << l_Kind.m_Name;
        EXPECT_EQ(l_Fault.m_Argument, l_Kind.m_MaxArgument.value_or(0)) << l_Kind.m_Name;
    }
}

TEST_F(BladeFileFault, HasTheReplyThatComesInstead) {
    EXPECT_THAT(ReadFaultWith({{"request", "0a 11"}, {"do", "reply"}, {"reply", "00 10 ff"}}).m_Reply,
                ElementsAre(0x00, 0x10, 0xFF));
}

TEST_P(BladeFileFaultValue, IsRefusedWithItsKeyAndWhatWasExpected) {
    ExpectRefusal();
}

INSTANTIATE_TEST_SUITE_P(
    Values, BladeFileFaultValue,
    testing::Values(
        BAD_VALUE{"/faults", 1, "faults", "expected a list"},
        BAD_VALUE{"/faults/0/request", "", "faults[0].request", "network function"},
        BAD_VALUE{"/faults/0/request", "2c", "faults[0].request", "network function"},
        BAD_VALUE{"/faults/0/request", "2c ?", "faults[0].request", "?? for any byte"},
        BAD_VALUE{"/faults/0/first", 0, "faults[0].first", "from 1 to "},
        BAD_VALUE{"/faults/0/count", -1, "faults[0].count", "from 0 to "},
        BAD_VALUE{"/faults/0/do", "vanish", "faults[0].do",
                  "completion-code, reply, lost, late, short, doubled, other-fru, gone"},
        BAD_VALUE{"/faults/0/argument", 256, "faults[0].argument", "from 0 to 255"},
        BAD_VALUE{"/faults/0/reply", "00", "faults[0].reply", "means nothing to a fault that does \"completion-code\""},
        BAD_VALUE{"/faults/0",
                  {{"request", "0a 11"}, {"do", "late"}, {"argument", 600001}},
                  "faults[0].argument",
                  "from 0 to 600000"},
        BAD_VALUE{"/faults/0", {{"request", "0a 11"}, {"do", "late"}}, "faults[0].argument", "is missing"},
        BAD_VALUE{"/faults/0",
                  {{"request", "0a 11"}, {"do", "lost"}, {"argument", 1}},
                  "faults[0].argument",
                  "means nothing to a fault that does \"lost\""},
        BAD_VALUE{
            "/faults/0", {{"request", "0a 11"}, {"do", "reply"}, {"reply", ""}}, "faults[0].reply", "completion code"},
        BAD_VALUE{"/faults/0", {{"request", "0a 11"}, {"do", "reply"}}, "faults[0].reply", "is missing"}));
