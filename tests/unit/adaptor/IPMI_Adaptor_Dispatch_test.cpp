// The three dispatchers: which group reaches which handler, what an unknown one answers, what leaves the plug-in.
#include "adaptor/AdaptorTest.h"

#include "fake/process/FakeAllocation.h"

#include <algorithm>
#include <thread>
#include <vector>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Numbers are written out here: they are the host protocol's.
constexpr unsigned UNSERVED_GROUPS[] = {0, 0x101, 0x301, 0x500, 0x30d00, 0x30e10, 0x30400, 0xFFFFFFFF};

constexpr const char* BASEBOARD_LED_LINE = "IPMIAdaptor::WriteParams() on BMI_GROUP_BM_IPMI_BASEBOARD_LED";
constexpr const char* AMC_LED_LINE =
    "IPMIAdaptor::WriteParams() on BMI_GROUP_HARDWARE_AMC_LED_TABLE, calling AMC_LED_WriteParams()";

/// ReadParams with an `out` that holds something: what it holds afterwards.
struct READ_RESULT {
    int m_Result;
    std::unique_ptr<CBMIParams> m_Row;
};

class Dispatch : public ADAPTOR_TEST {
protected:
    READ_RESULT Read(unsigned a_Group, const CBMIKeys* a_Keys) {
        CBMIParams l_Before;
        CBMIParams* l_Row = &l_Before;
        const int l_Result = m_Adaptor.ReadParams(a_Group, a_Keys, l_Row);
        EXPECT_NE(l_Row, &l_Before);
        return {l_Result, std::unique_ptr<CBMIParams>(l_Row)};
    }

    CBMIKeys m_NoKeys;
};

// ---- served groups

struct SERVED_GROUP {
    unsigned m_Group;
    const char* m_ReadBegins;  ///< first error of the read handler, without keys and in a wrong state
    const char* m_TableBegins; ///< of the table handler
    int m_TableResult;         ///< with an empty model
    const char* m_WriteBegins; ///< of the write handler; null: there is none
    int m_WriteResult = 12;
};

void PrintTo(const SERVED_GROUP& a_Served, std::ostream* a_Stream) {
    *a_Stream << "group 0x" << std::hex << a_Served.m_Group;
}

class DispatchOf : public Dispatch, public testing::WithParamInterface<SERVED_GROUP> {
protected:
    DispatchOf() { BeInState(7); }

    /// The first error line since the last call.
    LOG_LINE FirstError() {
        const auto l_Lines = Lines();
        const auto l_Error = std::ranges::find(l_Lines, BM_LOG_ERROR, &LOG_LINE::m_Level);
        return l_Error != l_Lines.end() ? *l_Error : LOG_LINE{};
    }
};

TEST_P(DispatchOf, ReadReachesItsHandlerAndHandsTheRowOverWhateverTheResult) {
    const auto [l_Result, l_Row] = Read(GetParam().m_Group, &m_NoKeys);
    EXPECT_EQ(l_Result, 12);
    ASSERT_NE(l_Row, nullptr);
    EXPECT_EQ(l_Row->GetSize(), 0);
    EXPECT_EQ(FirstError(), Error(GetParam().m_ReadBegins));
}

TEST_P(DispatchOf, TableReachesItsHandlerAndReplacesTheArgument) {
    CBMITable l_Before;
    CBMITable* l_Table = &l_Before;
    EXPECT_EQ(m_Adaptor.GetParamTable(GetParam().m_Group, l_Table), GetParam().m_TableResult);
    EXPECT_NE(l_Table, &l_Before);
    const std::unique_ptr<CBMITable> l_Owner(l_Table);
    ASSERT_NE(l_Table, nullptr);
    EXPECT_EQ(l_Table->GetSize(), 0);
    EXPECT_EQ(FirstError(), Error(GetParam().m_TableBegins));
}

