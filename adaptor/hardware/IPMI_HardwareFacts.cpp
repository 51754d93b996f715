// What the model tells of one entity, copied under the model's lock.
#include "adaptor/hardware/IPMI_HardwareFacts.h"

namespace BM_ADAPTOR {

namespace {

FRU_FACTS FactsOf(const IPMI_FRU& a_FRU) {
    FRU_FACTS l_Facts;
    l_Facts.m_BoardManufacturer = a_FRU.m_BoardManufacturer;
    l_Facts.m_BoardProductName = a_FRU.m_BoardProductName;
    l_Facts.m_BoardSerialNumber = a_FRU.m_BoardSerialNumber;
    l_Facts.m_BoardPartNumber = a_FRU.m_BoardPartNumber;
    l_Facts.m_ProductSerialNumber = a_FRU.m_ProductSerialNumber;
    l_Facts.m_ProductVersion = a_FRU.m_ProductVersion;
    if (const auto l_AMC = FindVendorRecord(a_FRU, VENDOR_RECORD_AMC)) {
        l_Facts.m_AMC = AMC_FACTS{l_AMC->NumDSPs(), l_AMC->FirstDSPType(), l_AMC->DSP(0)};
    }
    if (const auto l_RTM = FindVendorRecord(a_FRU, VENDOR_RECORD_RTM)) {
        l_Facts.m_RTM = PSTN_DATA{l_RTM->FramerType(), l_RTM->NumFramers(), l_RTM->TrunksPerFramer()};
    }
    return l_Facts;
}

} // namespace

std::optional<HARDWARE_FACTS> FindHardware(int32_t a_EntityID, std::optional<int32_t> a_Bay) {
    const MODEL_READER l_Model(g_EntityMapLock);
    const IPMI_ENTITY* l_Entity = FirstEntity([&](const IPMI_ENTITY& a_Entity) {
        return a_Entity.m_EntityID == a_EntityID && (!a_Bay || a_Entity.m_BayLocation == *a_Bay);
    });
    if (l_Entity == nullptr) return std::nullopt;
    HARDWARE_FACTS l_Facts;
    l_Facts.m_BayLocation = l_Entity->m_BayLocation;
    if (const IPMI_FRU* l_FRU = l_Entity->FirstFRU()) l_Facts.m_FRU = FactsOf(*l_FRU);
    if (const IPMI_MC* l_MC = l_Entity->FirstMC()) l_Facts.m_MC = *l_MC;
    return l_Facts;
}

} // namespace BM_ADAPTOR
