// What the tables of readers and writers say of the simulation: when one answers without hardware.
#pragma once

#include "ipmi/model/IPMI_Model.h"

namespace BM_ADAPTOR {

/// When a reader or writer answers without hardware.
enum LED_SIMULATION_e {
    LED_SIMULATED_WITH_BOARD,  ///< under the complete simulation
    LED_SIMULATED_WITH_MODULES ///< also while only AMC and RTM are simulated
};

inline bool IsSimulated(LED_SIMULATION_e a_Rule) {
    return g_bCompleteIPMISimulation || (a_Rule == LED_SIMULATED_WITH_MODULES && g_bAMCRTMOnlySimulation);
}

} // namespace BM_ADAPTOR