TEST_P(DispatchOf, WriteReachesItsHandlerIfThereIsOne) {
    const int l_Result = m_Adaptor.WriteParams(GetParam().m_Group, &m_NoKeys, nullptr);
    if (GetParam().m_WriteBegins == nullptr) {
        EXPECT_EQ(l_Result, 0);
        EXPECT_THAT(Lines(), IsEmpty());
    } else {
        EXPECT_EQ(l_Result, GetParam().m_WriteResult);
        EXPECT_EQ(FirstError(), Error(GetParam().m_WriteBegins));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Groups, DispatchOf,
    testing::Values(SERVED_GROUP{0x100, "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams -- In bad state 7",
                                 "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams -- In bad state 7", 12,
                                 "IPMIAdaptor :: Baseboard_LED_WriteParams -- In bad state 7", 2},
                    SERVED_GROUP{0x200, "IPMIAdaptor :: AMC_LED_Internal_ReadParams -- In bad state 7",
                                 "IPMIAdaptor :: AMC_LED_Internal_ReadParams -- In bad state 7", 1,
                                 "IPMIAdaptor :: AMC_LED_WriteParams -- In bad state 7", 2},
                    SERVED_GROUP{0x30100, "IPMIAdaptor :: Baseboard_LED_ReadParams -- In bad state 7",
                                 "IPMIAdaptor :: Baseboard_LED_ReadParams -- In bad state 7", 12,
                                 "IPMIAdaptor :: AMC_LED_WriteParams -- In bad state 7", 2},
                    SERVED_GROUP{0x30300, "IPMIAdaptor :: AMC_LED_ReadParams -- In bad state 7",
                                 "IPMIAdaptor :: AMC_LED_ReadParams -- In bad state 7", 1,
                                 "IPMIAdaptor :: AMC_LED_WriteParams -- In bad state 7", 2},
                    SERVED_GROUP{0x300, "IPMIAdaptor :: AMC_FRU_ReadParams -- In bad state 7",
                                 "IPMIAdaptor :: AMC_FRU_ReadTable -- In bad state 7", 1, nullptr},
                    SERVED_GROUP{0x400, "IPMIAdaptor :: RTM_FRU_ReadParams -- In bad state 7",
                                 "IPMIAdaptor :: RTM_FRU_ReadTable -- In bad state 7", 12, nullptr},
                    SERVED_GROUP{0x30000, "IPMIAdaptor :: Baseboard_LED_ReadParams -- In bad state 7",
                                 "IPMIAdaptor :: Board_Hardware_ReadTable -- In bad state 7", 12,
                                 "IPMIAdaptor :: Board_Hardware_WriteParams -- In bad state 7"},
                    SERVED_GROUP{0x30200, "IPMIAdaptor :: AMC_HW_ReadParams -- In bad state 7",
                                 "IPMIAdaptor :: AMC_HW_ReadTable -- In bad state 7", 1,
                                 "IPMIAdaptor :: AMC_HW_WriteParams -- In bad state 7"}));

TEST_F(Dispatch, ReadHandsTheHandlersRowOver) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, 3), "FRU"), AMCRecord(4, 1));
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_FRU_BAY, 3);
    const auto [l_Result, l_Row] = Read(0x300, &l_Keys);
    EXPECT_EQ(l_Result, 1);
    EXPECT_THAT(TextsOf(*l_Row), ElementsAre("0x303 i:3 key", "0x302 i:4", "0x301 i:1"));
}

TEST_F(Dispatch, WriteHandsKeysAndValuesOver) {
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
    CBMIParams l_Values = KeyOf(BMI_HW_AMC_RUN_STATUS, 5);
    EXPECT_EQ(m_Adaptor.WriteParams(0x30200, &l_Keys, &l_Values), 1);
    ASSERT_EQ(m_Manager.Events().size(), 1U);
    EXPECT_THAT(TextsOf(m_Manager.Events()[0].m_Params), ElementsAre("0x30208 i:5", "0x30201 i:3 key"));
}

TEST_F(Dispatch, FirmwareGroupReachesItsHandlers) {
    const auto [l_Result, l_Row] = Read(0x600, nullptr);
    EXPECT_EQ(l_Result, 1);
    const TEXTS l_Expected = {"0x601 u:0", "0x606 u:0", "0x602 u:2"};
    EXPECT_EQ(TextsOf(*l_Row), l_Expected);
    EXPECT_THAT(Table(BMI_GROUP_FIRMWARE_UPDATE), testing::Optional(ElementsAre(l_Expected)));
    EXPECT_EQ(m_Adaptor.WriteParams(0x600, nullptr, nullptr), 23);
}

// ---- groups that nobody answers

