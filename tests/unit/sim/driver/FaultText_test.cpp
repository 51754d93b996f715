// Faults as JSON and as words.
#include "sim/driver/FaultText.h"

#include "sim/base/Error.h"
#include "sim/blade/FaultKinds.h"

#include <gmock/gmock.h>

using namespace BLADESIM;
using nlohmann::json;

namespace {

json OfWords(const std::vector<std::string>& a_Words) {
    json l_Fault = {{"request", "0a 11 ??"}};
    AddFaultWords(l_Fault, a_Words);
    return FaultToJson(FaultFromJson(l_Fault));
}

} // namespace

TEST(FaultText, WritesWhatItReads) {
    for (const FAULT_KIND_TEXT& l_Kind : g_FaultKinds) {
        json l_Fault = {{"request", "0a 11 ?? 00"}, {"first", 3}, {"count", 2}, {"do", l_Kind.m_Name}};
        if (l_Kind.m_MaxArgument) l_Fault["argument"] = 7;
        if (l_Kind.m_Kind == FAULT_KIND::REPLY) l_Fault["reply"] = "00 ff";
        EXPECT_EQ(FaultToJson(FaultFromJson(l_Fault)), l_Fault);
    }
}

TEST(FaultText, TakesWordsOfACommandLine) {
    EXPECT_EQ(OfWords({"completion-code", "0xC1"})["argument"], 0xC1);
    EXPECT_EQ(OfWords({"late", "200"})["argument"], 200);
    EXPECT_EQ(OfWords({"reply", "00", "01 02"})["reply"], "00 01 02");
    EXPECT_EQ(OfWords({"lost"})["do"], "lost");
}

TEST(FaultText, SaysWhatIsWrongWithTheWords) {
    const auto l_Reason = [](const std::vector<std::string>& a_Words) -> std::string {
        try {
            OfWords(a_Words);
            return "nothing";
        } catch (const BLADE_ERROR& l_Error) {
            return l_Error.what();
        }
    };
    EXPECT_THAT(l_Reason({"vanish"}), testing::StartsWith("do: expected one of completion-code, reply, lost"));
    EXPECT_THAT(l_Reason({"late"}), testing::StartsWith("argument: is missing"));
    EXPECT_THAT(l_Reason({"short", "256"}), testing::StartsWith("argument: "));
    EXPECT_THAT(l_Reason({"lost", "1"}), testing::StartsWith("argument: means nothing to a fault that does \"lost\""));
}

TEST(FaultText, TellsWhatAFaultHasHit) {
    FAULT_TABLE l_Table;
    l_Table.Add({{0x06, 0x01}, 2, 1, FAULT_KIND::LOST, 0, {}});
    l_Table.Hit({0x06, 0x01});
    EXPECT_EQ(FaultToJson(l_Table.List()[0]), json::parse(R"({"number": 1, "request": "06 01", "first": 2, "count": 1,
                                                              "do": "lost", "seen": 1, "hits": 0})"));
}
