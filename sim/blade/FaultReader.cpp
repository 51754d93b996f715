// Reads the faults of a blade file.
#include "sim/blade/FaultReader.h"

#include "sim/base/BridgePacket.h"
#include "sim/blade/FaultKinds.h"
#include "sim/blade/HexText.h"

namespace bladesim {
namespace {

// Network function and command; anything shorter would hit too much.
constexpr size_t MinRequest = 2;

std::vector<std::optional<uint8_t>> ReadRequest(JsonObject& object) {
    const auto request = HexPattern(object.Text("request"));
    if (!request || request->size() < MinRequest || request->size() > MaxMessage) {
        object.Fail("request", "expected network function, command and data bytes as pairs of hexadecimal digits, or "
                               "?? for any byte, with blanks between");
    }
    return *request;
}

std::vector<uint8_t> ReadReply(JsonObject& object) {
    const auto reply = HexBytes(object.Text("reply"));
    if (!reply || reply->empty() || reply->size() > MaxMessage) {
        object.Fail("reply", "expected completion code and data bytes as pairs of hexadecimal digits with blanks "
                             "between");
    }
    return *reply;
}

} // namespace

std::string FaultKindNames() {
    std::string names;
    for (const FaultKindText& kind : FaultKinds)
        names += (names.empty() ? "" : ", ") + std::string(kind.m_name);
    return names;
}

Fault ReadFault(JsonObject object) {
    Fault fault;
    fault.m_request = ReadRequest(object);
    fault.m_first = object.Count("first", 1, fault.m_first);
    fault.m_count = object.Count("count", 0, fault.m_count);
    const std::string deed = object.Text("do");
    const FaultKindText* const kind = FindFaultKind(deed);
    if (kind == nullptr) object.Fail("do", "expected one of " + FaultKindNames());
    fault.m_kind = kind->m_kind;
    if (kind->m_maxArgument) {
        fault.m_argument = static_cast<unsigned>(object.Integer("argument", 0, *kind->m_maxArgument));
    }
    if (fault.m_kind == FaultKind::Reply) fault.m_reply = ReadReply(object);
    object.RejectOthers("means nothing to a fault that does \"" + deed + "\"");
    return fault;
}

} // namespace bladesim
