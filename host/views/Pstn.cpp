// `bmhost pstn`: the PSTN records that the simulated blade's PCI driver has received.
#include "host/views/Pstn.h"

#include "host/output/TextOutput.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <stdexcept>
#include <vector>

namespace bmhost {

namespace {

using nlohmann::json;

// The file's name in bladesim's run folder. It has a line of JSON for each write, and for each refused open.
constexpr const char* Records = "/pstn.jsonl";

std::vector<std::string> RecordLine(const json& record) {
    const auto number = [&](const char* key) {
        return record.contains(key) ? std::to_string(record.at(key).get<unsigned>()) : "";
    };
    std::string end = "told";
    if (record.contains("error")) end = "refused: " + record.at("error").get<std::string>();
    if (record.contains("taken")) end = "cut after " + number("taken") + " bytes";
    return {number("open"), number("write"), PrintableText(record.value("text", "")), PrintableText(end)};
}

} // namespace

bool PstnTable(const char* runFolder, bool color, std::string& text) {
    if (runFolder == nullptr || *runFolder == '\0') {
        text += "no simulated blade: what a driver was told is known within one only (bladesim -- bmhost pstn)\n";
        return false;
    }
    const std::string name = std::string(runFolder) + Records;
    std::ifstream file(name);
    if (!file) {
        text += "this blade has no PCI driver to be told of the PSTN\n";
        return false;
    }
    std::vector<std::vector<std::string>> lines = {{"open", "write", "record", "result"}};
    for (std::string line; std::getline(file, line);) {
        try {
            lines.push_back(RecordLine(json::parse(line)));
        } catch (const json::exception& error) {
            throw std::runtime_error(name + ":" + std::to_string(lines.size()) + ": " + error.what());
        }
    }
    text += lines.size() > 1 ? AlignedTable(lines, color) : "the driver was told nothing\n";
    return true;
}

} // namespace bmhost
