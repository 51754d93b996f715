// The numbers and texts that host and adaptor exchange, by name. The adaptor, its host, the simulated blade and the
// tests share this header; hosts include it as ipmi_adaptor/Protocol.h, in C++17 or later.
#pragma once

#include "bm/Params.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace BM_ADAPTOR {

// One line per group: name, number.
#define BMI_GROUP_LIST(GROUP)                                                                                          \
    GROUP(BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL, 0x100)                                                             \
    GROUP(BMI_GROUP_HARDWARE_AMC_LED_INTERNAL, 0x200)                                                                  \
    GROUP(BMI_GROUP_HARDWARE_AMC_FRU_TABLE, 0x300)                                                                     \
    GROUP(BMI_GROUP_HARDWARE_RTM_FRU_TABLE, 0x400)                                                                     \
    GROUP(BMI_GROUP_FIRMWARE_UPDATE, 0x600)                                                                            \
    GROUP(BMI_GROUP_HARDWARE_AMC_DSP_TABLE, 0x1200)                                                                    \
    GROUP(BMI_GROUP_HARDWARE_BOARD, 0x30000)                                                                           \
    GROUP(BMI_GROUP_BM_IPMI_BASEBOARD_LED, 0x30100)                                                                    \
    GROUP(BMI_GROUP_HARDWARE_AMC_TABLE, 0x30200)                                                                       \
    GROUP(BMI_GROUP_HARDWARE_AMC_LED_TABLE, 0x30300)                                                                   \
    GROUP(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, 0x30d10)                                                                \
    GROUP(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, 0x30e00)

