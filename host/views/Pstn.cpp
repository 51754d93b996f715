// `bmhost pstn`: the PSTN records that the simulated blade's PCI driver has received.
#include "host/views/Pstn.h"

#include "host/output/TextOutput.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <optional>
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

bool InBlade(const char* runFolder) {
    return runFolder != nullptr && *runFolder != '\0';
}

// Nothing where there is no driver.
std::optional<std::vector<json>> RecordsIn(const char* runFolder) {
    const std::string name = std::string(runFolder) + Records;
    std::ifstream file(name);
    if (!file) return std::nullopt;
    std::vector<json> records;
    for (std::string line; std::getline(file, line);) {
        try {
            records.push_back(json::parse(line));
            RecordLine(records.back());
        } catch (const json::exception& error) {
            throw std::runtime_error(name + ":" + std::to_string(records.size() + 1) + ": " + error.what());
        }
    }
    return records;
}

} // namespace

bool PstnTable(const char* runFolder, const Style& style, std::string& text) {
    if (!InBlade(runFolder)) {
        text += "no simulated blade: what a driver was told is known within one only (bladesim -- bmhost pstn)\n";
        return false;
    }
    const auto records = RecordsIn(runFolder);
    if (!records) {
        text += "this blade has no PCI driver to be told of the PSTN\n";
        return false;
    }
    std::vector<std::vector<std::string>> lines = {{"open", "write", "record", "result"}};
    for (const json& record : *records)
        lines.push_back(RecordLine(record));
    text += lines.size() > 1 ? AlignedTable(lines, style) : "the driver was told nothing\n";
    return true;
}

bool PstnJson(const char* runFolder, std::string& text) {
    const auto records = InBlade(runFolder) ? RecordsIn(runFolder) : std::nullopt;
    const nlohmann::ordered_json object = {{"op", "pstn"}, {"records", records ? json(*records) : json(nullptr)}};
    text += bm_dev::EscapedJson(object.dump()) + "\n";
    return records.has_value();
}

} // namespace bmhost
