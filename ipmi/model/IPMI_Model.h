// The entity model: the blade's hardware as the tables see it, one record an IPMI entity.
//
// The records are written by the domain thread and read by host threads. Until the model is ready only the domain
// thread touches it; afterwards every reader holds a MODEL_READER while it follows pointers, and the domain thread a
// MODEL_WRITER while it changes the structure. Copy what you need under the lock and use it afterwards: wait for no
// reply and call nothing of the host's, not even its logger, while you hold one of them.
#pragma once

#include "common/veldo_common_protocol.h"

#include <OpenIPMI/ipmi_types.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <vector>

#include <pthread.h>

class CBaseOsLog;
class SDR;

namespace BM_ADAPTOR {
class ENTITYCAPTURE;
}

/// IPMI entity ids in use (Platform Management, Entity ID Codes: 0xA0 and up are the board vendor's and PICMG's).
enum IPMI_ENTITY_ID_e : int32_t {
    ENTITY_ID_NOT_SET = 0,
    ENTITY_ID_BASEBOARD = 160, ///< 0xA0, the carrier board
    ENTITY_ID_AMC = 161,       ///< 0xA1
    ENTITY_ID_RTM = 162,       ///< 0xA2
    ENTITY_ID_NONE = 0xFF      ///< a site of no known type
};

/// First device-relative entity instance.
inline constexpr int32_t ENTITY_INSTANCE_FIRST = 0x60;
/// The key of an entity, ordered field by field.
struct IPMI_ENTITY_ADDRESS {
    int32_t m_Channel = 0;        ///< IPMI channel of the controller; 0 for everything on this blade
    int32_t m_Address = 0;        ///< device address; 0x20 for what the probe finds
    int32_t m_EntityID = 0;       ///< IPMI_ENTITY_ID_e
    int32_t m_EntityInstance = 0; ///< for AMC and RTM as probed: the FRU device id
};

bool operator<(const IPMI_ENTITY_ADDRESS& a_Left, const IPMI_ENTITY_ADDRESS& a_Right);

/// One multirecord of a FRU: an owned copy of its data bytes, without the five header bytes.
class MULTIRECORD {
public:
    /// A null pointer or a length not above 0 makes an empty record.
    MULTIRECORD(char* a_Data, int a_Length);
    MULTIRECORD(const MULTIRECORD&) = delete;
    MULTIRECORD& operator=(const MULTIRECORD&) = delete;
    ~MULTIRECORD();

    char* m_Data = nullptr;
    int32_t m_Length = 0;
    int32_t m_Type = 0; ///< record type id of the record's header
};

/// FRU inventory of one FRU; owns its multirecords. The texts are the field's bytes up to the first NUL.
class IPMI_FRU {
public:
    IPMI_FRU(IPMI_ENTITY_ADDRESS a_Address, std::string a_Name);
    IPMI_FRU(const IPMI_FRU&) = delete;
    IPMI_FRU& operator=(const IPMI_FRU&) = delete;
    ~IPMI_FRU();

    /// Adds a record with a copy of these bytes at the end. @param a_Type  record type id
    void AddMultiRecord(const unsigned char* a_Data, int a_Length, int a_Type);
    void ClearMultiRecords();

    IPMI_ENTITY_ADDRESS m_Address;
    std::string m_Name;
    std::string m_ProductVersion;
    int32_t m_Reserved = 0;
    std::string m_BoardManufacturer;
    std::string m_BoardProductName;
    std::string m_BoardSerialNumber;
    std::string m_BoardPartNumber;
    std::string m_ProductManufacturer;
    std::string m_ProductName;
    std::string m_ProductPartModelNumber;
    std::string m_ProductSerialNumber;
    std::vector<MULTIRECORD*> m_MultiRecords; ///< in the order of the multirecord area
};

/// One management controller.
struct IPMI_MC {
    std::string m_Name;
    int32_t m_MajorFWRevision = 0;
    int32_t m_MinorFWRevision = 0;
    std::string m_AuxFWRevision; ///< the auxiliary revision bytes, decimal, separated by blanks
};

/// One OpenIPMI control.
struct IPMI_CONTROL {
    int32_t m_Channel = 0;
    int32_t m_Address = 0;
    int32_t m_EntityID = 0;
    int32_t m_EntityInstance = 0;
    std::string m_Name;
    ipmi_control_id_t m_ControlID{}; ///< leads to the control from the domain thread; zero for a simulated one
    int32_t m_Type = 0;              ///< OpenIPMI control type
};

/// One sensor; only its name is used.
struct IPMI_SENSOR {
    std::string m_Name;
};

/// One PICMG FRU LED.
struct IPMI_LED {
    int32_t m_Channel = 0;
    int32_t m_Address = 0;
    int32_t m_EntityID = 0;
    int32_t m_EntityInstance = 0;
    std::string m_Name;
    int32_t m_LEDID = 0; ///< PICMG LED id: 0 the blue hot-swap LED, then 1, 2, 3
    // Colours that the LED supports, in the order of the PICMG colour codes 1 to 6.
    bool m_bBlue = false;
    bool m_bRed = false;
    bool m_bGreen = false;
    bool m_bAmber = false;
    bool m_bOrange = false;
    bool m_bWhite = false;
};

/// One entity; owns the records of its five maps. A null map value is possible and is skipped by every reader.
class IPMI_ENTITY {
public:
    IPMI_ENTITY(int a_Channel, int a_Address, int a_EntityID, int a_EntityInstance);
    IPMI_ENTITY(const IPMI_ENTITY&) = delete;
    IPMI_ENTITY& operator=(const IPMI_ENTITY&) = delete;
    ~IPMI_ENTITY();

