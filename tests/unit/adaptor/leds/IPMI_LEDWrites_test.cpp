// Writes of one LED, of the baseboard's and of the first AMC's: arguments, keys, simulation, by control.
#include "adaptor/leds/LedWriteTest.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using LedWrite = LED_WRITE_TEST;

// ---- arguments

TEST_P(LedWrite, NullArgumentsGive2) {
    const CBMIKeys l_Keys;
    const std::string l_Name = std::string("IPMIAdaptor::") + GetParam().m_Name + "_LED_WriteParams";
    EXPECT_EQ(WriteWith(nullptr, &m_Row), 2);
    EXPECT_THAT(Lines(), ElementsAre(Entry(), Error(l_Name + " - pKeys==NULL")));
    EXPECT_EQ(WriteWith(&l_Keys, nullptr), 2);
    EXPECT_THAT(Lines(), ElementsAre(Entry(), Error(l_Name + " - pParamRow==NULL")));
    EXPECT_EQ(WriteWith(nullptr, nullptr), 2);
}

TEST_P(LedWrite, OutsideTheStartedStateItLogsAndCarriesOn) {
    AddOwner();
    TakeSets();
    m_State = ADAPTOR_INITIALISING;
    EXPECT_EQ(Write(), 0);
    EXPECT_EQ(Lines().at(1), Error(Text(" -- In bad state 1")));
    EXPECT_EQ(Sets().size(), 1U);
}