// One line per parameter: name, number, value type, whether it is a key. In the order of the numbers.
#define BMI_PARAMETER_LIST(PARAMETER)                                                                                  \
    PARAMETER(BMI_HW_BB_LED_ID, 0x101, BMI_PARAM_INT, true)                                                            \
    PARAMETER(BMI_HW_BB_LED_ON_TIME, 0x102, BMI_PARAM_INT, false)                                                      \
    PARAMETER(BMI_HW_BB_LED_OFF_TIME, 0x103, BMI_PARAM_INT, false)                                                     \
    PARAMETER(BMI_HW_BB_LED_LAMP_TEST, 0x104, BMI_PARAM_INT, false)                                                    \
    PARAMETER(BMI_HW_BB_LED_LOCAL_CONTROL, 0x105, BMI_PARAM_INT, false)                                                \
    PARAMETER(BMI_HW_BB_LED_SUPPORTS_WHITE, 0x106, BMI_PARAM_BOOL, false)                                              \
    PARAMETER(BMI_HW_BB_LED_SUPPORTS_ORANGE, 0x107, BMI_PARAM_BOOL, false)                                             \
    PARAMETER(BMI_HW_BB_LED_SUPPORTS_AMBER, 0x108, BMI_PARAM_BOOL, false)                                              \
    PARAMETER(BMI_HW_BB_LED_SUPPORTS_GREEN, 0x109, BMI_PARAM_BOOL, false)                                              \
    PARAMETER(BMI_HW_BB_LED_SUPPORTS_RED, 0x10A, BMI_PARAM_BOOL, false)                                                \
    PARAMETER(BMI_HW_BB_LED_SUPPORTS_BLUE, 0x10B, BMI_PARAM_BOOL, false)                                               \
    PARAMETER(BMI_HW_BB_LED_COLOR, 0x10C, BMI_PARAM_INT, false)                                                        \
    PARAMETER(BMI_HW_AMC_LED_ID, 0x201, BMI_PARAM_INT, true)                                                           \
    PARAMETER(BMI_HW_AMC_LED_ON_TIME, 0x202, BMI_PARAM_INT, false)                                                     \
    PARAMETER(BMI_HW_AMC_LED_OFF_TIME, 0x203, BMI_PARAM_INT, false)                                                    \
    PARAMETER(BMI_HW_AMC_LED_LAMP_TEST, 0x204, BMI_PARAM_INT, false)                                                   \
    PARAMETER(BMI_HW_AMC_LED_LOCAL_CONTROL, 0x205, BMI_PARAM_INT, false)                                               \
    PARAMETER(BMI_HW_AMC_LED_SUPPORTS_WHITE, 0x206, BMI_PARAM_BOOL, false)                                             \
    PARAMETER(BMI_HW_AMC_LED_SUPPORTS_ORANGE, 0x207, BMI_PARAM_BOOL, false)                                            \
    PARAMETER(BMI_HW_AMC_LED_SUPPORTS_AMBER, 0x208, BMI_PARAM_BOOL, false)                                             \
    PARAMETER(BMI_HW_AMC_LED_SUPPORTS_GREEN, 0x209, BMI_PARAM_BOOL, false)                                             \
    PARAMETER(BMI_HW_AMC_LED_SUPPORTS_RED, 0x20A, BMI_PARAM_BOOL, false)                                               \
    PARAMETER(BMI_HW_AMC_LED_SUPPORTS_BLUE, 0x20B, BMI_PARAM_BOOL, false)                                              \
    PARAMETER(BMI_HW_AMC_LED_COLOR, 0x20C, BMI_PARAM_INT, false)                                                       \
    PARAMETER(BMI_HW_AMC_LED_BAY, 0x20D, BMI_PARAM_INT, true)                                                          \
    PARAMETER(BMI_HW_AMC_FRU_FIELD_A, 0x301, BMI_PARAM_INT, false)                                                     \
    PARAMETER(BMI_HW_AMC_FRU_FIELD_B, 0x302, BMI_PARAM_INT, false)                                                     \
    PARAMETER(BMI_HW_AMC_FRU_BAY, 0x303, BMI_PARAM_INT, true)                                                          \
    PARAMETER(BMI_HW_RTM_FRU_FRAMER_TYPE, 0x401, BMI_PARAM_INT, false)                                                 \
    PARAMETER(BMI_HW_RTM_FRU_NUM_FRAMERS, 0x402, BMI_PARAM_INT, false)                                                 \
    PARAMETER(BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER, 0x403, BMI_PARAM_INT, false)                                           \
    PARAMETER(BMI_FW_UPDATE_TARGET, 0x601, BMI_PARAM_UINT, false)                                                      \
    PARAMETER(BMI_FW_UPDATE_STATE, 0x602, BMI_PARAM_UINT, false)                                                       \
    PARAMETER(BMI_FW_UPDATE_FILE, 0x605, BMI_PARAM_STRING, false)                                                      \
    PARAMETER(BMI_FW_UPDATE_BAY, 0x606, BMI_PARAM_UINT, false)                                                         \
    PARAMETER(BMI_HW_AMC_DSP_BAY, 0x1201, BMI_PARAM_INT, true)                                                         \
    PARAMETER(BMI_HW_AMC_DSP_NUM, 0x1202, BMI_PARAM_INT, true)                                                         \
    PARAMETER(BMI_HW_AMC_DSP_MAC, 0x1203, BMI_PARAM_STRING, false)                                                     \
    PARAMETER(BMI_HW_BOARD_PRODUCT_NAME, 0x30001, BMI_PARAM_STRING, false)                                             \
    PARAMETER(BMI_HW_BOARD_LOCATION, 0x30002, BMI_PARAM_INT, false)                                                    \
    PARAMETER(BMI_HW_BOARD_MANUFACTURER, 0x30003, BMI_PARAM_STRING, false)                                             \
    PARAMETER(BMI_HW_BOARD_PRODUCT_SERIAL, 0x30004, BMI_PARAM_STRING, false)                                           \
    PARAMETER(BMI_HW_BOARD_PRODUCT_VERSION, 0x30005, BMI_PARAM_STRING, false)                                          \
    PARAMETER(BMI_HW_BOARD_FW_VERSION, 0x30006, BMI_PARAM_STRING, false)                                               \
    PARAMETER(BMI_HW_BOARD_PART_NUMBER, 0x30007, BMI_PARAM_STRING, false)                                              \
    PARAMETER(BMI_HW_BOARD_RESET_BASEBOARD, 0x30008, BMI_PARAM_BOOL, false)                                            \
    PARAMETER(BMI_HW_BOARD_RESET_ENTIRE_CARD, 0x30009, BMI_PARAM_BOOL, false)                                          \
    PARAMETER(BMI_HW_BB_LED_TYPE, 0x30101, BMI_PARAM_INT, true)                                                        \
    PARAMETER(BMI_HW_BB_LED_STATE_COLOR, 0x30102, BMI_PARAM_INT, false)                                                \
    PARAMETER(BMI_HW_BB_LED_STATE_MODE, 0x30103, BMI_PARAM_INT, false)                                                 \
    PARAMETER(BMI_HW_AMC_BAY, 0x30201, BMI_PARAM_INT, true)                                                            \
    PARAMETER(BMI_HW_AMC_PRODUCT_NAME, 0x30202, BMI_PARAM_STRING, false)                                               \
    PARAMETER(BMI_HW_AMC_MANUFACTURER, 0x30203, BMI_PARAM_STRING, false)                                               \
    PARAMETER(BMI_HW_AMC_SERIAL, 0x30204, BMI_PARAM_STRING, false)                                                     \
    PARAMETER(BMI_HW_AMC_PRODUCT_VERSION, 0x30205, BMI_PARAM_STRING, false)                                            \
    PARAMETER(BMI_HW_AMC_FW_VERSION, 0x30206, BMI_PARAM_STRING, false)                                                 \
    PARAMETER(BMI_HW_AMC_PART_NUMBER, 0x30207, BMI_PARAM_STRING, false)                                                \
    PARAMETER(BMI_HW_AMC_RUN_STATUS, 0x30208, BMI_PARAM_INT, false)                                                    \
    PARAMETER(BMI_HW_AMC_LED_TABLE_BAY, 0x30301, BMI_PARAM_INT, true)                                                  \
    PARAMETER(BMI_HW_AMC_LED_TYPE, 0x30302, BMI_PARAM_INT, true)                                                       \
    PARAMETER(BMI_HW_AMC_LED_STATE_COLOR, 0x30303, BMI_PARAM_INT, false)                                               \
    PARAMETER(BMI_HW_AMC_LED_STATE_MODE, 0x30304, BMI_PARAM_INT, false)                                                \
    PARAMETER(BMI_HW_AMC_DSP_EX_INDEX, 0x30d11, BMI_PARAM_INT, true)                                                   \
    PARAMETER(BMI_HW_AMC_DSP_EX_NUM, 0x30d12, BMI_PARAM_INT, true)                                                     \
    PARAMETER(BMI_HW_AMC_DSP_EX_MAC, 0x30d13, BMI_PARAM_STRING, false)                                                 \
    PARAMETER(BMI_HW_AMC_DSP_EX_IP, 0x30d14, BMI_PARAM_STRING, false)                                                  \
    PARAMETER(BMI_HW_AMC_SWITCHPORT_INDEX, 0x30e01, BMI_PARAM_INT, true)                                               \
    PARAMETER(BMI_HW_AMC_SWITCHPORT_NUM, 0x30e02, BMI_PARAM_INT, true)                                                 \
    PARAMETER(BMI_HW_AMC_SWITCHPORT_ADMIN, 0x30e03, BMI_PARAM_INT, false)                                              \
    PARAMETER(BMI_HW_AMC_SWITCHPORT_OPER, 0x30e04, BMI_PARAM_INT, false)                                               \
    PARAMETER(BMI_HW_AMC_SWITCHPORT_NAME, 0x30e05, BMI_PARAM_STRING, false)                                            \
    PARAMETER(BMI_HW_AMC_SWITCHPORT_TYPE, 0x30e06, BMI_PARAM_INT, true)

