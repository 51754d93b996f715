// Parameter group 0x30200: what stands in the bays, the RTM's row last, and the run status of each.
#include "adaptor/hardware/IPMI_AMCHardwareTable.h"

#include "adaptor/hardware/IPMI_HardwareTable.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

#include <optional>

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

int32_t RunStatus(CBaseOsLog* a_Logger, int32_t a_Bay) {
    const auto l_RunStatus = CachedRunStatus(a_Bay);
    if (!l_RunStatus) {
        LogTrace(a_Logger, "IPMIAdaptor :: AMC_HW_ReadParams -No Existing Run Status slot=%i", a_Bay);
        return RUN_STATUS_UNWRITTEN;
    }
    LogTrace(a_Logger, "IPMIAdaptor :: AMC_HW_ReadParams -Existing Run Status slot=%i", a_Bay);
    LogTrace(a_Logger, "IPMIAdaptor :: AMC_HW_ReadParams -Existing Run Status rs=%i slot=%i", *l_RunStatus, a_Bay);
    return *l_RunStatus;
}

} // namespace

int AMC_HARDWARE_TABLE::ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) const {
    LogUnlessStarted(m_Frame, "IPMIAdaptor :: AMC_HW_ReadParams -- In bad state %i");
    if (a_Keys == nullptr) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - pKeys=NULL");
        return RESULT_NOT_FOUND;
    }
    const auto l_Bay = IntParam(a_Keys, BMI_HW_AMC_BAY);
    if (!l_Bay) {
        LogError(m_Frame.m_Logger,
                 "IPMIAdaptor :: AMC_HW_ReadParams - l_BayLocationParam=NULL no bay location passed in");
        return RESULT_NOT_FOUND;
    }
    if (a_Row == nullptr) return RESULT_NOT_FOUND;
    int32_t l_EntityID = ENTITY_ID_AMC;
    if (*l_Bay == RTM_BAY) {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - searching for RTM");
        l_EntityID = ENTITY_ID_RTM;
    } else {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - searching for AMC");
    }
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - Slot location=%i", *l_Bay);

    const auto l_Entity = FindHardware(l_EntityID, *l_Bay);
    if (!l_Entity) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - returning not found");
        return RESULT_NOT_FOUND;
    }
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - found target entity ID");
    const auto& l_FRU = l_Entity->m_FRU;
    if (!l_FRU) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - FRU data missing - internal error ");
        return RESULT_NOT_FOUND;
    }
    AddText(*a_Row, BMI_HW_AMC_PRODUCT_NAME, l_FRU->m_BoardProductName);
    AddKey(*a_Row, BMI_HW_AMC_BAY, *l_Bay);
    AddInt(*a_Row, BMI_HW_AMC_RUN_STATUS, RunStatus(m_Frame.m_Logger, *l_Bay));
    AddText(*a_Row, BMI_HW_AMC_MANUFACTURER, l_FRU->m_BoardManufacturer);
    AddText(*a_Row, BMI_HW_AMC_SERIAL, l_FRU->m_BoardSerialNumber);
    AddText(*a_Row, BMI_HW_AMC_PRODUCT_VERSION, l_FRU->m_ProductVersion);
    AddText(*a_Row, BMI_HW_AMC_PART_NUMBER, l_FRU->m_BoardPartNumber);
    if (const auto& l_MC = l_Entity->m_MC) {
        AddText(*a_Row, BMI_HW_AMC_FW_VERSION, FormatText("%i.%i", l_MC->m_MajorFWRevision, l_MC->m_MinorFWRevision));
    } else {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - NO MC FOR AMC - HACK");
        AddText(*a_Row, BMI_HW_AMC_FW_VERSION, UNKNOWN_FW_VERSION);
    }
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_ReadParams - returning OK");
    return RESULT_OK;
}

int AMC_HARDWARE_TABLE::ReadTable(CBMITable*& a_Table) const {
    CBMITable& l_Table = BeginTable(m_Frame, a_Table, "IPMIAdaptor :: AMC_HW_ReadTable -- In bad state %i");
    for (int32_t l_Bay = AMC_BAY_FIRST; l_Bay <= RTM_BAY; ++l_Bay) { // the RTM's row comes last
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_ReadTable -- looking for AMC in Bay  %i", l_Bay);
        CBMIKeys l_Keys;
        AddKey(l_Keys, BMI_HW_AMC_BAY, l_Bay);
        AddRowRead(l_Table, [&](CBMIParams& a_Row) { return ReadParams(&l_Keys, &a_Row); });
    }
    return RESULT_OK;
}

// The status is kept for a bay without an AMC too: it is there when the AMC comes.
int AMC_HARDWARE_TABLE::WriteParams(const CBMIKeys* a_Keys, const CBMIParams* a_Values, EVENT_SINK& a_Events) const {
    LogUnlessStarted(m_Frame, "IPMIAdaptor :: AMC_HW_WriteParams -- In bad state %i");
    const auto l_Bay = IntParam(a_Keys, BMI_HW_AMC_BAY);
    if (!l_Bay) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams - No Key bay location returning not found error");
        return RESULT_NOT_FOUND;
    }
    const auto l_RunStatus = IntParam(a_Values, BMI_HW_AMC_RUN_STATUS);
    if (!l_RunStatus) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams -Run Status not passed in row");
        return RESULT_NO_STATUS;
    }
    if (CacheRunStatus(*l_Bay, *l_RunStatus)) {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams -No existing Run Status Inserting rs=%i slot=%i",
                 *l_RunStatus, *l_Bay);
    } else {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams -Existing Run Status Changing rs=%i slot=%i",
                 *l_RunStatus, *l_Bay);
    }

    CBMIEvParams l_Event;
    AddInt(l_Event, BMI_HW_AMC_RUN_STATUS, *l_RunStatus);
    AddKey(l_Event, BMI_HW_AMC_BAY, *l_Bay);
    a_Events.SendEvent(BMI_EVENT_AMC_RUN_STATUS, BMI_EVENT_NUMBER, &l_Event);
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_HW_WriteParams -returning OK");
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