    IPMI_ENTITY_ADDRESS Address() const;
    /// The first FRU record and the first controller by name, or null.
    IPMI_FRU* FirstFRU() const;
    IPMI_MC* FirstMC() const;
    /// Puts a record under its name. A record it replaces stays allocated: a host thread may have kept its address.
    void StoreFRU(std::unique_ptr<IPMI_FRU> a_FRU);

    int32_t m_Channel;
    int32_t m_Address;
    int32_t m_EntityID;
    int32_t m_EntityInstance;
    std::string m_Name;
    std::map<std::string, IPMI_CONTROL*> m_ControlMap;
    std::map<std::string, IPMI_SENSOR*> m_SensorMap;
    std::map<std::string, IPMI_FRU*> m_FRUMap;
    std::map<std::string, IPMI_MC*> m_MCMap;
    std::map<int, IPMI_LED*> m_LEDMap; ///< by PICMG LED id
    int32_t m_BayLocation = 0;         ///< AMC bay 1 to 8, 9 for the RTM; the site number elsewhere
    int32_t m_SiteValue = 0;           ///< the same number, for AMC and RTM as probed
    int32_t m_FRUDeviceID = 0;         ///< FRU device id under which the probe found the entity
    int32_t m_IPMB0Address = 0;        ///< IPMB-0 address of the Get Address Info reply

private:
    std::vector<std::unique_ptr<IPMI_FRU>> m_ReplacedFRUs;
};

extern std::atomic<bool> g_bCompleteIPMISimulation; ///< the whole inventory is simulated
extern std::atomic<bool> g_bAMCRTMOnlySimulation; ///< the baseboard is real, AMC and RTM are simulated; nothing sets it

namespace BM_ADAPTOR {

using ENTITY_MAP = std::map<IPMI_ENTITY_ADDRESS, IPMI_ENTITY*>;
/// A pointer that one thread sets while others read it; use it like a plain pointer. Null at first.
template <typename OBJECT>
class PUBLISHED {
public:
    PUBLISHED() = default;
    PUBLISHED(const PUBLISHED&) = delete;
    PUBLISHED& operator=(const PUBLISHED&) = delete;
    PUBLISHED& operator=(OBJECT* a_Object) {
        m_Object = a_Object;
        return *this;
    }
    operator OBJECT*() const { return m_Object; } // NOLINT(google-explicit-constructor): it is the pointer
    OBJECT* operator->() const { return m_Object; }

private:
    std::atomic<OBJECT*> m_Object = nullptr;
};

using SDR_MAP = std::map<uint16_t, SDR*>;

/// The model's lock, shared by readers. A writer that waits comes before readers that come later; std::shared_mutex
/// lets them pass, and busy readers would keep the domain thread out for seconds. A thread must not lock it twice.
class MODEL_LOCK {
public:
    MODEL_LOCK() = default;
    MODEL_LOCK(const MODEL_LOCK&) = delete;
    MODEL_LOCK& operator=(const MODEL_LOCK&) = delete;
    ~MODEL_LOCK() { pthread_rwlock_destroy(&m_Lock); }

    // Named as the standard's lock guards want them.
    void lock() { pthread_rwlock_wrlock(&m_Lock); }
    bool try_lock() { return pthread_rwlock_trywrlock(&m_Lock) == 0; }
    void unlock() { pthread_rwlock_unlock(&m_Lock); }
    void lock_shared() { pthread_rwlock_rdlock(&m_Lock); }
    /// False also while a writer waits.
    bool try_lock_shared() { return pthread_rwlock_tryrdlock(&m_Lock) == 0; }
    void unlock_shared() { pthread_rwlock_unlock(&m_Lock); }

private:
    pthread_rwlock_t m_Lock = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
};

// Never destroyed: the domain thread uses them until the process has ended.
extern ENTITY_MAP& g_EntityMap;                  ///< owns the entities; an entry may hold null
extern SDR_MAP& g_SDRMAP;                        ///< owns the records
extern MODEL_LOCK& g_EntityMapLock;              ///< see MODEL_READER and MODEL_WRITER
extern PUBLISHED<ENTITYCAPTURE> g_ENTITYCapture; ///< the probe, made when the domain opens; null before
extern PUBLISHED<CBaseOsLog> g_Logger2;          ///< where the domain thread and the probe log; null is harmless

/// A host thread holds a MODEL_READER while it reads the model. A MODEL_WRITER is for changes: of the structure by the
/// domain thread, of what is known of an LED's colours by a host thread that writes an LED.
using MODEL_READER = std::shared_lock<MODEL_LOCK>;
using MODEL_WRITER = std::unique_lock<MODEL_LOCK>;

/// The first entity, in map order, for which `a_Wanted(entity)` holds, or null. The caller holds the model's lock.
template <typename PREDICATE>
IPMI_ENTITY* FirstEntity(PREDICATE a_Wanted) {
    for (const auto& [l_Address, l_Entity] : g_EntityMap) {
        if (l_Entity != nullptr && a_Wanted(*l_Entity)) return l_Entity;
    }
    return nullptr;
}

/// Names of an OpenIPMI control type, of a vendor record's framer type and DSP type; constant texts.
const char* TranslateControlType(int a_Type);
const char* TranslateFramerType(unsigned char a_Type);
const char* TranslateDSPType(unsigned char a_Type);

} // namespace BM_ADAPTOR
