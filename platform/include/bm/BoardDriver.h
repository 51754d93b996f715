// The board driver library: PCI memory handle and Ethernet switch. Every call returns 0 on success, otherwise an error
// code of the firmware.
#pragma once

extern "C" {

/// Opens a PCI memory handle in the 8 bytes at `handle`, which must be zero.
/// @return 0; 2 the PCI list could not be parsed, 3 no memory, 4 null handle, 5 base address refused, 6 no card
int uPCIMemOpen(void* handle, int, int);
int uPCIMemClose(void* handle);

/// @param backend  the switch's own port index
/// @param mode     1 enables, 0 disables, 2 only queries
/// @param out      the port's state after the call, 1 for enabled
int mavkAmcSwitchPortEnable(int backend, int mode, int* out);
/// @param out  1 when the link is up
int mavkAmcSwitchPortCheckLink(int backend, int* out);
/// Enters a MAC address in the forwarding table, for a CPU port or for a DSP (counted from 0).
int mavkAmcSwitchMACLearn(int port, const unsigned char mac[6]);
int mavkAmcSwitchMACLearnByDSP(int dsp, const unsigned char mac[6]);
}
