// An outcome as the socket carries it.
#include "host/orders/Order.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace bmhost;
using nlohmann::ordered_json;

OrderOutcome Sample() {
    OrderOutcome outcome;
    outcome.m_result = 204;
    outcome.m_changed = true;
    outcome.m_text = "a line\n";
    outcome.m_remarks = {"one", "two"};
    outcome.m_reasons = {"why"};
    outcome.m_cure = "do this";
    outcome.m_values = {{"bay", 3}, {"after", "on red"}};
    return outcome;
}

TEST(OrderOutcomeJson, HasTheCommonKeysFirst) {
    EXPECT_EQ(
        R"({"order":"led-set","result":204,"good":false,"changed":true,"text":"a line\n","remarks":["one","two"],)"
        R"("reasons":["why"],"cure":"do this","bay":3,"after":"on red"})",
        OrderOutcomeJson("led-set", Sample()).dump());
}

TEST(OrderOutcomeJson, IsReadBackAsItWas) {
    const OrderOutcome outcome = OrderOutcomeOf(OrderOutcomeJson("led-set", Sample()));
    EXPECT_EQ(OrderOutcomeJson("", Sample()), OrderOutcomeJson("", outcome));
}

TEST(OrderOutcomeJson, HasBytesThatAreNoTextAsCharacters) {
    OrderOutcome outcome;
    outcome.m_reasons = {"caf\xE9", "caf\xC3\xA9"};
    EXPECT_EQ(R"(["café","café"])", OrderOutcomeJson("start", outcome)["reasons"].dump());
}

TEST(OrderOutcomeJson, ThatLacksSomethingIsRefusedByName) {
    for (const char* name : {"result", "good", "changed", "text", "remarks", "reasons", "cure"}) {
        ordered_json told = OrderOutcomeJson("led-set", Sample());
        told.erase(name);
        try {
            OrderOutcomeOf(told);
            ADD_FAILURE() << name;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(name));
        }
        told[name] = ordered_json::object({{"x", nullptr}});
        EXPECT_THROW(OrderOutcomeOf(told), std::runtime_error) << name;
    }
    EXPECT_THROW(OrderOutcomeOf(ordered_json::array()), std::runtime_error);
}

} // namespace
