// The controller's own view as JSON: the texts that tests and people get.
#include "sim/module/CarrierReport.h"

#include "SampleCarrier.h"

#include <gmock/gmock.h>

using namespace BLADESIM;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

class CarrierReport : public testing::Test {
protected:
    void Ask(uint8_t a_Command, const std::vector<uint8_t>& a_Data) {
        ASSERT_EQ(m_Carrier.Answer(a_Command, a_Data, m_Now).at(0), 0);
    }

    std::string Describe(size_t a_Index) { return DescribeLEDs(m_Carrier, m_Now).at(a_Index); }

    CARRIER m_Carrier{SampleCarrier()};
    LED_CLOCK::time_point m_Now{1h};
};

} // namespace

TEST_F(CarrierReport, DescribesEveryLEDOfEveryFRU) {
    EXPECT_THAT(DescribeLEDs(m_Carrier, m_Now), SizeIs(5));
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
    m_Now += 500ms;
    EXPECT_EQ(Describe(4),
              R"({"fru":2,"led":5,"site":"amc","number":3,"mode":"lamp-test","state":"on","on_ms":0,"off_ms":0,)"
              R"("color":"green","local":null,"override":null,"lamp_test_left_ms":1500})");
}

TEST_F(CarrierReport, HasAWordForSitesOfOtherKinds) {
    BLADE l_Blade = SampleCarrier();
    l_Blade.m_FRUs[0].m_Site.m_Type = 10;
    EXPECT_THAT(DescribeLEDs(CARRIER(l_Blade), m_Now).at(0), HasSubstr(R"("site":"other")"));
}

TEST_F(CarrierReport, DescribesTheControls) {
    Ask(0x04, {0, 2, 0});
    Ask(0x04, {0, 2, 0});
    Ask(0x04, {0, 0, 3});
    EXPECT_THAT(DescribeControls(m_Carrier),
                ElementsAre(R"({"fru":2,"option":0,"count":2})", R"({"fru":0,"option":3,"count":1})"));
}