#define BMI_GROUP_ENUMERATOR(name, number) name = (number),
#define BMI_PARAMETER_ENUMERATOR(name, number, type, key) name = (number),
enum BMIGroup_e : uint32_t { BMI_GROUP_LIST(BMI_GROUP_ENUMERATOR) };
enum BMIParamId_e : uint32_t { BMI_PARAMETER_LIST(BMI_PARAMETER_ENUMERATOR) };
#undef BMI_GROUP_ENUMERATOR
#undef BMI_PARAMETER_ENUMERATOR

/// Registered with the host, but no handler answers them.
constexpr uint32_t BMI_GROUP_UNSERVED_30D00 = 0x30d00;
constexpr uint32_t BMI_GROUP_UNSERVED_30E10 = 0x30e10;

/// The event class that the adaptor registers for, and the number that its events carry.
constexpr uint32_t BMI_EVENT_CLASS = 5;
constexpr uint32_t BMI_EVENT_NUMBER = 5;

// One line per event: name, number.
#define BMI_EVENT_LIST(EVENT)                                                                                          \
    /* an upgrade has ended: BMI_FW_UPDATE_TARGET, _STATE, _BAY */                                                     \
    EVENT(BMI_EVENT_FIRMWARE_UPDATE, 0x600)                                                                            \
    /* the run status of an AMC was written: BMI_HW_AMC_BAY, BMI_HW_AMC_RUN_STATUS */                                  \
    EVENT(BMI_EVENT_AMC_RUN_STATUS, 0x70402)

