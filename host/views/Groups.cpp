// The list of groups and parameters.
#include "host/views/Groups.h"

#include "common/veldo_common_protocol.h"
#include "host/output/TextOutput.h"
#include "host/words/Names.h"

#include <nlohmann/json.hpp>

namespace bmhost {

namespace {

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

std::string GroupsJson() {
    using nlohmann::ordered_json;
    ordered_json groups = ordered_json::array();
    for (const auto& group : BM_ADAPTOR::g_GroupNames) {
        ordered_json parameters = ordered_json::array();
        for (const auto& param : BM_ADAPTOR::g_ParameterNames) {
            if (!IsParameterOf(param.m_Id, group.m_Group)) continue;
            parameters.push_back({{"id", Hex(param.m_Id)},
                                  {"name", param.m_Name},
                                  {"type", static_cast<int>(param.m_Type)},
                                  {"type_name", TypeName(param.m_Type)},
                                  {"key", param.m_Key}});
        }
        groups.push_back({{"id", Hex(group.m_Group)}, {"name", group.m_Name}, {"parameters", parameters}});
    }
    const ordered_json object = {{"op", "groups"}, {"groups", groups}};
    return object.dump() + "\n";
}

} // namespace bmhost
