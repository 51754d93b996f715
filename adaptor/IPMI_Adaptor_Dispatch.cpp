// Dispatch: which handlers serve which parameter group.
#include "adaptor/IPMI_Adaptor.h"

#include "common/veldo_common_guard.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_trace.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <memory>

namespace BM_ADAPTOR {

namespace {

struct GROUP_HANDLERS {
    BMIGroup_e m_Group;
    HANDLER_RESULT_e m_Failure; // the result of a handler that ended by an exception
    int (IPMIAdaptor::*m_Read)(const CBMIKeys*, CBMIParams*);
    int (IPMIAdaptor::*m_Table)(CBMITable*&);
    int (IPMIAdaptor::*m_Write)(CBMIKeys*, CBMIParams*);
    const char* m_WriteLine; // logged before a write
};

// Writes to both host-facing LED groups go to the AMC LEDs' handler, and 0x100 logs the name of the other baseboard
// group: on purpose.
constexpr const char* BASEBOARD_LED_WRITE_LINE = "IPMIAdaptor::WriteParams() on BMI_GROUP_BM_IPMI_BASEBOARD_LED";
constexpr const char* AMC_LED_WRITE_LINE =
    "IPMIAdaptor::WriteParams() on BMI_GROUP_HARDWARE_AMC_LED_TABLE, calling AMC_LED_WriteParams()";

// One row a group. A write to a group that is only read answers 0.
constexpr GROUP_HANDLERS g_Groups[] = {
    {BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL, RESULT_NOT_FOUND, &IPMIAdaptor::Baseboard_LED_Internal_ReadParams,
     &IPMIAdaptor::Baseboard_LED_Internal_ReadTable, &IPMIAdaptor::Baseboard_LED_WriteParams, BASEBOARD_LED_WRITE_LINE},
    {BMI_GROUP_HARDWARE_AMC_LED_INTERNAL, RESULT_NOT_FOUND, &IPMIAdaptor::AMC_LED_Internal_ReadParams,
     &IPMIAdaptor::AMC_LED_Internal_ReadTable, &IPMIAdaptor::AMC_LED_WriteParams, nullptr},
    {BMI_GROUP_HARDWARE_AMC_FRU_TABLE, RESULT_NOT_FOUND, &IPMIAdaptor::AMC_FRU_ReadParams,
     &IPMIAdaptor::AMC_FRU_ReadTable, nullptr, nullptr},
    {BMI_GROUP_HARDWARE_RTM_FRU_TABLE, RESULT_NOT_FOUND, &IPMIAdaptor::RTM_FRU_ReadParams,
     &IPMIAdaptor::RTM_FRU_ReadTable, nullptr, nullptr},
    {BMI_GROUP_FIRMWARE_UPDATE, RESULT_NOTHING_DONE, &IPMIAdaptor::Firmware_Update_ReadParams,
     &IPMIAdaptor::Firmware_Update_ReadTable, &IPMIAdaptor::Firmware_Update_WriteParams, nullptr},
    {BMI_GROUP_HARDWARE_AMC_DSP_TABLE, RESULT_NO_ROW, &IPMIAdaptor::AMC_DSP_ReadParams, &IPMIAdaptor::AMC_DSP_ReadTable,
     nullptr, nullptr},
    {BMI_GROUP_HARDWARE_BOARD, RESULT_NOT_FOUND, &IPMIAdaptor::Board_Hardware_ReadParams,
     &IPMIAdaptor::Board_Hardware_ReadTable, &IPMIAdaptor::Board_Hardware_WriteParams, nullptr},
    {BMI_GROUP_BM_IPMI_BASEBOARD_LED, RESULT_NOT_FOUND, &IPMIAdaptor::Baseboard_LED_ReadParams,
     &IPMIAdaptor::Baseboard_LED_ReadTable, &IPMIAdaptor::AMC_LED_WriteParams, AMC_LED_WRITE_LINE},
    {BMI_GROUP_HARDWARE_AMC_TABLE, RESULT_NOT_FOUND, &IPMIAdaptor::AMC_HW_ReadParams, &IPMIAdaptor::AMC_HW_ReadTable,
     &IPMIAdaptor::AMC_HW_WriteParams, nullptr},
    {BMI_GROUP_HARDWARE_AMC_LED_TABLE, RESULT_NOT_FOUND, &IPMIAdaptor::AMC_LED_ReadParams,
     &IPMIAdaptor::AMC_LED_ReadTable, &IPMIAdaptor::AMC_LED_WriteParams, AMC_LED_WRITE_LINE},
    {BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, RESULT_NO_ROW, &IPMIAdaptor::AMC_DSP_ReadParamsEx,
     &IPMIAdaptor::AMC_DSP_ReadTableEx, &IPMIAdaptor::AMC_DSP_WriteParams, nullptr},
    {BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, RESULT_NO_ROW, &IPMIAdaptor::AMC_SwitchPort_ReadParams,
     &IPMIAdaptor::AMC_SwitchPort_ReadTable, &IPMIAdaptor::AMC_SwitchPort_WriteParams, nullptr},
};

// Answers 0 in every column.
constexpr GROUP_HANDLERS UNSERVED = {};

const GROUP_HANDLERS& FindGroup(unsigned a_Group) {
    const auto* l_Found = std::find_if(std::begin(g_Groups), std::end(g_Groups),
                                       [=](const GROUP_HANDLERS& a_Row) { return a_Row.m_Group == a_Group; });
    return l_Found != std::end(g_Groups) ? *l_Found : UNSERVED;
}

// The row that a read of an unserved group leaves behind. Hosts have always lived with it, and it stays. Any host
// thread.
__attribute__((noinline)) void LeakUnservedRow() {
    [[maybe_unused]] static std::atomic<const CBMIParams*> l_Last = nullptr;
    l_Last = new CBMIParams;
}

} // namespace

int IPMIAdaptor::ReadParams(unsigned a_Group, const CBMIKeys* a_Keys, CBMIParams*& a_Row) {
    a_Row = nullptr;
    const GROUP_HANDLERS& l_Handlers = FindGroup(a_Group);
    const auto l_Read = [&] {
        if (l_Handlers.m_Read == nullptr) {
            LeakUnservedRow();
            return static_cast<int>(RESULT_NOTHING_DONE);
        }
        auto l_Row = std::make_unique<CBMIParams>();
        const int l_Result = (this->*l_Handlers.m_Read)(a_Keys, l_Row.get());
        a_Row = l_Row.release(); // the host's, whatever the result
        return l_Result;
    };
    return Guarded("ReadParams", l_Read, l_Handlers.m_Failure);
}

int IPMIAdaptor::WriteParams(unsigned a_Group, CBMIKeys* a_Keys, CBMIParams* a_Values) {
    const GROUP_HANDLERS& l_Handlers = FindGroup(a_Group);
    const auto l_Write = [&] {
        if (l_Handlers.m_WriteLine != nullptr && TracesOn()) {
            bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "%s", l_Handlers.m_WriteLine);
        }
        if (l_Handlers.m_Write == nullptr) return static_cast<int>(RESULT_NOTHING_DONE);
        return (this->*l_Handlers.m_Write)(a_Keys, a_Values);
    };
    return Guarded("WriteParams", l_Write, l_Handlers.m_Failure);
}

int IPMIAdaptor::GetParamTable(unsigned a_Group, CBMITable*& a_Table) {
    const GROUP_HANDLERS& l_Handlers = FindGroup(a_Group);
    const auto l_Read = [&] {
        if (l_Handlers.m_Table == nullptr) return static_cast<int>(RESULT_NOTHING_DONE);
        return (this->*l_Handlers.m_Table)(a_Table);
    };
    return Guarded("GetParamTable", l_Read, l_Handlers.m_Failure);
}

} // namespace BM_ADAPTOR