TEST_F(Dispatch, UnservedGroupReadsNoRow) {
    for (const unsigned l_Group : UNSERVED_GROUPS) {
        const auto [l_Result, l_Row] = Read(l_Group, &m_NoKeys);
        EXPECT_EQ(l_Result, 0) << l_Group;
        EXPECT_EQ(l_Row, nullptr) << l_Group;
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

// Hosts live with it: the row is made, nobody gets it, and it stays.
TEST_F(Dispatch, ReadOfAnUnservedGroupLeaksOneRow) {
    for (const unsigned l_Group : UNSERVED_GROUPS) {
        CBMIParams* l_Row = nullptr;
        const long l_Before = AllocationsOfThisThread();
        m_Adaptor.ReadParams(l_Group, nullptr, l_Row);
        EXPECT_EQ(AllocationsOfThisThread() - l_Before, 1) << l_Group;
    }
}

TEST_F(Dispatch, UnservedGroupIsReadByManyThreadsAtOnce) {
    std::vector<std::jthread> l_Hosts;
    for (int i = 0; i < 4; ++i) {
        l_Hosts.emplace_back([&] {
            for (int l_Round = 0; l_Round < 100; ++l_Round) {
                CBMIParams* l_Row = nullptr;
                EXPECT_EQ(m_Adaptor.ReadParams(0x500, nullptr, l_Row), 0);
            }
        });
    }
}

TEST_F(Dispatch, UnservedGroupLeavesTheTableArgumentUntouched) {
    CBMITable l_Before;
    for (const unsigned l_Group : UNSERVED_GROUPS) {
        CBMITable* l_Table = &l_Before;
        EXPECT_EQ(m_Adaptor.GetParamTable(l_Group, l_Table), 0) << l_Group;
        EXPECT_EQ(l_Table, &l_Before) << l_Group;
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Dispatch, UnservedGroupIsNotWritten) {
    for (const unsigned l_Group : UNSERVED_GROUPS)
        EXPECT_EQ(m_Adaptor.WriteParams(l_Group, &m_NoKeys, &m_Row), 0) << l_Group;
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Dispatch, DspAndSwitchGroupsReachTheirHandlers) {
    struct WRITE {
        unsigned m_Group;
        int m_Result;
    };
    for (const auto& [l_Group, l_Written] : {WRITE{0x1200, 0}, WRITE{0x30d10, 23}, WRITE{0x30e00, 4}}) {
        const auto [l_Result, l_Row] = Read(l_Group, &m_NoKeys);
        EXPECT_EQ(l_Result, 4) << l_Group;
        EXPECT_NE(l_Row, nullptr) << l_Group;
        EXPECT_THAT(Table(static_cast<BMIGroup_e>(l_Group)), testing::Optional(IsEmpty())) << l_Group;
        EXPECT_EQ(m_Adaptor.WriteParams(l_Group, &m_NoKeys, &m_Row), l_Written) << l_Group;
    }
}

// ---- the lines of LED writes

struct LED_WRITE {
    unsigned m_Group;
    std::vector<LOG_LINE> m_Lines;
};

void PrintTo(const LED_WRITE& a_Write, std::ostream* a_Stream) {
    *a_Stream << "group 0x" << std::hex << a_Write.m_Group;
}

class LedWriteLine : public Dispatch, public testing::WithParamInterface<LED_WRITE> {
protected:
    /// The lines that the write leaves on the host's own log.
    std::vector<LOG_LINE> HostLinesOfAWrite() {
        m_Adaptor.WriteParams(GetParam().m_Group, &m_NoKeys, &m_Row);
        std::vector<LOG_LINE> l_Lines = Lines();
        std::erase_if(l_Lines, [](const LOG_LINE& a_Line) { return a_Line.m_Component == "IPMI-Adaptor"; });
        return l_Lines;
    }
};

TEST_P(LedWriteLine, IsWrittenWhileTracesAreOn) {
    EXPECT_EQ(HostLinesOfAWrite(), GetParam().m_Lines);
}

TEST_P(LedWriteLine, ComesBeforeTheHandlersOwn) {
    m_Adaptor.WriteParams(GetParam().m_Group, &m_NoKeys, &m_Row);
    const std::vector<LOG_LINE> l_Lines = Lines();
    ASSERT_GT(l_Lines.size(), GetParam().m_Lines.size());
    EXPECT_TRUE(std::equal(GetParam().m_Lines.begin(), GetParam().m_Lines.end(), l_Lines.begin()));
}

TEST_P(LedWriteLine, IsNotWrittenAtAnyOtherLevel) {
    for (const int l_Level : {0, 2, 4, 7}) {
        BM_LOG_LEVEL = l_Level;
        EXPECT_THAT(HostLinesOfAWrite(), IsEmpty()) << l_Level;
    }
}

INSTANTIATE_TEST_SUITE_P(Groups, LedWriteLine,
                         testing::Values(LED_WRITE{0x100, {BmiTrace(BASEBOARD_LED_LINE)}}, LED_WRITE{0x200, {}},
                                         LED_WRITE{0x30100, {BmiTrace(AMC_LED_LINE)}},
                                         LED_WRITE{0x30300, {BmiTrace(AMC_LED_LINE)}}));

// ---- what the host may hand in

TEST_F(Dispatch, NullKeysAndValuesAreSurvivedByEveryGroup) {
    const std::vector<int> l_Codes = {0, 1, 2, 4, 12, 16, 23};
    for (const unsigned l_Group : {0x100U, 0x200U, 0x300U, 0x400U, 0x600U, 0x1200U, 0x30000U, 0x30100U, 0x30200U,
                                   0x30300U, 0x30d00U, 0x30d10U, 0x30e00U, 0x30e10U}) {
        EXPECT_THAT(l_Codes, testing::Contains(Read(l_Group, nullptr).m_Result)) << l_Group;
        EXPECT_THAT(l_Codes, testing::Contains(m_Adaptor.WriteParams(l_Group, nullptr, nullptr))) << l_Group;
    }
}

TEST_F(Dispatch, EverythingIsAnsweredBeforeInit) {
    IPMIAdaptor l_Adaptor(m_Board);
    for (const unsigned l_Group : {0x100U, 0x200U, 0x300U, 0x400U, 0x30000U, 0x30100U, 0x30200U, 0x30300U}) {
        CBMIParams* l_Row = nullptr;
        CBMITable* l_Table = nullptr;
        EXPECT_EQ(l_Adaptor.ReadParams(l_Group, &m_NoKeys, l_Row), 12) << l_Group;
        EXPECT_THAT(l_Adaptor.GetParamTable(l_Group, l_Table), testing::AnyOf(1, 12)) << l_Group;
        EXPECT_NE(l_Table, nullptr) << l_Group;
        delete l_Row;
        delete l_Table;
    }
    EXPECT_THAT(Lines(), IsEmpty()); // there is no logger yet
}

} // namespace
