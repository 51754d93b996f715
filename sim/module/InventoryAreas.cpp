// The FRU inventory areas of a blade and the commands that read and write them.
#include "sim/module/InventoryAreas.h"

#include "sim/blade/FruImage.h"

#include <OpenIPMI/ipmi_err.h>
#include <OpenIPMI/ipmi_msgbits.h>

#include <algorithm>

namespace bladesim {
namespace {

constexpr size_t ReplyHead = 2; // completion code and count
constexpr size_t WriteHead = 3; // FRU id and offset

size_t Offset(Request request) {
    return request[1] | static_cast<size_t>(request[2]) << 8;
}

} // namespace

InventoryAreas::InventoryAreas(const Blade& blade) {
    for (const Fru& fru : blade.m_frus) {
        if (fru.m_inventory) m_areas.emplace(fru.m_id, BuildFruImage(*fru.m_inventory));
    }
}

Reply InventoryAreas::Answer(uint8_t command, Request request) {
    if (request.empty()) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
    const auto found = m_areas.find(request[0]);
    if (found == m_areas.end()) return Refuse(IPMI_NOT_PRESENT_CC);
    Area& area = found->second;
    switch (command) {
    case IPMI_GET_FRU_INVENTORY_AREA_INFO_CMD:
        if (request.size() != 1) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
        return Info(area);
    case IPMI_READ_FRU_DATA_CMD:
        if (request.size() != 4) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
        return Read(area, Offset(request), request[3]);
    case IPMI_WRITE_FRU_DATA_CMD:
        if (request.size() <= WriteHead) return Refuse(IPMI_REQUEST_DATA_LENGTH_INVALID_CC);
        return Write(area, Offset(request), request.subspan(WriteHead));
    default:
        return Refuse(IPMI_INVALID_CMD_CC);
    }
}

Reply InventoryAreas::Info(const Area& area) {
    constexpr uint8_t accessedByBytes = 0;
    return {0, static_cast<uint8_t>(area.size()), static_cast<uint8_t>(area.size() >> 8), accessedByBytes};
}

// Clients learn from the refusal how much they may read at a time.
Reply InventoryAreas::Read(const Area& area, size_t offset, size_t count) {
    if (count > MaxReply - ReplyHead) return Refuse(IPMI_REQUESTED_DATA_LENGTH_EXCEEDED_CC);
    if (offset >= area.size() || count == 0) return Refuse(IPMI_PARAMETER_OUT_OF_RANGE_CC);
    const Request rest = Request(area).subspan(offset);
    const Request data = rest.first(std::min(count, rest.size()));
    Reply reply = {0, static_cast<uint8_t>(data.size())};
    reply.insert(reply.end(), data.begin(), data.end());
    return reply;
}

Reply InventoryAreas::Write(Area& area, size_t offset, Request data) {
    if (offset >= area.size()) return Refuse(IPMI_PARAMETER_OUT_OF_RANGE_CC);
    if (data.size() > area.size() - offset) return Refuse(IPMI_REQUESTED_DATA_LENGTH_EXCEEDED_CC);
    std::copy(data.begin(), data.end(), area.begin() + static_cast<std::ptrdiff_t>(offset));
    return {0, static_cast<uint8_t>(data.size())};
}

} // namespace bladesim