TEST_P(LedWrite, WithoutAnIntegerLedIdGives12) {
    AddOwner();
    const CBMIKeys l_Empty;
    const CBMIKeys l_Text = TextKeyOf(static_cast<BMIParamId_e>(GetParam().m_Base + 1), "2");
    const CBMIKeys l_External =
        GetParam().IsBoard() ? Integers<CBMIKeys>({{0x30101, 2}}) : Integers<CBMIKeys>({{0x30302, 2}, {0x30301, 4}});
    const CBMIParams l_Values = Values(GREEN_ON);
    for (const CBMIKeys* l_Keys : {&l_Empty, &l_Text, &l_External}) {
        EXPECT_EQ(WriteWith(l_Keys, &l_Values), 12);
        EXPECT_THAT(Lines(), ElementsAre(Entry(), Error(GetParam().m_NoLEDKey)));
    }
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_P(LedWrite, AmcNeedsTheBayKeyAndTheBaseboardNone) {
    AddOwner();
    TakeSets();
    const CBMIKeys l_Keys = Integers<CBMIKeys>({{GetParam().m_Base + 1, 2}});
    const CBMIParams l_Values = Values(GREEN_ON);
    EXPECT_EQ(WriteWith(&l_Keys, &l_Values), GetParam().IsBoard() ? 0 : 12);
    if (GetParam().IsBoard()) return;
    EXPECT_THAT(Lines(),
                ElementsAre(Entry(), Trace(Text(" -- l_TargetLED=2")), Error(Text(" -- no AMC Bay Location in keys"))));
}

TEST_P(LedWrite, WithoutAValueThatItNeedsGives23AndSendsNothing) {
    AddOwner();
    TakeSets();
    const VALUES l_Incomplete[] = {
        {}, {{0x02, 1}, {0x03, 0}}, {{0x05, 1}, {0x03, 0}}, {{0x05, 1}, {0x02, 1}}, {{0x0C, 3}, {0x04, 3}}};
    for (const VALUES& l_Values : l_Incomplete)
        EXPECT_EQ(Write(l_Values), 23);
    EXPECT_EQ(Fake().SentCount(), 0U);
    AddLight(*g_EntityMap.begin()->second, "led 1");
    for (const VALUES& l_Values : l_Incomplete)
        EXPECT_EQ(Write(l_Values), 23);
    EXPECT_THAT(Fake().Controls().m_Calls, IsEmpty());
}

TEST_P(LedWrite, OtherGroupsIdsAreNoValues) {
    AddOwner();
    const CBMIKeys l_Keys = Keys(2);
    const CBMIParams l_External = Integers<CBMIParams>({{0x30303, 3}, {0x30304, 1}, {0x30102, 3}, {0x30103, 1}});
    EXPECT_EQ(WriteWith(&l_Keys, &l_External), 23);
}

// ---- simulation

TEST_P(LedWrite, ChangesNothingAndSucceedsUnderTheCompleteSimulation) {
    AddLight(AddOwner(), "led 1");
    g_bCompleteIPMISimulation = true;
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(Write({}), 1) << "no value is looked at";
    std::vector<LOG_LINE> l_Once = {Entry(), Trace(Text(" -- l_TargetLED=2"))};
    if (GetParam().m_Simulated != nullptr) l_Once.push_back(Trace(GetParam().m_Simulated));
    std::vector<LOG_LINE> l_Twice = l_Once;
    l_Twice.insert(l_Twice.end(), l_Once.begin(), l_Once.end());
    EXPECT_EQ(Lines(), l_Twice);
    EXPECT_EQ(Fake().SentCount(), 0U);
    EXPECT_THAT(Fake().Controls().m_Calls, IsEmpty());
}

TEST_P(LedWrite, UnderTheCompleteSimulationNeedsNoEntity) {
    g_bCompleteIPMISimulation = true;
    EXPECT_TRUE(g_EntityMap.empty());
    EXPECT_EQ(Write(), 1);
}

TEST_P(LedWrite, OfAModuleIsSimulatedWhenOnlyTheModulesAre) {
    AddOwner();
    TakeSets();
    g_bAMCRTMOnlySimulation = true;
    EXPECT_EQ(Write(), GetParam().IsBoard() ? 0 : 1);
    EXPECT_EQ(Sets().size(), GetParam().IsBoard() ? 1U : 0U);
}

// ---- which entity

TEST_P(LedWrite, WithoutTheEntityGives12) {
    if (GetParam().IsBoard()) {
        AddAMC(4);
    } else {
        AddBoard();
        AddWithLEDs(ENTITY_ID_RTM, 9, 9);
        AddWithLEDs(ENTITY_ID_AMC, 9, 8); // bays end at 8 here
        AddWithLEDs(ENTITY_ID_AMC, 0, 7);
    }
    EXPECT_EQ(Write(), 12);
    EXPECT_EQ(HandlerLines().back(), Error(GetParam().m_NoEntity));
    EXPECT_EQ(Fake().SentCount(), 0U);
}

// ---- by control

TEST_P(LedWrite, UsesTheControlWhenThereIsOne) {
    AddLight(AddOwner(), "led 1");
    EXPECT_EQ(Write({{0x0C, 4}, {0x02, 500}, {0x03, 300}, {0x05, 0}}), 1);
    EXPECT_THAT(Fake().Controls().m_SetLights, ElementsAre(ipmi_light_setting_s{1, 500, 300, 4}));
    std::vector<LOG_LINE> l_Expected = UpToControl();
    l_Expected.push_back(Trace(Text(std::string(" -- calling ") + GetParam().m_Convert + "()")));
    EXPECT_EQ(HandlerLinesWithoutConversions(), l_Expected);
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_P(LedWrite, ByAControlThatFailsSucceedsAllTheSame) {
    AddLight(AddOwner(), "led 1");
    Fake().Controls().m_CompletionError = 5;
    EXPECT_EQ(Write(), 1);
}

INSTANTIATE_TEST_SUITE_P(Writers, LedWrite, testing::ValuesIn(LedWriteKinds()),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

// ---- what the baseboard's write and the AMC's do with FRU ids and keys

class LedWriteKeys : public LED_ROOM_TEST {
protected:
    LedWriteKeys() { TakeSets(); }

    int Write(const VALUES& a_Keys, unsigned a_Base = 0x200) {
        const CBMIKeys l_Keys = Integers<CBMIKeys>(a_Keys);
        const CBMIParams l_Values =
            Integers<CBMIParams>({{a_Base + 0x0C, 3}, {a_Base + 2, 1}, {a_Base + 3, 0}, {a_Base + 5, 1}});
        return LED_WRITES(m_Frame).AMC(&l_Keys, &l_Values);
    }
};

TEST_F(LedWriteKeys, BaseboardIsWrittenAsFru0WhateverItsId) {
    IPMI_TEST_ACCESS::FRUEntities(*m_Probe)[0] = &AddWithLEDs(ENTITY_ID_BASEBOARD, 3, 5);
    EXPECT_EQ(Write({{0x101, 2}}, 0x100), 0);
    EXPECT_THAT(Sets(), ElementsAre(BYTES{0, 1, 0xFF, 0, 3}));
}

TEST_F(LedWriteKeys, FirstAmcIsWrittenWhateverBayIsNamed) {
    AddAMC(5);
    AddAMC(3);
    for (const int l_Bay : {5, 3, 1, 9, 0, -1})
        EXPECT_EQ(Write({{0x201, 1}, {0x20D, l_Bay}}), 0);
    EXPECT_EQ(Sets().size(), 6U);
    EXPECT_THAT(Sets(), testing::Each(BYTES{3, 0, 0xFF, 0, 3}));
}

TEST_F(LedWriteKeys, BaseboardKeyWithoutAnAmcsIsHandedOnWithTheEntryOfBoth) {
    AddBoard();
    AddAMC(3);
    EXPECT_EQ(Write({{0x101, 2}}, 0x100), 0);
    EXPECT_THAT(Sets(), ElementsAre(BYTES{0, 1, 0xFF, 0, 3}));
    const auto l_Lines = Lines();
    EXPECT_EQ(l_Lines.at(0), Trace(FormatText("IPMIAdaptor :: AMC_LED_WriteParams (threadid=%x)", ThreadId())));
    EXPECT_EQ(l_Lines.at(1), Trace(FormatText("IPMIAdaptor :: Baseboard_LED_WriteParams (threadid=%x)", ThreadId())));
}

TEST_F(LedWriteKeys, KeysOfBothWriteTheAmc) {
    AddBoard();
    AddAMC(3);
    EXPECT_EQ(Write({{0x101, 2}, {0x201, 1}, {0x20D, 3}}), 0);
    EXPECT_THAT(Sets(), ElementsAre(BYTES{3, 0, 0xFF, 0, 3}));
}

TEST_F(LedWriteKeys, HostFacingBaseboardKeyAloneGives12) {
    AddBoard();
    EXPECT_EQ(Write({{0x30101, 2}}, 0x100), 12);
    EXPECT_EQ(Lines().back(), Error("IPMIAdaptor::Baseboard_LED_WriteParams - LED Type not found"));
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_F(LedWriteKeys, HostFacingAmcKeysGive12) {
    AddAMC(3);
    EXPECT_EQ(Write({{0x30302, 2}, {0x30301, 3}}), 12);
    EXPECT_EQ(Lines().back(), Error("IPMIAdaptor::AMC_LED_WriteParams - AMC Type not found"));
}

} // namespace
