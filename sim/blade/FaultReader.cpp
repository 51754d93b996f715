// Reads the faults of a blade file.
#include "sim/blade/FaultReader.h"

#include "sim/base/BridgePacket.h"
#include "sim/blade/FaultKinds.h"
#include "sim/blade/HexText.h"

namespace BLADESIM {
namespace {

// Network function and command: with less every request would be hit.
constexpr size_t g_MinRequest = 2;

std::vector<std::optional<uint8_t>> ReadRequest(JSON_OBJECT& a_Object) {
    const auto l_Request = HexPattern(a_Object.Text("request"));
    if (!l_Request || l_Request->size() < g_MinRequest || l_Request->size() > g_MaxMessage) {
        a_Object.Fail("request", "expected network function, command and data bytes as pairs of hexadecimal digits, or "
                                 "?? for any byte, with blanks between");
    }
    return *l_Request;
}

std::vector<uint8_t> ReadReply(JSON_OBJECT& a_Object) {
    const auto l_Reply = HexBytes(a_Object.Text("reply"));
    if (!l_Reply || l_Reply->empty() || l_Reply->size() > g_MaxMessage) {
        a_Object.Fail("reply", "expected completion code and data bytes as pairs of hexadecimal digits with blanks "
                               "between");
    }
    return *l_Reply;
}

} // namespace

std::string FaultKindNames() {
    std::string l_Names;
    for (const FAULT_KIND_TEXT& l_Kind : g_FaultKinds)
        l_Names += (l_Names.empty() ? "" : ", ") + std::string(l_Kind.m_Name);
    return l_Names;
}

FAULT ReadFault(JSON_OBJECT a_Object) {
    FAULT l_Fault;
    l_Fault.m_Request = ReadRequest(a_Object);
    l_Fault.m_First = a_Object.Count("first", 1, l_Fault.m_First);
    l_Fault.m_Count = a_Object.Count("count", 0, l_Fault.m_Count);
    const std::string l_Do = a_Object.Text("do");
    const FAULT_KIND_TEXT* const l_Kind = FindFaultKind(l_Do);
    if (l_Kind == nullptr) a_Object.Fail("do", "expected one of " + FaultKindNames());
    l_Fault.m_Kind = l_Kind->m_Kind;
    if (l_Kind->m_MaxArgument) {
        l_Fault.m_Argument = static_cast<unsigned>(a_Object.Integer("argument", 0, *l_Kind->m_MaxArgument));
    }
    if (l_Fault.m_Kind == FAULT_KIND::REPLY) l_Fault.m_Reply = ReadReply(a_Object);
    a_Object.RejectOthers("means nothing to a fault that does \"" + l_Do + "\"");
    return l_Fault;
}

} // namespace BLADESIM
