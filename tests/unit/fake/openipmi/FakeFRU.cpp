// FRU data of the fake: the text accessors of an entity, three a field, and the multirecords.
#include "fake/openipmi/FakeOpenIPMI.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

/// OpenIPMI's length includes the NUL of an ASCII text.
int GiveLength(const FAKE_FRU_TEXT& a_Text, unsigned* a_Length) {
    if (a_Text.m_LengthResult != 0) return a_Text.m_LengthResult;
    const auto l_True = static_cast<unsigned>(a_Text.m_Text.size()) + (a_Text.m_Type == IPMI_ASCII_STR ? 1 : 0);
    *a_Length = a_Text.m_Length.value_or(l_True);
    return 0;
}

int GiveType(const FAKE_FRU_TEXT& a_Text, enum ipmi_str_type_e* a_Type) {
    if (a_Text.m_TypeResult != 0) return a_Text.m_TypeResult;
    *a_Type = a_Text.m_Type;
    return 0;
}

/// Copies what fits; an ASCII text gets its NUL when there is room for it. Tells the number of bytes copied.
int GiveText(const FAKE_FRU_TEXT& a_Text, char* a_Buffer, unsigned* a_Size) {
    if (a_Text.m_TextResult != 0) return a_Text.m_TextResult;
    const auto l_Length = std::min(static_cast<unsigned>(a_Text.m_Text.size()), *a_Size);
    if (l_Length > 0) std::memcpy(a_Buffer, a_Text.m_Text.data(), l_Length);
    if (a_Text.m_Type == IPMI_ASCII_STR && l_Length < *a_Size) a_Buffer[l_Length] = '\0';
    *a_Size = l_Length;
    return 0;
}

const FAKE_MULTIRECORD* RecordOf(const ipmi_fru_t* a_FRU, unsigned a_Number) {
    return a_Number < a_FRU->m_Records.size() ? &a_FRU->m_Records[a_Number] : nullptr;
}

} // namespace

// One field: its length, type and text, under OpenIPMI's names.
#define FAKE_FRU_ACCESSORS(a_Function, a_Field)                                                                        \
    int a_Function##_len(ipmi_entity_t* a_Entity, unsigned int* a_Length) {                                            \
        return GiveLength(a_Entity->m_Texts[a_Field], a_Length);                                                       \
    }                                                                                                                  \
    int a_Function##_type(ipmi_entity_t* a_Entity, enum ipmi_str_type_e* a_Type) {                                     \
        return GiveType(a_Entity->m_Texts[a_Field], a_Type);                                                           \
    }                                                                                                                  \
    int a_Function(ipmi_entity_t* a_Entity, char* a_Text, unsigned int* a_Size) {                                      \
        return GiveText(a_Entity->m_Texts[a_Field], a_Text, a_Size);                                                   \
    }

FAKE_FRU_ACCESSORS(ipmi_entity_get_board_info_board_manufacturer, FAKE_BOARD_MANUFACTURER)
FAKE_FRU_ACCESSORS(ipmi_entity_get_board_info_board_product_name, FAKE_BOARD_PRODUCT_NAME)
FAKE_FRU_ACCESSORS(ipmi_entity_get_board_info_board_serial_number, FAKE_BOARD_SERIAL_NUMBER)
FAKE_FRU_ACCESSORS(ipmi_entity_get_board_info_board_part_number, FAKE_BOARD_PART_NUMBER)
FAKE_FRU_ACCESSORS(ipmi_entity_get_product_info_manufacturer_name, FAKE_PRODUCT_MANUFACTURER)
FAKE_FRU_ACCESSORS(ipmi_entity_get_product_info_product_name, FAKE_PRODUCT_NAME)
FAKE_FRU_ACCESSORS(ipmi_entity_get_product_info_product_serial_number, FAKE_PRODUCT_SERIAL_NUMBER)
FAKE_FRU_ACCESSORS(ipmi_entity_get_product_info_product_part_model_number, FAKE_PRODUCT_PART_MODEL_NUMBER)
FAKE_FRU_ACCESSORS(ipmi_entity_get_product_info_product_version, FAKE_PRODUCT_VERSION)

unsigned int ipmi_fru_get_num_multi_records(ipmi_fru_t* a_FRU) {
    return static_cast<unsigned>(a_FRU->m_Records.size());
}

int ipmi_fru_get_multi_record_type(ipmi_fru_t* a_FRU, unsigned int a_Number, unsigned char* a_Type) {
    const auto* l_Record = RecordOf(a_FRU, a_Number);
    if (l_Record == nullptr) return E2BIG;
    if (l_Record->m_TypeResult == 0) *a_Type = l_Record->m_Type;
    return l_Record->m_TypeResult;
}

int ipmi_fru_get_multi_record_data_len(ipmi_fru_t* a_FRU, unsigned int a_Number, unsigned int* a_Length) {
    const auto* l_Record = RecordOf(a_FRU, a_Number);
    if (l_Record == nullptr) return E2BIG;
    if (l_Record->m_LengthResult == 0) *a_Length = static_cast<unsigned>(l_Record->m_Data.size());
    return l_Record->m_LengthResult;
}

int ipmi_fru_get_multi_record_data(ipmi_fru_t* a_FRU, unsigned int a_Number, unsigned char* a_Data,
                                   unsigned int* a_Length) {
    const auto* l_Record = RecordOf(a_FRU, a_Number);
    if (l_Record == nullptr) return E2BIG;
    if (l_Record->m_DataResult != 0) return l_Record->m_DataResult;
    if (*a_Length < l_Record->m_Data.size()) return EINVAL; // OpenIPMI does not cut a record
    std::ranges::copy(l_Record->m_Data, a_Data);
    *a_Length = static_cast<unsigned>(l_Record->m_Data.size());
    return 0;
}
