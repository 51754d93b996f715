// Where an LED is reached: look-ups of entity, light control and LED record in the model.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "ipmi/model/IPMI_Model.h"

#include <cstdint>
#include <optional>

namespace BM_ADAPTOR {

/// Where one LED is reached: copied from the model, so that nothing holds the model's lock while a reply is awaited.
struct LED_TARGET {
    std::optional<IPMI_CONTROL> m_Control; ///< the OpenIPMI light control, when the model has one
    IPMI_LED* m_LED = nullptr;             ///< the LED's record, to be looked at under the model's lock only; null: no
                                           ///< such LED
    int32_t m_FRUDeviceID = 0;
    int32_t m_HostLEDID = 0;
    int32_t m_PICMGLEDID = -1;
};

/// Look-ups in the model, null when there is no such record. Made for one call, on any host thread. Each look-up takes
/// the model's lock for itself, shared, and writes its lines after giving it back. The model keeps what is returned and
/// never removes it; what a record says is read under the lock.
class LED_LOOKUP {
public:
    explicit LED_LOOKUP(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    /// The first entity with this id, in the model's order. Writes no line.
    static IPMI_ENTITY* Entity(int a_EntityID);
    /// The first entity with this id in the bay.
    IPMI_ENTITY* EntityOfBay(int a_EntityID, int a_Bay) const;
    /// @param a_Entity  may be null
    /// @param a_LEDID   the host's LED id: 1 hot swap, 2 out of service, 3 health; others have no control
    IPMI_CONTROL* Control(const IPMI_ENTITY* a_Entity, int a_LEDID) const;
    /// Writes no line.
    /// @param a_Entity  may be null
    /// @param a_LEDID   the PICMG LED id, one less than the host's
    static IPMI_LED* LED(const IPMI_ENTITY* a_Entity, int a_LEDID);
    /// All that a command needs to know of the entity's LED.
    /// @param a_LEDID  the host's LED id; any integer
    LED_TARGET Target(const IPMI_ENTITY& a_Entity, int32_t a_LEDID) const;

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
