// The process-wide state of the entity model and of the probe, as it is in a new process.
#pragma once

#include "ipmi/IPMI_Probe.h"
#include "ipmi/model/IPMI_Model.h"

/// Deletes the current probe, the entities and the SDRs, clears the flags and forgets the logger. What the product
/// keeps on purpose (superseded probes, replaced entities) is the test's to delete. No adaptor thread may run.
inline void ResetModel() {
    using namespace BM_ADAPTOR;
    delete g_ENTITYCapture; // before the entities, which it looks at
    g_ENTITYCapture = nullptr;
    for (const auto& [l_Address, l_Entity] : g_EntityMap)
        delete l_Entity;
    g_EntityMap.clear();
    for (const auto& [l_RecordID, l_Record] : g_SDRMAP)
        delete l_Record;
    g_SDRMAP.clear();
    g_bCompleteIPMISimulation = false;
    g_bAMCRTMOnlySimulation = false;
    g_Logger2 = nullptr;
}
