// The blade's inventory for people, and the list of groups and parameters.
#include "host/views/Inventory.h"

#include "common/veldo_common_protocol.h"
#include "host/output/TextOutput.h"
#include "host/session/Session.h"
#include "host/words/Names.h"

namespace bmhost {

namespace {

struct Section {
    unsigned m_group;
    const char* m_title;
    const char* m_whenEmpty;
};

constexpr Section Sections[] = {
    {BM_ADAPTOR::BMI_GROUP_HARDWARE_BOARD, "Baseboard", "the baseboard's data cannot be read"},
    {BM_ADAPTOR::BMI_GROUP_HARDWARE_AMC_TABLE, "Modules (bay 9 is the RTM)", "no module"},
    {BM_ADAPTOR::BMI_GROUP_HARDWARE_AMC_FRU_TABLE, "AMCs with DSPs (field b: DSPs, field a: type of the first)",
     "no AMC with DSPs"},
    {BM_ADAPTOR::BMI_GROUP_HARDWARE_RTM_FRU_TABLE, "RTM framers", "no RTM with framers"},
};

const char* TypeName(BM_ADAPTOR::BMIParamType_e type) {
    switch (type) {
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

bool ShowInventory(Session& session, bool color, std::string& text) {
    bool boardRead = false;
    for (const Section& section : Sections) {
        int result = 0;
        const auto table = session.Table(section.m_group, result);
        const bool hasRows = table != nullptr && table->GetSize() > 0;
        if (section.m_group == BM_ADAPTOR::BMI_GROUP_HARDWARE_BOARD) boardRead = result == Success && hasRows;
        text += std::string(text.empty() ? "" : "\n") + section.m_title + "\n";
        text += hasRows ? AlignedTable(TableLines(*table), color) : std::string("  ") + section.m_whenEmpty + "\n";
    }
    return boardRead;
}

std::string ListGroups() {
    std::string text;
    for (const auto& group : BM_ADAPTOR::g_GroupNames) {
        text += Hex(group.m_Group) + " " + std::string(group.m_Name) + "\n";
        std::vector<std::vector<std::string>> lines = {{"id", "type", "key", "name"}};
        for (const auto& param : BM_ADAPTOR::g_ParameterNames) {
            if (!IsParameterOf(param.m_Id, group.m_Group)) continue;
            lines.push_back(
                {Hex(param.m_Id), TypeName(param.m_Type), param.m_Key ? "key" : "", std::string(param.m_Name)});
        }
        text += AlignedTable(lines, false) + "\n";
    }
    return text;
}

} // namespace bmhost
