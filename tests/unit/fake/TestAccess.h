// The private members that tests look at or set, by name: IPMI_TEST_ACCESS::State(l_Probe) is l_Probe.m_State.
#pragma once

#include "adaptor/IPMI_Adaptor.h"
#include "adaptor/startup/IPMI_DomainStartup.h"
#include "ipmi/IPMI_Probe.h"
#include "ipmi/IPMI_Thread.h"

#include <utility>

// A reference to member m_<name> of whichever of the classes has one.
#define TEST_ACCESS(a_Member)                                                                                          \
    template <typename CLASS>                                                                                          \
    static auto& a_Member(CLASS& a_Object) {                                                                           \
        return a_Object.m_##a_Member;                                                                                  \
    }

// A call of the operation.
#define TEST_CALL(a_Operation)                                                                                         \
    template <typename CLASS, typename... ARGUMENTS>                                                                   \
    static auto a_Operation(CLASS& a_Object, ARGUMENTS&&... a_Arguments) {                                             \
        return a_Object.a_Operation(std::forward<ARGUMENTS>(a_Arguments)...);                                          \
    }

struct IPMI_TEST_ACCESS {
    // Of the adaptor and of the probe.
    TEST_ACCESS(State)

    // Of the domain thread.
    TEST_ACCESS(OsHandler)
    TEST_ACCESS(bDomainReady)
    TEST_ACCESS(pLogger)
    TEST_ACCESS(pStartupMutex)

    // Of the probe.
    TEST_ACCESS(Domain)
    TEST_ACCESS(Thread)
    TEST_ACCESS(FRURawData)
    TEST_ACCESS(FRUAddressInfo)
    TEST_ACCESS(FRUEntities)
    TEST_ACCESS(FRUs)
    TEST_ACCESS(ReadFRUOffset)
    TEST_ACCESS(FRUID)
    TEST_ACCESS(LEDID)
    TEST_ACCESS(MaxFRUID)
    TEST_ACCESS(SDRReservationID)
    TEST_ACCESS(bHandedOver)
    TEST_ACCESS(LEDCommandState)
    TEST_ACCESS(MapMutex)

    // Of the adaptor.
    TEST_ACCESS(Manager)
    TEST_ACCESS(Logger)
    TEST_ACCESS(Storage)
    TEST_ACCESS(InstallDir)
    TEST_ACCESS(Monitor)
    TEST_ACCESS(ReservedCounter)
    TEST_ACCESS(ReservedId)
    TEST_ACCESS(Reserved1)
    TEST_ACCESS(ReservedName)
    TEST_ACCESS(Reserved2)
    TEST_ACCESS(Reserved3)

    static BM_ADAPTOR::RTM_VALUES& RTM(BM_ADAPTOR::IPMIAdaptor& a_Adaptor) { return a_Adaptor.m_RTM; }
    static auto& UpgradeStatus(BM_ADAPTOR::IPMIAdaptor& a_Adaptor) { return a_Adaptor.m_Upgrades.m_Status; }
    static auto& UpgradeThread(BM_ADAPTOR::IPMIAdaptor& a_Adaptor) { return a_Adaptor.m_Upgrades.m_Thread; }
    /// What a reader gets at this moment.
    static BM_ADAPTOR::DSP_MACS DspMacMap(const BM_ADAPTOR::IPMIAdaptor& a_Adaptor) {
        return *a_Adaptor.m_DspMacMap.Get();
    }
    static void KnowDSPs(BM_ADAPTOR::IPMIAdaptor& a_Adaptor, BM_ADAPTOR::DSP_MACS a_Macs) {
        a_Adaptor.m_DspMacMap.Replace(std::move(a_Macs));
    }
    static BM_ADAPTOR::SWITCH_PORTS SwitchPortMap(const BM_ADAPTOR::IPMIAdaptor& a_Adaptor) {
        return *a_Adaptor.m_SwitchPortMap.Get();
    }
    static void* PCIHandle(const BM_ADAPTOR::IPMIAdaptor& a_Adaptor) { return a_Adaptor.m_PCIHandle; }

    // Of the health monitor.
    TEST_ACCESS(bStop)

    // Operations of the adaptor.
    TEST_CALL(mInitRTMInfo)
    TEST_CALL(mInitDSPInfo)
    TEST_CALL(mInitIPInfo)
    TEST_CALL(mGetDspIpAddrDB)
    TEST_CALL(mSetDspIpAddrDB)
    TEST_CALL(mFillDSPInfo)
    TEST_CALL(mGetIPAddrByName)
    TEST_CALL(mIsOnSameSubnet)
    TEST_CALL(mInitSwitchInfo)
    TEST_CALL(mCreateSwitchPortObjects)
    TEST_CALL(mFindSmallestMac)
    TEST_CALL(mTeachSwitch)
    TEST_CALL(mSetAmcRTMStatus)

    /// The domain thread of the process; without one the next Init starts one.
    static BM_ADAPTOR::IPMITHREAD*& DomainThread() { return BM_ADAPTOR::DOMAIN_STARTUP::s_DomainThread; }
};

#undef TEST_ACCESS
#undef TEST_CALL