/// Modes of the host (IBMAdaptorMgr::GetMode). The adaptor drives the board in the first and the third; in the second
/// it serves its tables but leaves the board alone.
inline constexpr int HOST_MODE_DRIVE = 1;
inline constexpr int HOST_MODE_LOOK_ONLY = 2;
inline constexpr int HOST_MODE_DRIVE_TOO = 3;

// One line per result: name, number. Results of the handlers; RESULT_NO_LED is the controller's: it has fewer LEDs.
#define BMI_HANDLER_RESULT_LIST(RESULT)                                                                                \
    RESULT(RESULT_NO_LED, -1)                                                                                          \
    RESULT(RESULT_NOTHING_DONE, 0)  /* group not served, or the operation did nothing */                               \
    RESULT(RESULT_OK, 1)            /* also for an empty table */                                                      \
    RESULT(RESULT_NO_ARGUMENT, 2)   /* keys or values are null (LED writes) */                                         \
    RESULT(RESULT_NO_ROW, 4)        /* a key is missing or names no row (DSP and switch tables) */                     \
    RESULT(RESULT_NOT_FOUND, 12)    /* not found or failed (hardware tables) */                                        \
    RESULT(RESULT_NO_STATUS, 16)    /* an AMC write without a run status */                                            \
    RESULT(RESULT_NOT_OBTAINED, 21) /* the row exists, its value could not be obtained */                              \
    RESULT(RESULT_NO_VALUE, 23)     /* a write without a value that it needs */

/// An LED write that the controller refused has its completion code as result.
inline constexpr int RESULT_REFUSED_FIRST = 0x80;
inline constexpr int RESULT_REFUSED_LAST = 0xFF;

// Results of the start-up operations.
#define BMI_STARTUP_RESULT_LIST(RESULT)                                                                                \
    RESULT(STARTUP_MEDIA_START_FAILED, 0x30004)                                                                        \
    RESULT(STARTUP_MEDIA_STOP_FAILED, 0x30005)                                                                         \
    /* no host address, DSPs not initialised, or an RTM row with a value missing */                                    \
    RESULT(STARTUP_FAILED, 0x30011)                                                                                    \
    /* the switch could not be taught, or the DSPs were not booted or failed their test */                             \
    RESULT(STARTUP_DSP_FAILED, 0x30012)

// Results of the health monitor's checks.
#define BMI_MONITOR_RESULT_LIST(RESULT)                                                                                \
    RESULT(MONITOR_LIVE, 1)                                                                                            \
    RESULT(MONITOR_FIRMWARE_FAILED, 0x30013)                                                                           \
    RESULT(MONITOR_RTM_FAILED, 0x30014)                                                                                \
    RESULT(MONITOR_AMC_FAILED, 0x30015)                                                                                \
    RESULT(MONITOR_NOT_RUN, 0x30016)         /* the diagnostic could not be run */                                     \
    RESULT(MONITOR_PROCESSOR_FAULT, 0x30017) /* reported by the media software */                                      \
    RESULT(MONITOR_NO_EXCHANGE, 0x30019)     /* no answer from the media software, or no queue */

