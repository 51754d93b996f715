// The simulated inventory: a baseboard, one AMC and the RTM, for a blade whose IPMI cannot be reached.
#pragma once

namespace BM_ADAPTOR {

/// Adds the simulated baseboard, AMC and RTM to the model. Replaces an entity that has the same address, without
/// deleting it: a host thread may still read it. Leaves the start-up mutex alone. Domain thread. Always 0.
int BuildSimulatedData();
void AddAMCEntity();
void AddRTMEntity();

} // namespace BM_ADAPTOR
