// The adaptor's LED operations: what they do stands in leds/.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/leds/IPMI_LEDLists.h"
#include "adaptor/leds/IPMI_LEDLookup.h"
#include "adaptor/leds/IPMI_LEDReads.h"
#include "adaptor/leds/IPMI_LEDWrites.h"

namespace BM_ADAPTOR {

int IPMIAdaptor::Baseboard_LED_Internal_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return LED_READS(mFrame()).BaseboardInternal(a_Keys, a_Row);
}

int IPMIAdaptor::Baseboard_LED_Internal_ReadTable(CBMITable*& a_Table) {
    return LED_LISTS(mFrame()).BaseboardInternal(a_Table);
}

int IPMIAdaptor::Baseboard_LED_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return LED_READS(mFrame()).Baseboard(a_Keys, a_Row);
}

int IPMIAdaptor::Baseboard_LED_ReadTable(CBMITable*& a_Table) {
    return LED_LISTS(mFrame()).Baseboard(a_Table);
}

int IPMIAdaptor::AMC_LED_Internal_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return LED_READS(mFrame()).AMCInternal(a_Keys, a_Row);
}

int IPMIAdaptor::AMC_LED_Internal_ReadTable(CBMITable*& a_Table) {
    return LED_LISTS(mFrame()).AMCInternal(a_Table);
}

int IPMIAdaptor::AMC_LED_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return LED_READS(mFrame()).AMC(a_Keys, a_Row);
}

int IPMIAdaptor::AMC_LED_ReadTable(CBMITable*& a_Table) {
    return LED_LISTS(mFrame()).AMC(a_Table);
}

int IPMIAdaptor::Baseboard_LED_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values) {
    return LED_WRITES(mFrame()).Baseboard(a_Keys, a_Values);
}

int IPMIAdaptor::AMC_LED_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values) {
    return LED_WRITES(mFrame()).AMC(a_Keys, a_Values);
}

IPMI_ENTITY* IPMIAdaptor::FindEntitybyEntityID(int a_EntityID) const {
    return LED_LOOKUP::Entity(a_EntityID);
}

IPMI_ENTITY* IPMIAdaptor::FindEntitybyEntityIDBayLocation(int a_EntityID, int a_Location) const {
    return LED_LOOKUP(mFrame()).EntityOfBay(a_EntityID, a_Location);
}

IPMI_CONTROL* IPMIAdaptor::FindControlbyLEDID(IPMI_ENTITY* a_Entity, int a_LEDID) const {
    return LED_LOOKUP(mFrame()).Control(a_Entity, a_LEDID);
}

IPMI_LED* IPMIAdaptor::FindLEDbyLEDID(IPMI_ENTITY* a_Entity, int a_LEDID) const {
    return LED_LOOKUP::LED(a_Entity, a_LEDID);
}

} // namespace BM_ADAPTOR
