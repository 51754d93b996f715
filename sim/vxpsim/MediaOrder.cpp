// How the media software is told to behave: a file of the run folder, with what bladesim media set orders.
#include "sim/vxpsim/MediaOrder.h"

#include "sim/base/JsonReader.h"
#include "sim/tools/RunFiles.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace BLADESIM {
namespace {

std::string OrderFile(const std::string& a_RunFolder) {
    return a_RunFolder + "/media.json";
}

const MEDIA_MODE* ModeOf(JSON_OBJECT& a_Object) {
    if (!a_Object.Has("mode")) return &g_MediaModes[0];
    const std::string l_Name = a_Object.Text("mode");
    const MEDIA_MODE* const l_Mode = FindMediaMode(l_Name);
    if (l_Mode == nullptr) a_Object.Fail("mode", "\"" + l_Name.substr(0, 40) + "\" is no mode");
    return l_Mode;
}

uint32_t Number(JSON_OBJECT& a_Object, const char* a_Key, uint32_t a_Default) {
    return static_cast<uint32_t>(a_Object.Integer(a_Key, 0, std::numeric_limits<uint32_t>::max(), a_Default));
}

std::string Text(JSON_OBJECT& a_Object, const char* a_Key, const std::string& a_Default) {
    return a_Object.Has(a_Key) ? a_Object.Text(a_Key) : a_Default;
}

MEDIA_ORDER OrderOf(const std::string& a_File) {
    const JSON_FILE l_File = ReadJsonFile(a_File);
    JSON_OBJECT l_Object(l_File);
    MEDIA_ORDER l_Order;
    l_Order.m_Mode = ModeOf(l_Object);
    l_Order.m_AtProcessor = l_Object.Boolean("at_processor", false);
    l_Order.m_Delay = static_cast<unsigned>(l_Object.Integer("delay_ms", 0, g_MaxMediaDelay, l_Order.m_Mode->m_Delay));
    l_Order.m_BoardState = Number(l_Object, "board_state", l_Order.m_Mode->m_BoardState);
    l_Order.m_SubState = Number(l_Object, "sub_state", l_Order.m_Mode->m_SubState);
    l_Order.m_ProcessorState = Number(l_Object, "processor_state", l_Order.m_Mode->m_ProcessorState);
    l_Order.m_Processor = Number(l_Object, "processor", l_Order.m_Processor);
    l_Order.m_Severity = Number(l_Object, "severity", l_Order.m_Severity);
    l_Order.m_ErrorFile = Text(l_Object, "error_file", l_Order.m_ErrorFile);
    l_Order.m_CauseFile = Text(l_Object, "cause_file", l_Order.m_CauseFile);
    l_Object.RejectOthers();
    return l_Order;
}

} // namespace

const MEDIA_MODE* FindMediaMode(std::string_view a_Name) {
    const auto* const l_Found = std::ranges::find(g_MediaModes, a_Name, &MEDIA_MODE::m_Name);
    return l_Found == std::end(g_MediaModes) ? nullptr : l_Found;
}

MEDIA_ORDER ReadMediaOrder(const std::string& a_RunFolder) {
    const std::string l_File = OrderFile(a_RunFolder);
    if (FileExists(l_File)) return OrderOf(l_File);
    MEDIA_ORDER l_Sound;
    l_Sound.m_SubState = l_Sound.m_Mode->m_SubState;
    l_Sound.m_ProcessorState = l_Sound.m_Mode->m_ProcessorState;
    return l_Sound;
}

void WriteMediaOrder(const std::string& a_RunFolder, const nlohmann::json& a_Order) {
    const std::string l_File = OrderFile(a_RunFolder);
    // Read again before it counts: the same reader finds what is wrong with it.
    const std::string l_New = l_File + ".new." + std::to_string(::getpid());
    ReplaceFile(l_New, a_Order.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
    try {
        OrderOf(l_New);
    } catch (...) {
        RemoveFile(l_New);
        throw;
    }
    MoveFile(l_New, l_File);
}

} // namespace BLADESIM
