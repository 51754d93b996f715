// The FRU inventory areas of a blade and the commands that read and write them.
#include "sim/module/InventoryAreas.h"

#include "sim/blade/FruImage.h"

#include <OpenIPMI/ipmi_err.h>
#include <OpenIPMI/ipmi_msgbits.h>

#include <algorithm>

namespace BLADESIM {
namespace {

constexpr size_t g_ReplyHead = 2; // completion code and count
constexpr size_t g_WriteHead = 3; // FRU id and offset

size_t Offset(REQUEST a_Request) {
    return a_Request[1] | static_cast<size_t>(a_Request[2]) << 8;
}

} // namespace

INVENTORY_AREAS::INVENTORY_AREAS(const BLADE& a_Blade) {
    for (const FRU& l_FRU : a_Blade.m_FRUs) {
        if (l_FRU.m_Inventory) m_Areas.emplace(l_FRU.m_Id, BuildFruImage(*l_FRU.m_Inventory));
    }
}

REPLY INVENTORY_AREAS::Answer(uint8_t a_Command, REQUEST a_Request) {
    if (a_Request.empty()) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
    const auto l_Found = m_Areas.find(a_Request[0]);
    if (l_Found == m_Areas.end()) return Refuse(IPMI_NOT_PRESENT_CC);
    AREA& l_Area = l_Found->second;
    switch (a_Command) {
    case IPMI_GET_FRU_INVENTORY_AREA_INFO_CMD:
        if (a_Request.size() != 1) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
        return Info(l_Area);
    case IPMI_READ_FRU_DATA_CMD:
        if (a_Request.size() != 4) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
        return Read(l_Area, Offset(a_Request), a_Request[3]);
    case IPMI_WRITE_FRU_DATA_CMD:
        if (a_Request.size() <= g_WriteHead) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
        return Write(l_Area, Offset(a_Request), a_Request.subspan(g_WriteHead));
    default:
        return Refuse(IPMI_INVALID_CMD_CC);
    }
}

REPLY INVENTORY_AREAS::Info(const AREA& a_Area) {
    constexpr uint8_t l_AccessedByBytes = 0;
    return {0, static_cast<uint8_t>(a_Area.size()), static_cast<uint8_t>(a_Area.size() >> 8), l_AccessedByBytes};
}

// Clients find out from the refusal how much they may read at a time.
REPLY INVENTORY_AREAS::Read(const AREA& a_Area, size_t a_Offset, size_t a_Count) {
    if (a_Count > g_MaxReply - g_ReplyHead) return Refuse(IPMI_REQUESTED_DATA_LENGTH_EXCEEDED_CC);
    if (a_Offset >= a_Area.size() || a_Count == 0) return Refuse(IPMI_PARAMETER_OUT_OF_RANGE_CC);
    const REQUEST l_Rest = REQUEST(a_Area).subspan(a_Offset);
    const REQUEST l_Data = l_Rest.first(std::min(a_Count, l_Rest.size()));
    REPLY l_Reply = {0, static_cast<uint8_t>(l_Data.size())};
    l_Reply.insert(l_Reply.end(), l_Data.begin(), l_Data.end());
    return l_Reply;
}

REPLY INVENTORY_AREAS::Write(AREA& a_Area, size_t a_Offset, REQUEST a_Data) {
    if (a_Offset >= a_Area.size()) return Refuse(IPMI_PARAMETER_OUT_OF_RANGE_CC);
    if (a_Data.size() > a_Area.size() - a_Offset) return Refuse(IPMI_REQUESTED_DATA_LENGTH_EXCEEDED_CC);
    std::copy(a_Data.begin(), a_Data.end(), a_Area.begin() + static_cast<std::ptrdiff_t>(a_Offset));
    return {0, static_cast<uint8_t>(a_Data.size())};
}

} // namespace BLADESIM
