// The LED tables: which LEDs are read, which failure ends a table and what it then returns.
#include "adaptor/leds/LedTest.h"

#include "adaptor/leds/IPMI_LEDLists.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// One group's table, and the ids of its rows' keys.
struct TABLE {
    const char* m_Name;
    int (LED_LISTS::*m_Read)(CBMITable*&) const;
    std::string m_LEDKey;
    std::string m_BayKey;
};

void PrintTo(const TABLE& a_Table, std::ostream* a_Stream) {
    *a_Stream << a_Table.m_Name;
}

class LedTable : public LED_ROOM_TEST, public testing::WithParamInterface<TABLE> {
protected:
    /// These LEDs of a FRU are green; the controller refuses others.
    static void Answer(uint8_t a_FRUID, const std::vector<uint8_t>& a_LEDs) {
        for (const uint8_t l_LED : a_LEDs)
            OnGet(a_FRUID, l_LED, LOCAL_GREEN);
    }

    /// The keys of the table's rows, as "LED" or "bay/LED".
    TEXTS Keys(int a_Result = 1) {
        CBMITable* l_Made = nullptr;
        EXPECT_EQ((LED_LISTS(m_Frame).*GetParam().m_Read)(l_Made), a_Result);
        const std::unique_ptr<CBMITable> l_Owner(l_Made);
        if (l_Made == nullptr) return {"no table"};
        TEXTS l_Keys;
        for (const TEXTS& l_Row : TextsOf(*l_Made)) {
            std::string l_Key;
            for (const std::string& l_Text : l_Row) {
                if (l_Text.starts_with(GetParam().m_BayKey + " i:")) l_Key = Value(l_Text) + "/" + l_Key;
                if (l_Text.starts_with(GetParam().m_LEDKey + " i:")) l_Key += Value(l_Text);
            }
            l_Keys.push_back(l_Key);
        }
        return l_Keys;
    }

    /// The lines that name the tables.
    std::vector<LOG_LINE> TableLines() {
        std::vector<LOG_LINE> l_Lines = Lines();
        std::erase_if(l_Lines,
                      [](const LOG_LINE& a_Line) { return a_Line.m_Text.find("LED_ReadTable") == std::string::npos; });
        return l_Lines;
    }

private:
    static std::string Value(const std::string& a_Text) {
        const auto l_From = a_Text.find(":") + 1;
        return a_Text.substr(l_From, a_Text.find(" key") - l_From);
    }
};

// ---- baseboard

constexpr const char* NO_HOT_SWAP = "IPMIAdaptor::Baseboard_LED_ReadTable - call for hot swap LED Failed ";
constexpr const char* NO_OUT_OF_SERVICE = "IPMIAdaptor::Baseboard_LED_ReadTable - call for out of service LED Failed ";
constexpr const char* NO_HEALTH = "IPMIAdaptor::Baseboard_LED_ReadTable - call for health LED Failed ";

using BaseboardLedTable = LedTable;

TEST_P(BaseboardLedTable, HoldsTheThreeLeds) {
    AddBoard(4);
    Answer(0, {0, 1, 2, 3});
    EXPECT_THAT(Keys(), ElementsAre("1", "2", "3"));
    EXPECT_THAT(TableLines(), ElementsAre(Trace("IPMIAdaptor :: Baseboard_LED_ReadTable")));
}

TEST_P(BaseboardLedTable, TriesAllAndReturnsTheHealthLedsStatus) {
    AddBoard();
    Answer(0, {2});
    EXPECT_THAT(Keys(), ElementsAre("3"));
    EXPECT_THAT(TableLines(), ElementsAre(Trace("IPMIAdaptor :: Baseboard_LED_ReadTable"), Error(NO_HOT_SWAP),
                                          Error(NO_OUT_OF_SERVICE)));
}

TEST_P(BaseboardLedTable, WithoutTheHealthLedFailsAndKeepsTheOtherRows) {
    AddBoard();
    Answer(0, {0, 1});
    EXPECT_THAT(Keys(0), ElementsAre("1", "2"));
    EXPECT_THAT(TableLines(), ElementsAre(Trace("IPMIAdaptor :: Baseboard_LED_ReadTable"), Error(NO_HEALTH)));
}

TEST_P(BaseboardLedTable, WithoutABoardIsEmptyAndNotFound) {
    EXPECT_THAT(Keys(12), IsEmpty());
    EXPECT_THAT(TableLines(), ElementsAre(Trace("IPMIAdaptor :: Baseboard_LED_ReadTable"), Error(NO_HOT_SWAP),
                                          Error(NO_OUT_OF_SERVICE), Error(NO_HEALTH)));
}

