// The simulated inventory: a baseboard, one AMC and the RTM, for a blade whose IPMI cannot be reached.
#include "ipmi/model/IPMI_Simulation.h"

#include "common/veldo_common_text.h"
#include "ipmi/model/IPMI_Model.h"

#include <OpenIPMI/ipmi_bits.h>

#include <memory>
#include <string>
#include <utility>

namespace BM_ADAPTOR {

namespace {

struct SIMULATED_ENTITY {
    const char* m_Name;
    IPMI_ENTITY_ADDRESS m_Address;
    const char* m_ProductName; // board and product area, and the product's part/model number
    const char* m_BoardSerialNumber;
    const char* m_BoardPartNumber;
    const char* m_ProductSerialNumber;
    const char* m_ProductVersion;
};

constexpr const char* SIMULATED_MANUFACTURER = "Tarsk Corporation";

constexpr SIMULATED_ENTITY SIMULATED_BASEBOARD = {"SIMULATION", {0, 142, ENTITY_ID_BASEBOARD, ENTITY_INSTANCE_FIRST},
                                                  "KZB88120W",  "SIMSIMSIM",
                                                  "R71302-918", "QPLS90377461",
                                                  "V3.2a"};
constexpr SIMULATED_ENTITY SIMULATED_AMC = {"SIMULATION-AMC",
                                            {0, 1, ENTITY_ID_AMC, ENTITY_INSTANCE_FIRST},
                                            "AMC-KZB88120W",
                                            "AMC-SIMSIMSIM",
                                            "AMC-R71302-918",
                                            "AMC-QPLS90377461",
                                            ""};
// The RTM has the AMC's name on purpose; entities differ by their address.
constexpr SIMULATED_ENTITY SIMULATED_RTM = {"SIMULATION-AMC",
                                            {0, 9, ENTITY_ID_RTM, ENTITY_INSTANCE_FIRST},
                                            "RTM-KZB88120W",
                                            "RTM-SIMSIMSIM",
                                            "RTM-R71302-918",
                                            "RTM-QPLS90377461",
                                            ""};

void AddControls(IPMI_ENTITY& a_Entity) {
    const int l_Address = a_Entity.m_Address;
    const int l_ID = a_Entity.m_EntityID;
    const std::pair<std::string, int> l_Controls[] = {
        {FormatText("(r0.%i.%i.0).address", l_Address, l_ID), IPMI_CONTROL_IDENTIFIER},
        {FormatText("(r0.%i.%i.0).blue led", l_Address, l_ID), IPMI_CONTROL_LIGHT},
        {FormatText("(r0.%i.%i.0).cold reset", l_Address, l_ID), IPMI_CONTROL_ONE_SHOT_RESET},
        {FormatText("(r0.%i.%i.0).led 1", l_Address, l_ID), IPMI_CONTROL_LIGHT},
        {FormatText("(r0.%i.%i.0).led 2", l_Address, l_ID), IPMI_CONTROL_LIGHT},
    };
    for (const auto& [l_Name, l_Type] : l_Controls) {
        auto l_Control = std::make_unique<IPMI_CONTROL>();
        l_Control->m_Channel = a_Entity.m_Channel;
        l_Control->m_Address = a_Entity.m_Address;
        l_Control->m_EntityID = a_Entity.m_EntityID;
        l_Control->m_EntityInstance = a_Entity.m_EntityInstance;
        l_Control->m_Name = l_Name;
        l_Control->m_Type = l_Type;
        a_Entity.m_ControlMap[l_Name] = l_Control.release();
    }
}

void AddFRU(IPMI_ENTITY& a_Entity, const SIMULATED_ENTITY& a_Simulated) {
    auto l_FRU = std::make_unique<IPMI_FRU>(a_Entity.Address(), a_Simulated.m_Name);
    l_FRU->m_BoardManufacturer = SIMULATED_MANUFACTURER;
    l_FRU->m_BoardProductName = a_Simulated.m_ProductName;
    l_FRU->m_BoardSerialNumber = a_Simulated.m_BoardSerialNumber;
    l_FRU->m_BoardPartNumber = a_Simulated.m_BoardPartNumber;
    l_FRU->m_ProductManufacturer = SIMULATED_MANUFACTURER;
    l_FRU->m_ProductName = a_Simulated.m_ProductName;
    l_FRU->m_ProductSerialNumber = a_Simulated.m_ProductSerialNumber;
    l_FRU->m_ProductPartModelNumber = a_Simulated.m_ProductName;
    l_FRU->m_ProductVersion = a_Simulated.m_ProductVersion;
    a_Entity.m_FRUMap[l_FRU->m_Name] = l_FRU.get();
    l_FRU.release();
}

void AddController(IPMI_ENTITY& a_Entity) {
    auto l_MC = std::make_unique<IPMI_MC>();
    l_MC->m_Name = a_Entity.m_Name;
    l_MC->m_MajorFWRevision = 1;
    l_MC->m_MinorFWRevision = 2;
    l_MC->m_AuxFWRevision = "1 2 3";
    a_Entity.m_MCMap[l_MC->m_Name] = l_MC.get();
    l_MC.release();
}

// The entity is complete before it enters the map. One that is there already is replaced and stays allocated: a host
// thread may still read it.
void AddEntity(const SIMULATED_ENTITY& a_Simulated) {
    const IPMI_ENTITY_ADDRESS& l_Address = a_Simulated.m_Address;
    auto l_Entity = std::make_unique<IPMI_ENTITY>(l_Address.m_Channel, l_Address.m_Address, l_Address.m_EntityID,
                                                  l_Address.m_EntityInstance);
    l_Entity->m_Name = a_Simulated.m_Name;
    AddControls(*l_Entity);
    AddFRU(*l_Entity, a_Simulated);
    AddController(*l_Entity);
    const MODEL_WRITER l_Model(g_EntityMapLock);
    g_EntityMap[l_Address] = l_Entity.release();
}

} // namespace

int BuildSimulatedData() {
    AddEntity(SIMULATED_BASEBOARD);
    AddAMCEntity();
    AddRTMEntity();
    return 0;
}

void AddAMCEntity() {
    AddEntity(SIMULATED_AMC);
}

void AddRTMEntity() {
    AddEntity(SIMULATED_RTM);
}

} // namespace BM_ADAPTOR
