// The entity model: records, their ownership, and the names of the codes in them.
#include "ipmi/model/IPMI_Model.h"

#include "common/veldo_common_trace.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <tuple>
#include <utility>

std::atomic<bool> g_bCompleteIPMISimulation = false;
std::atomic<bool> g_bAMCRTMOnlySimulation = false;

namespace {

template <typename MAP>
void DeleteValues(MAP& a_Map) {
    for (auto& [l_Key, l_Value] : a_Map)
        delete l_Value;
    a_Map.clear();
}

template <typename RECORD>
RECORD* FirstValue(const std::map<std::string, RECORD*>& a_Map) {
    for (const auto& [l_Name, l_Record] : a_Map) {
        if (l_Record != nullptr) return l_Record;
    }
    return nullptr;
}

} // namespace

bool operator<(const IPMI_ENTITY_ADDRESS& a_Left, const IPMI_ENTITY_ADDRESS& a_Right) {
    return std::tie(a_Left.m_Channel, a_Left.m_Address, a_Left.m_EntityID, a_Left.m_EntityInstance) <
           std::tie(a_Right.m_Channel, a_Right.m_Address, a_Right.m_EntityID, a_Right.m_EntityInstance);
}

MULTIRECORD::MULTIRECORD(char* a_Data, int a_Length) {
    if (a_Data == nullptr || a_Length <= 0) return;
    const auto l_Length = static_cast<std::size_t>(a_Length);
    m_Data = static_cast<char*>(malloc(l_Length)); // released by free
    if (m_Data == nullptr) return;
    std::memcpy(m_Data, a_Data, l_Length);
    m_Length = a_Length;
}

MULTIRECORD::~MULTIRECORD() {
    free(m_Data);
}

IPMI_FRU::IPMI_FRU(IPMI_ENTITY_ADDRESS a_Address, std::string a_Name)
    : m_Address(a_Address),
      m_Name(std::move(a_Name)) {}

IPMI_FRU::~IPMI_FRU() {
    ClearMultiRecords();
}

void IPMI_FRU::AddMultiRecord(const unsigned char* a_Data, int a_Length, int a_Type) {
    // The record copies what its constructor is given through a pointer that is not const.
    auto l_Record =
        std::make_unique<MULTIRECORD>(reinterpret_cast<char*>(const_cast<unsigned char*>(a_Data)), a_Length);
    l_Record->m_Type = a_Type;
    m_MultiRecords.push_back(l_Record.get());
    l_Record.release();
}

void IPMI_FRU::ClearMultiRecords() {
    for (MULTIRECORD* l_Record : m_MultiRecords)
        delete l_Record;
    m_MultiRecords.clear();
}

IPMI_ENTITY::IPMI_ENTITY(int a_Channel, int a_Address, int a_EntityID, int a_EntityInstance)
    : m_Channel(a_Channel),
      m_Address(a_Address),
      m_EntityID(a_EntityID),
      m_EntityInstance(a_EntityInstance) {}

IPMI_ENTITY::~IPMI_ENTITY() {
    DeleteValues(m_ControlMap);
    DeleteValues(m_SensorMap);
    DeleteValues(m_FRUMap);
    DeleteValues(m_MCMap);
    DeleteValues(m_LEDMap);
}

IPMI_ENTITY_ADDRESS IPMI_ENTITY::Address() const {
    return {m_Channel, m_Address, m_EntityID, m_EntityInstance};
}

IPMI_FRU* IPMI_ENTITY::FirstFRU() const {
    return FirstValue(m_FRUMap);
}

IPMI_MC* IPMI_ENTITY::FirstMC() const {
    return FirstValue(m_MCMap);
}

void IPMI_ENTITY::StoreFRU(std::unique_ptr<IPMI_FRU> a_FRU) {
    IPMI_FRU*& l_Kept = m_FRUMap[a_FRU->m_Name];
    if (l_Kept != nullptr) m_ReplacedFRUs.emplace_back(l_Kept);
    l_Kept = a_FRU.release();
}

namespace BM_ADAPTOR {

ENTITY_MAP& g_EntityMap = *new ENTITY_MAP;
SDR_MAP& g_SDRMAP = *new SDR_MAP;
MODEL_LOCK& g_EntityMapLock = *new MODEL_LOCK;
PUBLISHED<ENTITYCAPTURE> g_ENTITYCapture;
PUBLISHED<CBaseOsLog> g_Logger2;

const char* TranslateControlType(int a_Type) {
    static constexpr std::array<const char*, 11> l_Names = {
        "IPMI_CONTROL_LIGHT",          // 1
        "IPMI_CONTROL_RELAY",          // 2
        "IPMI_CONTROL_DISPLAY",        // 3
        "IPMI_CONTROL_ALARM",          // 4
        "IPMI_CONTROL_RESET",          // 5
        "IPMI_CONTROL_POWER",          // 6
        "IPMI_CONTROL_FAN_SPEED",      // 7
        "IPMI_CONTROL_IDENTIFIER",     // 8
        "IPMI_CONTROL_ONE_SHOT_RESET", // 9
        "IPMI_CONTROL_OUTPUT",         // 10
        "IPMI_CONTROL_ONE_SHOT_OUTPUT" // 11
    };
    if (a_Type < 1 || a_Type > static_cast<int>(l_Names.size())) return "BAD CONTROL";
    return l_Names[static_cast<std::size_t>(a_Type) - 1];
}

const char* TranslateFramerType(unsigned char a_Type) {
    LogTrace(g_Logger2, "IPMITHREAD :: TranslateFramerType");
    return a_Type == 1 ? "PM4354_COMET-QUAD" : "UNKNOWN";
}

const char* TranslateDSPType(unsigned char a_Type) {
    LogTrace(g_Logger2, "IPMITHREAD :: TranslateDSPType");
    switch (a_Type) {
    case 1:
        return "DSPTYPE_Mindspeed_82710";
    case 2:
        return "DSPTYPE_Mindspeed_829xx";
    default:
        return "UNKNOWN";
    }
}

} // namespace BM_ADAPTOR