TEST_P(BaseboardLedTable, IsSimulated) {
    AddEntity(ENTITY_ID_BASEBOARD, 0);
    g_bCompleteIPMISimulation = true;
    EXPECT_THAT(Keys(), ElementsAre("1", "2", "3"));
}

INSTANTIATE_TEST_SUITE_P(Groups, BaseboardLedTable,
                         testing::Values(TABLE{"Internal", &LED_LISTS::BaseboardInternal, "0x101", "none"},
                                         TABLE{"External", &LED_LISTS::Baseboard, "0x30101", "none"}),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

// ---- AMC

constexpr const char* AMC_NO_OUT_OF_SERVICE = "IPMIAdaptor::AMC_LED_ReadTable - call for out of service LED Failed";
constexpr const char* AMC_NO_HEALTH = "IPMIAdaptor::AMC_LED_ReadTable - call for health LED Failed - may be optional";

class AmcLedTable : public LedTable {
protected:
    /// The lines of a table up to this bay, when nothing fails.
    static std::vector<LOG_LINE> UpTo(int a_Bay) {
        std::vector<LOG_LINE> l_Lines = {Trace("IPMIAdaptor :: AMC_LED_ReadTable")};
        for (int i = 1; i <= a_Bay; ++i)
            l_Lines.push_back(Trace("IPMIAdaptor :: AMC_LED_ReadTable - looking for AMC " + std::to_string(i)));
        return l_Lines;
    }
};

TEST_P(AmcLedTable, HoldsTheLedsOfEveryBayAndOfTheRtm) {
    AddAMC(2);
    AddAMC(8);
    AddWithLEDs(ENTITY_ID_RTM, 9, 9);
    for (const uint8_t l_FRUID : {2, 8, 9})
        Answer(l_FRUID, {0, 1, 2});
    EXPECT_THAT(Keys(), ElementsAre("2/1", "2/2", "2/3", "8/1", "8/2", "8/3", "9/1", "9/2", "9/3"));
    EXPECT_EQ(TableLines(), UpTo(9));
}

TEST_P(AmcLedTable, IsEmptyAndOkWithoutModules) {
    AddBoard();
    EXPECT_THAT(Keys(), IsEmpty());
    EXPECT_EQ(TableLines(), UpTo(9));
}

TEST_P(AmcLedTable, SkipsABayWithoutAHotSwapLed) {
    AddAMC(2);
    AddAMC(3);
    Answer(2, {1, 2});
    Answer(3, {0, 1, 2});
    EXPECT_THAT(Keys(), ElementsAre("3/1", "3/2", "3/3"));
    EXPECT_EQ(TableLines(), UpTo(9));
}

TEST_P(AmcLedTable, EndsAtABayWithoutAnOutOfServiceLedWithItsStatus) {
    AddAMC(2);
    AddAMC(3);
    Answer(2, {0, 2});
    Answer(3, {0, 1, 2});
    EXPECT_THAT(Keys(0), ElementsAre("2/1"));
    std::vector<LOG_LINE> l_Expected = UpTo(2);
    l_Expected.push_back(Error(AMC_NO_OUT_OF_SERVICE));
    EXPECT_EQ(TableLines(), l_Expected);
}

TEST_P(AmcLedTable, EndsWith12AtAModuleOfOneLed) {
    AddAMC(2, 1);
    Answer(2, {0});
    EXPECT_THAT(Keys(12), ElementsAre("2/1"));
}

TEST_P(AmcLedTable, GoesOnWithoutAHealthLed) {
    AddAMC(2);
    AddAMC(3);
    Answer(2, {0, 1});
    Answer(3, {0, 1, 2});
    EXPECT_THAT(Keys(), ElementsAre("2/1", "2/2", "3/1", "3/2", "3/3"));
    std::vector<LOG_LINE> l_Expected = UpTo(9);
    l_Expected.insert(l_Expected.begin() + 3, Error(AMC_NO_HEALTH));
    EXPECT_EQ(TableLines(), l_Expected);
}

INSTANTIATE_TEST_SUITE_P(Groups, AmcLedTable,
                         testing::Values(TABLE{"Internal", &LED_LISTS::AMCInternal, "0x201", "0x20d"},
                                         TABLE{"External", &LED_LISTS::AMC, "0x30302", "0x30301"}),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

} // namespace
