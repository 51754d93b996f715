// Parameter group 0x30200: what stands in the bays, the RTM's row last, and the run status of each.
#include "adaptor/hardware/IPMI_HardwareFacts.h"

#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

namespace BM_ADAPTOR {

std::map<int, CACHED_AMC_INFO*>& sg_AMC_MAP = *new std::map<int, CACHED_AMC_INFO*>;
std::mutex& sg_AMC_MAP_Lock = *new std::mutex;

namespace {

std::optional<int32_t> CachedRunStatus(int a_Bay) {
    const std::lock_guard l_Cache(sg_AMC_MAP_Lock);
    const auto l_Cached = sg_AMC_MAP.find(a_Bay);
    if (l_Cached == sg_AMC_MAP.end()) return std::nullopt;
    return l_Cached->second->m_RunStatus;
}

// True when the bay had no entry yet.
bool CacheRunStatus(int a_Bay, int32_t a_RunStatus) {
    const std::lock_guard l_Cache(sg_AMC_MAP_Lock);
    CACHED_AMC_INFO*& l_Cached = sg_AMC_MAP[a_Bay];
    const bool l_New = l_Cached == nullptr;
    if (l_New) l_Cached = new CACHED_AMC_INFO;
    l_Cached->m_RunStatus = a_RunStatus;
    return l_New;
}

} // namespace

int32_t IPMIAdaptor::mRunStatus(int a_Bay) const {
    const auto l_RunStatus = CachedRunStatus(a_Bay);
    if (!l_RunStatus) {
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams -No Existing Run Status slot=%i", a_Bay);
        return RUN_STATUS_UNWRITTEN;
    }
    LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams -Existing Run Status slot=%i", a_Bay);
    LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams -Existing Run Status rs=%i slot=%i", *l_RunStatus, a_Bay);
    return *l_RunStatus;
}

int IPMIAdaptor::AMC_HW_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    if (m_State != ADAPTOR_STARTED) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams -- In bad state %i", m_State.load());
    }
    if (a_Keys == nullptr) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - pKeys=NULL");
        return RESULT_NOT_FOUND;
    }
    const auto l_Bay = IntParam(a_Keys, BMI_HW_AMC_BAY);
    if (!l_Bay) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - l_BayLocationParam=NULL no bay location passed in");
        return RESULT_NOT_FOUND;
    }
    if (a_Row == nullptr) return RESULT_NOT_FOUND;
    int32_t l_EntityID = ENTITY_ID_AMC;
    if (*l_Bay == RTM_BAY) {
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - searching for RTM");
        l_EntityID = ENTITY_ID_RTM;
    } else {
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - searching for AMC");
    }
    LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - Slot location=%i", *l_Bay);

    const auto l_Entity = FindHardware(l_EntityID, *l_Bay);
    if (!l_Entity) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - returning not found");
        return RESULT_NOT_FOUND;
    }
    LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - found target entity ID");
    const auto& l_FRU = l_Entity->m_FRU;
    if (!l_FRU) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - FRU data missing - internal error ");
        return RESULT_NOT_FOUND;
    }
    AddText(*a_Row, BMI_HW_AMC_PRODUCT_NAME, l_FRU->m_BoardProductName);
    AddKey(*a_Row, BMI_HW_AMC_BAY, *l_Bay);
    AddInt(*a_Row, BMI_HW_AMC_RUN_STATUS, mRunStatus(*l_Bay));
    AddText(*a_Row, BMI_HW_AMC_MANUFACTURER, l_FRU->m_BoardManufacturer);
    AddText(*a_Row, BMI_HW_AMC_SERIAL, l_FRU->m_BoardSerialNumber);
    AddText(*a_Row, BMI_HW_AMC_PRODUCT_VERSION, l_FRU->m_ProductVersion);
    AddText(*a_Row, BMI_HW_AMC_PART_NUMBER, l_FRU->m_BoardPartNumber);
    if (const auto& l_MC = l_Entity->m_MC) {
        AddText(*a_Row, BMI_HW_AMC_FW_VERSION, FormatText("%i.%i", l_MC->m_MajorFWRevision, l_MC->m_MinorFWRevision));
    } else {
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - NO MC FOR AMC - HACK");
        AddText(*a_Row, BMI_HW_AMC_FW_VERSION, "UnKn");
    }
    LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - returning OK");
    return RESULT_OK;
}

int IPMIAdaptor::AMC_HW_ReadTable(CBMITable*& a_Table) {
    a_Table = new CBMITable;
    if (m_State != ADAPTOR_STARTED) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_HW_ReadTable -- In bad state %i", m_State.load());
    }
    for (int32_t l_Bay = AMC_BAY_FIRST; l_Bay <= RTM_BAY; ++l_Bay) { // the RTM's row comes last
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_ReadTable -- looking for AMC in Bay  %i", l_Bay);
        CBMIKeys l_Keys;
        AddKey(l_Keys, BMI_HW_AMC_BAY, l_Bay);
        CBMIParams l_Row;
        if (AMC_HW_ReadParams(&l_Keys, &l_Row) == RESULT_OK) a_Table->AddRow(l_Row);
    }
    return RESULT_OK;
}

// The status is kept for a bay without an AMC too: it is there when the AMC comes.
int IPMIAdaptor::AMC_HW_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values) {
    if (m_State != ADAPTOR_STARTED) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams -- In bad state %i", m_State.load());
    }
    const auto l_Bay = IntParam(a_Keys, BMI_HW_AMC_BAY);
    if (!l_Bay) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams - No Key bay location returning not found error");
        return RESULT_NOT_FOUND;
    }
    const auto l_RunStatus = IntParam(a_Values, BMI_HW_AMC_RUN_STATUS);
    if (!l_RunStatus) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams -Run Status not passed in row");
        return RESULT_NO_STATUS;
    }
    if (CacheRunStatus(*l_Bay, *l_RunStatus)) {
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams -No existing Run Status Inserting rs=%i slot=%i",
                 *l_RunStatus, *l_Bay);
    } else {
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams -Existing Run Status Changing rs=%i slot=%i",
                 *l_RunStatus, *l_Bay);
    }

    CBMIEvParams l_Event;
    AddInt(l_Event, BMI_HW_AMC_RUN_STATUS, *l_RunStatus);
    AddKey(l_Event, BMI_HW_AMC_BAY, *l_Bay);
    IBMAdaptorMgr* const l_Manager = m_Manager;
    if (l_Manager != nullptr) l_Manager->SendEvent(BMI_EVENT_AMC_RUN_STATUS, BMI_EVENT_NUMBER, &l_Event);
    LogTrace(m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams -returning OK");
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
