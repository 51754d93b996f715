// The controller's own view as JSON, for tests and people.
#include "sim/module/CarrierReport.h"

#include "SampleCarrier.h"

#include <gmock/gmock.h>

using namespace bladesim;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

class CarrierReport : public testing::Test {
protected:
    void Ask(uint8_t command, const std::vector<uint8_t>& data) {
        ASSERT_EQ(m_carrier.Answer(command, data, m_now).at(0), 0);
    }

    std::string Describe(size_t index) { return DescribeLEDs(m_carrier, m_now).at(index); }

    Carrier m_carrier{SampleCarrier()};
    LedClock::time_point m_now{1h};
};

} // namespace

TEST_F(CarrierReport, DescribesEveryLEDOfEveryFRU) {
    EXPECT_THAT(DescribeLEDs(m_carrier, m_now), SizeIs(5));
    EXPECT_EQ(Describe(1),
              R"({"fru":0,"led":1,"site":"board","number":5,"mode":"local","state":"off","on_ms":0,"off_ms":0,)"
              R"("color":"red","local":{"state":"off","on_ms":0,"off_ms":0,"color":"red"},"override":null,)"
              R"("lamp_test_left_ms":0})");
}

TEST_F(CarrierReport, DescribesAnOverrideThatBlinks) {
    Ask(0x07, {0, 0, 1, 50, 30, 4});
    EXPECT_EQ(
        Describe(1),
        R"({"fru":0,"led":1,"site":"board","number":5,"mode":"override","state":"blink","on_ms":300,"off_ms":500,)"
        R"("color":"amber","local":{"state":"off","on_ms":0,"off_ms":0,"color":"red"},)"
        R"("override":{"state":"blink","on_ms":300,"off_ms":500,"color":"amber"},"lamp_test_left_ms":0})");
}

TEST_F(CarrierReport, DescribesALampTestOfAnLEDWithoutLocalControl) {
    Ask(0x07, {0, 2, 5, 0xFB, 20, 0x0F});
    m_now += 500ms;
    EXPECT_EQ(Describe(4),
              R"({"fru":2,"led":5,"site":"amc","number":3,"mode":"lamp-test","state":"on","on_ms":0,"off_ms":0,)"
              R"("color":"green","local":null,"override":null,"lamp_test_left_ms":1500})");
}

TEST_F(CarrierReport, HasAWordForSitesOfOtherKinds) {
    Blade blade = SampleCarrier();
    blade.m_frus[0].m_site.m_type = 10;
    EXPECT_THAT(DescribeLEDs(Carrier(blade), m_now).at(0), HasSubstr(R"("site":"other")"));
}

TEST_F(CarrierReport, DescribesTheControls) {
    Ask(0x04, {0, 2, 0});
    Ask(0x04, {0, 2, 0});
    Ask(0x04, {0, 0, 3});
    EXPECT_THAT(DescribeControls(m_carrier),
                ElementsAre(R"({"fru":2,"option":0,"count":2})", R"({"fru":0,"option":3,"count":1})"));
}
