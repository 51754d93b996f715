// The adaptor object: how it is made and freed, what it holds then, and the operations that do nothing.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/LifecycleTest.h"
#include "common/veldo_common_trace.h"
#include "ipmi/LiveMemory.h"

#include <cstdlib>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Access = IPMI_TEST_ACCESS;

class Construction : public ADAPTOR_PROCESS_TEST {};

TEST_F(Construction, PrintsItsName) {
    STDOUT_CAPTURE l_Output;
    const IPMIAdaptor l_Adaptor;
    EXPECT_THAT(l_Output.StopLines(), ElementsAre("IPMIAdaptor::IPMIAdaptor"));
}

TEST_F(Construction, SetsTheComponentNameOfTheProcess) {
    g_ComponentName = "another";
    const IPMIAdaptor l_Adaptor;
    EXPECT_STREQ(g_ComponentName, "IPMI-Adaptor");
}

TEST_F(Construction, KnowsNoHostAndNoHardware) {
    IPMIAdaptor l_Adaptor;
    EXPECT_EQ(Access::State(l_Adaptor), 0);
    EXPECT_EQ(Access::Manager(l_Adaptor), nullptr);
    EXPECT_EQ(Access::Logger(l_Adaptor), nullptr);
    EXPECT_EQ(Access::Storage(l_Adaptor), nullptr);
    EXPECT_EQ(Access::PCIHandle(l_Adaptor), nullptr);
    EXPECT_EQ(Access::Monitor(l_Adaptor), nullptr);
    EXPECT_THAT(Access::DspMacMap(l_Adaptor), IsEmpty());
    EXPECT_EQ(Access::RTM(l_Adaptor).m_Present, 0);
    EXPECT_EQ(Access::RTM(l_Adaptor).m_NumFramers, 0);
}

TEST_F(Construction, GivesTheReservedMembersTheirValues) {
    IPMIAdaptor l_Adaptor;
    EXPECT_EQ(Access::ReservedCounter(l_Adaptor), 0);
    EXPECT_EQ(Access::ReservedId(l_Adaptor), -1);
    EXPECT_EQ(Access::Reserved1(l_Adaptor), 0);
    EXPECT_EQ(Access::ReservedName(l_Adaptor), "");
    EXPECT_EQ(Access::Reserved2(l_Adaptor), 2);
    EXPECT_EQ(Access::Reserved3(l_Adaptor), 4);
}

TEST_F(Construction, TakesTheInstallDirectoryFromTheEnvironment) {
    IPMIAdaptor l_Default(m_Board);
    EXPECT_EQ(Access::InstallDir(l_Default), "/usr/korvel");
    for (const char* l_Directory : {"/opt/blade", ""}) { // empty is set
        m_Board.m_Environment["TARSK_KORVEL_DIR"] = l_Directory;
        IPMIAdaptor l_Adaptor(m_Board);
        EXPECT_EQ(Access::InstallDir(l_Adaptor), l_Directory);
    }
}

// ---- the plug-in's entry points

using EntryPoints = Construction;

TEST_F(EntryPoints, CreateAdaptorGivesANewAdaptorBehindTheHostsInterface) {
    STDOUT_CAPTURE l_Output;
    void* const l_First = CreateAdaptor();
    void* const l_Second = CreateAdaptor();
    EXPECT_THAT(l_Output.StopLines(), ElementsAre("IPMIAdaptor::IPMIAdaptor", "IPMIAdaptor::IPMIAdaptor"));
    ASSERT_NE(l_First, nullptr);
    EXPECT_NE(l_First, l_Second);
    auto* const l_Adaptor = static_cast<CBaseAdaptor*>(l_First);
    EXPECT_NE(dynamic_cast<IPMIAdaptor*>(l_Adaptor), nullptr);
    EXPECT_EQ(l_Adaptor->DeleteParams(0, nullptr), 1);
    DestroyAdaptor(l_First);
    DestroyAdaptor(l_Second);
}

TEST_F(EntryPoints, DestroyAdaptorGivesTheMemoryBack) {
    STDOUT_CAPTURE l_Output;
    DestroyAdaptor(CreateAdaptor());
    constexpr std::size_t COUNT = 100;
    const std::size_t l_Before = LiveBytes();
    for (std::size_t i = 0; i < COUNT; ++i)
        DestroyAdaptor(CreateAdaptor());
    EXPECT_LT(LiveBytes(), l_Before + COUNT * sizeof(IPMIAdaptor)); // members keep a little: no destructor runs
}

TEST_F(EntryPoints, DestroyAdaptorDoesNotRunTheDestructor) {
    int l_Destroyed = 0;
    void* const l_Adaptor = CreateAdaptor();
    const auto l_Monitor = std::make_unique<COUNTED_MONITOR>(l_Destroyed);
    Access::Monitor(*static_cast<IPMIAdaptor*>(static_cast<CBaseAdaptor*>(l_Adaptor))) = l_Monitor.get();
    DestroyAdaptor(l_Adaptor);
    EXPECT_EQ(l_Destroyed, 0);
}

TEST_F(EntryPoints, DestroyAdaptorOfNothingDoesNothing) {
    STDOUT_CAPTURE l_Output;
    DestroyAdaptor(nullptr);
    EXPECT_EQ(l_Output.Stop(), "");
}

TEST_F(Construction, DestructorDeletesTheMonitorThroughItsVirtualDestructor) {
    int l_Destroyed = 0;
    {
        IPMIAdaptor l_Adaptor;
        Access::Monitor(l_Adaptor) = new COUNTED_MONITOR(l_Destroyed);
    }
    EXPECT_EQ(l_Destroyed, 1);
}

// ---- operations that do nothing

using Idle = ADAPTOR_TEST;

TEST_F(Idle, CreateParamsAnswers0AndTheOthers1WhateverTheyGet) {
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
    CBMIEvParams l_Event;
    for (const unsigned l_Number : {0U, 5U, 0x300U, 0x30200U, 0x70402U, 0xFFFFFFFFU}) {
        EXPECT_EQ(m_Adaptor.CreateParams(l_Number, &l_Keys, &m_Row), 0);
        EXPECT_EQ(m_Adaptor.CreateParams(l_Number, nullptr, nullptr), 0);
        EXPECT_EQ(m_Adaptor.DeleteParams(l_Number, &l_Keys), 1);
        EXPECT_EQ(m_Adaptor.DeleteParams(l_Number, nullptr), 1);
        EXPECT_EQ(m_Adaptor.ProcessEvent(l_Number, &l_Event), 1);
        EXPECT_EQ(m_Adaptor.ProcessEvent(l_Number, nullptr), 1);
    }
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(m_Manager.m_Calls, IsEmpty());
    EXPECT_EQ(m_Row.GetSize(), 0);
}

} // namespace