#define BMI_ENUMERATOR(name, number) name = (number),
enum BMIEvent_e : uint32_t { BMI_EVENT_LIST(BMI_ENUMERATOR) };
enum HANDLER_RESULT_e : int { BMI_HANDLER_RESULT_LIST(BMI_ENUMERATOR) };
enum STARTUP_RESULT_e : int { BMI_STARTUP_RESULT_LIST(BMI_ENUMERATOR) };
enum MONITOR_RESULT_e : int { BMI_MONITOR_RESULT_LIST(BMI_ENUMERATOR) };
#undef BMI_ENUMERATOR

/// A module's firmware version that the adaptor could not read.
inline constexpr const char* UNKNOWN_FW_VERSION = "UnKn";

/// Run status of an AMC or the RTM.
enum TELQ_HW_Device_RunStatus_e : int32_t {
    RUN_STATUS_UNWRITTEN = 1, ///< no status was written for the bay yet
    RUN_STATUS_STARTING = 2,
    RUN_STATUS_INITIALISING = 3,
    RUN_STATUS_RUNNING = 4, ///< its DSPs passed their test
    RUN_STATUS_FAILED = 5
};

/// The target of an upgrade, as the host sends it: every number except 1 means the baseboard.
enum UPGRADETARGET : int32_t {
    UPGRADETARGET_BASEBOARD = 0,
    UPGRADETARGET_MODULE = 1 ///< an AMC, or the RTM in its bay
};

enum UPGRADE_STATE_e : int32_t { UPGRADE_REQUESTED = 0, UPGRADE_DONE = 2, UPGRADE_FAILED = 3 };

/// AMC bays are locations 1 to 8; the RTM is addressed as location 9.
inline constexpr int32_t AMC_BAY_FIRST = 1;
inline constexpr int32_t AMC_BAY_LAST = 8;
inline constexpr int32_t RTM_BAY = 9;

/// LED ids of the host. PICMG's are one less.
enum HOST_LED_e : int32_t {
    HOST_LED_HOT_SWAP = 1,
    HOST_LED_OUT_OF_SERVICE = 2,
    HOST_LED_HEALTH = 3,
    HOST_LED_FOURTH = 4 ///< the last one; its meaning depends on the board
};
constexpr int32_t PICMGLEDOf(int32_t a_HostLED) {
    return a_HostLED - 1;
}

/// LED colours of the host: PICMG's numbers without orange, and one for off.
enum HOST_LED_COLOR_e : int32_t {
    HOST_LED_BLUE = 1,
    HOST_LED_RED = 2,
    HOST_LED_GREEN = 3,
    HOST_LED_AMBER = 4,
    HOST_LED_WHITE = 6,
    HOST_LED_OFF = 7
};

/// LED colours of groups 0x100 and 0x200: OpenIPMI's numbers.
enum INTERNAL_LED_COLOR_e : int32_t {
    INTERNAL_LED_NO_COLOR = 0, ///< written: the adaptor chooses
    INTERNAL_LED_WHITE = 1,
    INTERNAL_LED_RED = 2,
    INTERNAL_LED_GREEN = 3,
    INTERNAL_LED_BLUE = 4,
    INTERNAL_LED_AMBER = 5,
    INTERNAL_LED_ORANGE = 6
};

/// Blink modes of the host.
enum HOST_LED_MODE_e : int32_t {
    HOST_LED_STEADY = 1,
    HOST_LED_BLINKS = 2,       ///< off time 2 to 125
    HOST_LED_BLINKS_SLOWLY = 3 ///< off time above 125
};

/// Where a switch port leads.
enum TELQ_Ext_If_Types_e : int32_t { TELQ_EXT_IF_FABRIC = 2, TELQ_EXT_IF_RTM = 3 };

