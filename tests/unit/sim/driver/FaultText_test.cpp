// Faults as JSON and as words.
#include "sim/driver/FaultText.h"

#include "sim/base/Error.h"
#include "sim/blade/FaultKinds.h"

#include <gmock/gmock.h>

using namespace bladesim;
using nlohmann::json;

namespace {

json OfWords(const std::vector<std::string>& words) {
    json fault = {{"request", "0a 11 ??"}};
    AddFaultWords(fault, words);
    return FaultToJson(FaultFromJson(fault));
}

} // namespace

TEST(FaultText, WritesWhatItReads) {
    for (const FaultKindText& kind : FaultKinds) {
        json fault = {{"request", "0a 11 ?? 00"}, {"first", 3}, {"count", 2}, {"do", kind.m_name}};
        if (kind.m_maxArgument) fault["argument"] = 7;
        if (kind.m_kind == FaultKind::Reply) fault["reply"] = "00 ff";
        EXPECT_EQ(FaultToJson(FaultFromJson(fault)), fault);
    }
}

TEST(FaultText, TakesWordsOfACommandLine) {
    EXPECT_EQ(OfWords({"completion-code", "0xC1"})["argument"], 0xC1);
    EXPECT_EQ(OfWords({"late", "200"})["argument"], 200);
    EXPECT_EQ(OfWords({"reply", "00", "01 02"})["reply"], "00 01 02");
    EXPECT_EQ(OfWords({"lost"})["do"], "lost");
}

TEST(FaultText, SaysWhatIsWrongWithTheWords) {
    const auto reason = [](const std::vector<std::string>& words) -> std::string {
        try {
            OfWords(words);
            return "nothing";
        } catch (const BladeError& error) {
            return error.what();
        }
    };
    EXPECT_THAT(reason({"vanish"}), testing::StartsWith("do: expected one of completion-code, reply, lost"));
    EXPECT_THAT(reason({"late"}), testing::StartsWith("argument: is missing"));
    EXPECT_THAT(reason({"short", "256"}), testing::StartsWith("argument: "));
    EXPECT_THAT(reason({"lost", "1"}), testing::StartsWith("argument: means nothing to a fault that does \"lost\""));
}

TEST(FaultText, TellsWhatAFaultHasHit) {
    FaultTable table;
    table.Add({{0x06, 0x01}, 2, 1, FaultKind::Lost, 0, {}});
    table.Hit({0x06, 0x01});
    EXPECT_EQ(FaultToJson(table.List()[0]), json::parse(R"({"number": 1, "request": "06 01", "first": 2, "count": 1,
                                                              "do": "lost", "seen": 1, "hits": 0})"));
}
