// The objects behind OpenIPMI's opaque pointers, as the fake has them: plain records that a test fills.
#pragma once

#include <OpenIPMI/ipmi_fru.h>
#include <OpenIPMI/ipmi_mc.h>
#include <OpenIPMI/ipmi_types.h>
#include <OpenIPMI/ipmiif.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Handlers of one kind: what was registered, and what registering answers.
template <typename CALLBACK>
struct REGISTRATIONS {
    int m_Result = 0;
    int m_Attempts = 0;
    std::vector<std::pair<CALLBACK, void*>> m_Handlers{}; ///< callback and user datum, when the result is 0

    int Add(CALLBACK a_Callback, void* a_UserData) {
        ++m_Attempts;
        if (m_Result == 0) m_Handlers.emplace_back(a_Callback, a_UserData);
        return m_Result;
    }
};

/// One FRU text of an entity and the results of its three accessors.
struct FAKE_FRU_TEXT {
    std::string m_Text{};
    enum ipmi_str_type_e m_Type = IPMI_ASCII_STR;
    int m_LengthResult = 0;
    int m_TypeResult = 0;
    int m_TextResult = 0;
    std::optional<unsigned> m_Length{}; ///< the length told, when it is not the true one (which counts the NUL)
};

/// The texts that the adaptor reads.
enum FAKE_FRU_FIELD_e {
    FAKE_BOARD_MANUFACTURER,
    FAKE_BOARD_PRODUCT_NAME,
    FAKE_BOARD_SERIAL_NUMBER,
    FAKE_BOARD_PART_NUMBER,
    FAKE_PRODUCT_MANUFACTURER,
    FAKE_PRODUCT_NAME,
    FAKE_PRODUCT_SERIAL_NUMBER,
    FAKE_PRODUCT_PART_MODEL_NUMBER,
    FAKE_PRODUCT_VERSION,
    FAKE_FRU_FIELDS
};

struct FAKE_MULTIRECORD {
    uint8_t m_Type = 0;
    std::vector<uint8_t> m_Data{};
    int m_TypeResult = 0;
    int m_LengthResult = 0;
    int m_DataResult = 0;
};

struct ipmi_domain_s {
    REGISTRATIONS<ipmi_domain_entity_cb> m_EntityHandlers;
    REGISTRATIONS<ipmi_domain_mc_upd_cb> m_MCHandlers;
};

struct ipmi_fru_s {
    std::vector<FAKE_MULTIRECORD> m_Records{};
};

struct ipmi_entity_s {
    int m_Channel = 0;
    int m_Address = 0;
    int m_EntityID = 0;
    int m_Instance = 0;
    std::string m_Id{};
    enum ipmi_str_type_e m_IdType = IPMI_ASCII_STR; ///< any other is not terminated when it is read
    bool m_bIdFails = false;                        ///< the buffer is left alone and 0 returned
    std::string m_EntityIdString = "fake entity";
    bool m_bPresent = true;
    ipmi_fru_t* m_FRU = nullptr;
    std::array<FAKE_FRU_TEXT, FAKE_FRU_FIELDS> m_Texts{};
    REGISTRATIONS<ipmi_entity_control_cb> m_ControlHandlers{};
    REGISTRATIONS<ipmi_entity_fru_cb> m_FRUHandlers{};
    REGISTRATIONS<ipmi_entity_hot_swap_cb> m_HotSwapHandlers{};
};

struct ipmi_mc_s {
    unsigned m_Channel = 0;
    unsigned m_Address = 0;
    std::string m_Name{};
    int m_Major = 0;
    int m_Minor = 0;
    std::array<uint8_t, 4> m_Aux{};
};

/// The settings of one light.
struct ipmi_light_setting_s {
    int m_LocalControl = 0;
    int m_OnTime = 0;
    int m_OffTime = 0;
    int m_Color = 0;

    bool operator==(const ipmi_light_setting_s&) const = default;
};

struct ipmi_control_s {
    ipmi_entity_t* m_Entity = nullptr;
    std::string m_Name{};
    int m_Type = 0;
    ipmi_control_id_t m_ControlID{};
    ipmi_light_setting_s m_Light{};         ///< what the light shows; setting it stores here
    std::set<unsigned> m_SupportedColors{}; ///< OpenIPMI's numbers
    std::vector<int> m_Values{0};           ///< what ipmi_control_set_val stores
};
