// The blade's inventory as tables.
#include "host/views/Views.h"

#include "common/veldo_common_protocol.h"
#include "host/output/TextOutput.h"
#include "host/picture/Led.h"
#include "host/picture/StatusNames.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"

#include "bm_dev/ByteText.h"

#include <initializer_list>
#include <utility>
#include <vector>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

using Rows = std::vector<CBMIParams>;
using CellMaker = std::string (*)(const CBMIParam& param, const Style& style);

/// A column of a table: under which heading a parameter is shown, and how.
struct Column {
    unsigned m_id;
    const char* m_heading;
    CellMaker m_text;
};

std::string Cell(const CBMIParam& param, const Style& style) {
    return param.GetType() == BMI_PARAM_STRING ? HardwareText(param.GetString(), style) : ValueText(param);
}

// The adaptor cannot read the version of every controller.
std::string FirmwareCell(const CBMIParam& param, const Style& style) {
    return param.GetString() == UNKNOWN_FW_VERSION ? "unknown" : Cell(param, style);
}

// A type that has no name, and a text, stay as they are.
std::string TypeText(const CBMIParam& param, const Style& style, std::initializer_list<const char*> names) {
    const int type = param.GetType() == BMI_PARAM_STRING ? 0 : param.GetInt();
    if (type < 1 || type > static_cast<int>(names.size())) return Cell(param, style);
    return std::string(names.begin()[type - 1]) + " (" + std::to_string(type) + ")";
}

std::string DspTypeCell(const CBMIParam& param, const Style& style) {
    return TypeText(param, style, {"Mindspeed 82710", "Mindspeed 829xx"});
}

std::string FramerTypeCell(const CBMIParam& param, const Style& style) {
    return TypeText(param, style, {"PM4354 COMET-QUAD"});
}

std::string PlaceCell(const CBMIParam& param, const Style&) {
    return LedBayText(param.GetInt());
}

std::string RunStatusCell(const CBMIParam& param, const Style&) {
    return RunStatusText(param.GetInt());
}

const std::vector<Column> BoardColumns = {
    {BMI_HW_BOARD_PRODUCT_NAME, "product name", Cell},  {BMI_HW_BOARD_LOCATION, "site", Cell},
    {BMI_HW_BOARD_MANUFACTURER, "manufacturer", Cell},  {BMI_HW_BOARD_PRODUCT_SERIAL, "serial", Cell},
    {BMI_HW_BOARD_PRODUCT_VERSION, "version", Cell},    {BMI_HW_BOARD_PART_NUMBER, "part number", Cell},
    {BMI_HW_BOARD_FW_VERSION, "firmware", FirmwareCell}};
const std::vector<Column> ModuleColumns = {{BMI_HW_AMC_BAY, "place", PlaceCell},
                                           {BMI_HW_AMC_PRODUCT_NAME, "product name", Cell},
                                           {BMI_HW_AMC_RUN_STATUS, "run status", RunStatusCell},
                                           {BMI_HW_AMC_MANUFACTURER, "manufacturer", Cell},
                                           {BMI_HW_AMC_SERIAL, "serial", Cell},
                                           {BMI_HW_AMC_PRODUCT_VERSION, "version", Cell},
                                           {BMI_HW_AMC_PART_NUMBER, "part number", Cell},
                                           {BMI_HW_AMC_FW_VERSION, "firmware", FirmwareCell}};
const std::vector<Column> AmcColumns = {{BMI_HW_AMC_FRU_BAY, "place", PlaceCell},
                                        {BMI_HW_AMC_FRU_FIELD_B, "DSPs", Cell},
                                        {BMI_HW_AMC_FRU_FIELD_A, "type of the first", DspTypeCell}};
const std::vector<Column> RtmColumns = {{BMI_HW_RTM_FRU_NUM_FRAMERS, "framers", Cell},
                                        {BMI_HW_RTM_FRU_FRAMER_TYPE, "type", FramerTypeCell},
                                        {BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER, "trunks of each", Cell}};

std::string Section(const char* title, const char* whenEmpty, const Rows& rows, const std::vector<Column>& columns,
                    const Style& style) {
    if (rows.empty()) return std::string(title) + "\n  " + whenEmpty + "\n";
    std::vector<std::vector<std::string>> lines(1);
    for (const Column& column : columns)
        lines[0].emplace_back(column.m_heading);
    for (const CBMIParams& row : rows) {
        std::vector<std::string> line;
        for (const Column& column : columns) {
            const CBMIParam* const param = row.GetParamById(column.m_id);
            line.push_back(param != nullptr ? column.m_text(*param, style) : "-");
        }
        lines.push_back(std::move(line));
    }
    return std::string(title) + "\n" + AlignedTable(lines, style);
}

} // namespace

std::string HardwareText(const std::string& bytes, const Style& style) {
    return style.m_utf8 ? bm_dev::Printable(bm_dev::Utf8OfBytes(bytes)) : PrintableText(bytes);
}

std::string SourceText(const Source& source) {
    return source.IsSimulated() ? "simulated inventory: " + source.m_reason : "";
}

std::string InventoryText(const Picture& picture, const Style& style) {
    const Inventory& inventory = picture.m_inventory;
    return Section("Baseboard", "the baseboard's data cannot be read", inventory.m_board, BoardColumns, style) + "\n" +
           Section("Modules", "no module", inventory.m_modules, ModuleColumns, style) + "\n" +
           Section("AMCs with DSPs", "no AMC with DSPs", inventory.m_amcs, AmcColumns, style) + "\n" +
           Section("RTM framers", "no RTM with framers", inventory.m_rtms, RtmColumns, style);
}

bool InventoryIsGood(const Picture& picture) {
    return picture.m_inventory.m_result == Success && !picture.m_inventory.m_board.empty();
}

} // namespace bmhost
