// The simulated inventory: a baseboard, one AMC and the RTM, for a blade whose IPMI cannot be reached.
#pragma once

namespace BM_ADAPTOR {

/// Adds the simulated baseboard, AMC and RTM to the model; an entity already there under the same address is replaced
/// (and kept: somebody may still read it). Takes no start-up mutex. Domain thread. Always 0.
int BuildSimulatedData();
void AddAMCEntity();
void AddRTMEntity();

} // namespace BM_ADAPTOR