/// An external port of the switch.
struct SWITCH_PORT_NAME {
    int32_t m_Number;
    TELQ_Ext_If_Types_e m_Type;
    const char* m_Name;
};
inline constexpr SWITCH_PORT_NAME g_SwitchPortNames[] = {{1, TELQ_EXT_IF_FABRIC, "Switch Port Fabric 1"},
                                                         {2, TELQ_EXT_IF_FABRIC, "Switch Port Fabric 2"},
                                                         {3, TELQ_EXT_IF_RTM, "Switch Port RTM 1"},
                                                         {4, TELQ_EXT_IF_RTM, "Switch Port RTM 2"}};

/// Storage file of the switch ports' administrative states: a row for each port number.
inline constexpr const char* SWITCH_PORT_FILE = "telq_qub_switchport_cfg.xml";
/// Storage file of the DSPs' IP addresses: a row for each DSP number.
inline constexpr const char* DSP_IP_FILE = "telq_qub_dsp_iptable_cfg.xml";
/// Administrative states. A port is enabled by PORT_ENABLED and disabled by every other value; the value is kept
/// unchanged.
enum PORT_ADMIN_e : int32_t { PORT_DISABLED = 0, PORT_ENABLED = 1 };
/// Link states.
enum PORT_OPER_e : int32_t { PORT_LINK_DOWN = 0, PORT_LINK_UP = 1, PORT_LINK_UNKNOWN = 2 };

/// Components of the host's log.
inline constexpr const char* COMPONENT_IPMI_ADAPTOR = "IPMI Adaptor";
inline constexpr const char* COMPONENT_IPMI = "IPMI"; ///< of start-up
inline constexpr const char* COMPONENT_MEDIA_ADAPTOR = "Media Adaptor";
inline constexpr const char* COMPONENT_MONITOR_THREAD = "Monitor Thread";

/// Whole texts under COMPONENT_IPMI_ADAPTOR: the health monitor has started, or has ended. A host learns of it only
/// from these lines.
inline constexpr const char* MONITOR_STARTED_TEXT = "Monitor Thread started";
inline constexpr const char* MONITOR_STOPPED_TEXT = "Monitor Thread stopped";

struct GROUP_NAME {
    std::string_view m_Name;
    uint32_t m_Group;
};

struct PARAMETER_NAME {
    std::string_view m_Name;
    uint32_t m_Id;
    BMIParamType_e m_Type;
    bool m_Key;
};

struct EVENT_NAME {
    std::string_view m_Name;
    uint32_t m_Event;
};

struct RESULT_NAME {
    std::string_view m_Name;
    int m_Result;
};

#define BMI_GROUP_ROW(name, number) GROUP_NAME{#name, number},
#define BMI_EVENT_ROW(name, number) EVENT_NAME{#name, number},
#define BMI_RESULT_ROW(name, number) RESULT_NAME{#name, number},
#define BMI_PARAMETER_ROW(name, number, type, key) PARAMETER_NAME{#name, number, type, key},

inline constexpr auto g_GroupNames = std::array{BMI_GROUP_LIST(BMI_GROUP_ROW)};
inline constexpr auto g_ParameterNames = std::array{BMI_PARAMETER_LIST(BMI_PARAMETER_ROW)};
inline constexpr auto g_EventNames = std::array{BMI_EVENT_LIST(BMI_EVENT_ROW)};
/// Of ReadParams, WriteParams and GetParamTable; of Start and Stop besides RESULT_OK; of the monitor's checks.
inline constexpr auto g_HandlerResultNames = std::array{BMI_HANDLER_RESULT_LIST(BMI_RESULT_ROW)};
inline constexpr auto g_StartupResultNames = std::array{BMI_STARTUP_RESULT_LIST(BMI_RESULT_ROW)};
inline constexpr auto g_MonitorResultNames = std::array{BMI_MONITOR_RESULT_LIST(BMI_RESULT_ROW)};

#undef BMI_GROUP_ROW
#undef BMI_PARAMETER_ROW
#undef BMI_EVENT_ROW
#undef BMI_RESULT_ROW
#undef BMI_GROUP_LIST
#undef BMI_PARAMETER_LIST
#undef BMI_EVENT_LIST
#undef BMI_HANDLER_RESULT_LIST
#undef BMI_STARTUP_RESULT_LIST
#undef BMI_MONITOR_RESULT_LIST

} // namespace BM_ADAPTOR
