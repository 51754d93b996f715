// The blade's inventory for people, and the list of what can be asked.
#include "host/views/Inventory.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/output/TextOutput.h"
#include "host/session/Session.h"
#include "host/words/Names.h"

namespace BMHOST {

namespace {

struct SECTION {
    unsigned m_Group;
    const char* m_Title;
    const char* m_WhenEmpty;
};

constexpr SECTION SECTIONS[] = {
    {BM_ADAPTOR::BMI_GROUP_HARDWARE_BOARD, "Baseboard", "the baseboard's data cannot be read"},
    {BM_ADAPTOR::BMI_GROUP_HARDWARE_AMC_TABLE, "Modules (bay 9 is the RTM)", "no module"},
    {BM_ADAPTOR::BMI_GROUP_HARDWARE_AMC_FRU_TABLE, "AMCs with DSPs (field b: DSPs, field a: type of the first)",
     "no AMC with DSPs"},
    {BM_ADAPTOR::BMI_GROUP_HARDWARE_RTM_FRU_TABLE, "RTM framers", "no RTM with framers"},
};

const char* TypeName(BM_ADAPTOR::BMIParamType_e a_Type) {
    switch (a_Type) {
    case BM_ADAPTOR::BMI_PARAM_BOOL:
        return "boolean";
    case BM_ADAPTOR::BMI_PARAM_STRING:
        return "text";
    case BM_ADAPTOR::BMI_PARAM_INT:
    case BM_ADAPTOR::BMI_PARAM_UINT:
        break;
    }
    return "integer";
}

} // namespace

bool Inventory(SESSION& a_Session, bool a_Color, std::string& a_Text) {
    bool l_BoardRead = false;
    for (const SECTION& l_Section : SECTIONS) {
        int l_Result = 0;
        const auto l_Table = a_Session.Table(l_Section.m_Group, l_Result);
        const bool l_HasRows = l_Table != nullptr && l_Table->GetSize() > 0;
        if (l_Section.m_Group == BM_ADAPTOR::BMI_GROUP_HARDWARE_BOARD) l_BoardRead = l_Result == SUCCESS && l_HasRows;
        a_Text += std::string(a_Text.empty() ? "" : "\n") + l_Section.m_Title + "\n";
        a_Text +=
            l_HasRows ? AlignedTable(TableLines(*l_Table), a_Color) : std::string("  ") + l_Section.m_WhenEmpty + "\n";
    }
    return l_BoardRead;
}

std::string ListGroups() {
    std::string l_Text;
    for (const auto& l_Group : BM_ADAPTOR::g_GroupNames) {
        l_Text += Hex(l_Group.m_Group) + " " + std::string(l_Group.m_Name) + "\n";
        std::vector<std::vector<std::string>> l_Lines = {{"id", "type", "key", "name"}};
        for (const auto& l_Param : BM_ADAPTOR::g_ParameterNames) {
            if (!IsParameterOf(l_Param.m_Id, l_Group.m_Group)) continue;
            l_Lines.push_back(
                {Hex(l_Param.m_Id), TypeName(l_Param.m_Type), l_Param.m_Key ? "key" : "", std::string(l_Param.m_Name)});
        }
        l_Text += AlignedTable(l_Lines, false) + "\n";
    }
    return l_Text;
}

} // namespace BMHOST
