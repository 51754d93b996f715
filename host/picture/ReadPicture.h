// The picture's parts, read from an adaptor: by a command with an adaptor of its own, and by the resident host.
#pragma once

#include "host/picture/Led.h"
#include "host/picture/Picture.h"

#include <string>
#include <vector>

namespace bmhost {

class Session;

/// Whether the controller's device can be opened, as the adaptor asks before it simulates an inventory; the device is
/// closed at once.
Source SourceOfBlade(const char* device = "/dev/ipmi0");

/// Every table of the inventory; calls that fail leave their tables empty.
Inventory ReadInventory(Session& session);

/// Every place where the adaptor may have an LED.
std::vector<LedPlace> LedPlaces();
/// One try: the state when it was read, and the result in any case. NotFound: there is no such LED.
LedReading ReadLedOnce(Session& session, LedPlace place);
/// Takes the try's result into the readings, which are in the order of bay and LED: one that failed keeps the state of
/// the last good reading, and one that found no LED removes it.
void PutLed(LedReading reading, std::vector<LedReading>& leds);
/// ReadLedOnce and PutLed.
void ReadLedInto(Session& session, LedPlace place, std::vector<LedReading>& leds);
/// All of them.
std::vector<LedReading> ReadLeds(Session& session);

/// The note of a DSP that the adaptor gives no address because it does not serve it.
inline constexpr const char* DspNotInService = "not in service";
/// @param row  of the AMCs' table, whose rows number the DSPs from 1; it has no address
DspFacts DspOf(int32_t number, const BM_ADAPTOR::CBMIParams& row);
/// @param row  of the switch's table
PortFacts PortOf(const BM_ADAPTOR::CBMIParams& row);

/// The DSPs with their addresses. In mode 2 the adaptor serves none of these, see AddStored.
std::vector<DspFacts> ReadDsps(Session& session);
/// The switch's ports; in mode 2 there are none, see AddStored.
std::vector<PortFacts> ReadPorts(Session& session);
/// For an adaptor in mode 2: gives the DSPs the addresses and the blade the ports that the storage holds, marked as
/// stored. The storage is looked at only: nothing in it is made, locked or changed.
void AddStored(const std::string& storage, std::vector<DspFacts>& dsps, std::vector<PortFacts>& ports);

/// The last upgrade of this session's adaptor, as a history of one; empty before the first, when the adaptor's row
/// reads as a finished upgrade of the baseboard.
std::vector<UpgradeFacts> ReadUpgrade(Session& session);

/// What a command with an adaptor of its own shows: all of the above, read now. Health is not monitored there.
/// @param storage  the folder of the host's storage, looked at in mode 2
Picture ReadPicture(Session& session, int mode, const std::string& storage);

} // namespace bmhost
