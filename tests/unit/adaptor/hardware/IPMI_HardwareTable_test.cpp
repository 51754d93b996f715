// What the hardware tables have in common: the line of an adaptor that is not started, the search for a FRU, and the
// rows that a table takes.
#include "adaptor/hardware/IPMI_HardwareTable.h"

#include "adaptor/hardware/HardwareTest.h"
#include "common/veldo_common_rows.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using HandlerBeginning = HARDWARE_TEST;

TEST_F(HandlerBeginning, LogsAStateThatIsNotTheStartedOne) {
    for (const int l_State : {ADAPTOR_CREATED, ADAPTOR_INITIALISING}) {
        BeInState(l_State);
        LogUnlessStarted(m_Frame, "Some :: Handler -- In bad state %i");
        EXPECT_THAT(Lines(), ElementsAre(Error("Some :: Handler -- In bad state " + std::to_string(l_State))));
    }
    BeInState(ADAPTOR_STARTED);
    LogUnlessStarted(m_Frame, "Some :: Handler -- In bad state %i");
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(HandlerBeginning, OfATableMakesAnEmptyOneAndLogsTheState) {
    BeInState(ADAPTOR_CREATED);
    CBMITable* l_Made = nullptr;
    EXPECT_EQ(&BeginTable(m_Frame, l_Made, "Some :: Table -- In bad state %i"), l_Made);
    const std::unique_ptr<CBMITable> l_Owner(l_Made);
    EXPECT_EQ(l_Made->GetSize(), 0);
    EXPECT_THAT(Lines(), ElementsAre(Error("Some :: Table -- In bad state 0")));
}

class FruSearch : public HARDWARE_TEST {
protected:
    /// Whether the AMC of the bay is found with a FRU.
    bool Find(std::optional<int32_t> a_Bay, const char* a_NoEntity = "no entity") {
        return FindHardwareWithFRU(m_Frame, ENTITY_ID_AMC, a_Bay, a_NoEntity, "no FRU: 100%").has_value();
    }
};

TEST_F(FruSearch, TellsWhatIsMissing) {
    AddEntity(ENTITY_ID_AMC, 3, 3);
    EXPECT_FALSE(Find(2));
    EXPECT_THAT(Lines(), ElementsAre(Error("no entity")));
    EXPECT_FALSE(Find(3));
    EXPECT_THAT(Lines(), ElementsAre(Error("no FRU: 100%")));
    EXPECT_FALSE(Find(2, nullptr));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FruSearch, FindsWithAndWithoutABay) {
    AddFRU(AddEntity(ENTITY_ID_AMC, 3, 3), "FRU");
    EXPECT_TRUE(Find(3));
    EXPECT_TRUE(Find(std::nullopt));
    EXPECT_FALSE(Find(4, nullptr));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST(TableRows, AreThoseOfTheReadsThatSucceed) {
    CBMITable l_Table;
    int l_Number = 0;
    for (const int l_Result : {1, 12, 0, 1}) {
        const auto l_Read = [&](CBMIParams& a_Row) {
            AddInt(a_Row, BMI_HW_AMC_BAY, ++l_Number);
            return l_Result;
        };
        EXPECT_EQ(AddRowRead(l_Table, l_Read), l_Result);
    }
    EXPECT_THAT(TextsOf(l_Table), ElementsAre(TEXTS{"0x30201 i:1"}, TEXTS{"0x30201 i:4"}));
}

} // namespace
