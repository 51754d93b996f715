// The media software's orders: a file in the run folder that `bladesim media set` writes.
#include "sim/vxpsim/MediaOrder.h"

#include "sim/base/JsonReader.h"
#include "sim/tools/RunFiles.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace bladesim {
namespace {

std::string OrderFile(const std::string& runFolder) {
    return runFolder + "/media.json";
}

const MediaMode* ModeOf(JsonObject& object) {
    if (!object.Has("mode")) return &MediaModes[0];
    const std::string name = object.Text("mode");
    const MediaMode* const mode = FindMediaMode(name);
    if (mode == nullptr) object.Fail("mode", "\"" + name.substr(0, 40) + "\" is not a mode");
    return mode;
}

uint32_t Number(JsonObject& object, const char* key, uint32_t fallback) {
    return static_cast<uint32_t>(object.Integer(key, 0, std::numeric_limits<uint32_t>::max(), fallback));
}

std::string Text(JsonObject& object, const char* key, const std::string& fallback) {
    return object.Has(key) ? object.Text(key) : fallback;
}

MediaOrder OrderOf(const std::string& file) {
    const JsonFile path = ReadJsonFile(file);
    JsonObject object(path);
    MediaOrder order;
    order.m_mode = ModeOf(object);
    order.m_atProcessor = object.Boolean("at_processor", false);
    order.m_delay = static_cast<unsigned>(object.Integer("delay_ms", 0, MaxMediaDelay, order.m_mode->m_delay));
    order.m_boardState = Number(object, "board_state", order.m_mode->m_boardState);
    order.m_subState = Number(object, "sub_state", order.m_mode->m_subState);
    order.m_processorState = Number(object, "processor_state", order.m_mode->m_processorState);
    order.m_processor = Number(object, "processor", order.m_processor);
    order.m_severity = Number(object, "severity", order.m_severity);
    order.m_errorFile = Text(object, "error_file", order.m_errorFile);
    order.m_causeFile = Text(object, "cause_file", order.m_causeFile);
    object.RejectOthers();
    return order;
}

} // namespace

const MediaMode* FindMediaMode(std::string_view name) {
    const auto* const found = std::ranges::find(MediaModes, name, &MediaMode::m_name);
    return found == std::end(MediaModes) ? nullptr : found;
}

MediaOrder ReadMediaOrder(const std::string& runFolder) {
    const std::string path = OrderFile(runFolder);
    if (FileExists(path)) return OrderOf(path);
    MediaOrder sound;
    sound.m_subState = sound.m_mode->m_subState;
    sound.m_processorState = sound.m_mode->m_processorState;
    return sound;
}

void WriteMediaOrder(const std::string& runFolder, const nlohmann::json& order) {
    const std::string path = OrderFile(runFolder);
    // Read back before it takes effect, so that the same reader finds errors.
    const std::string newFile = path + ".new." + std::to_string(::getpid());
    ReplaceFile(newFile, order.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
    try {
        OrderOf(newFile);
    } catch (...) {
        RemoveFile(newFile);
        throw;
    }
    MoveFile(newFile, path);
}

} // namespace bladesim
