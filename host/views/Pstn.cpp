// `bmhost pstn`: what the simulated blade's PCI driver was told of the PSTN.
#include "host/views/Pstn.h"

#include "host/output/TextOutput.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <stdexcept>
#include <vector>

namespace BMHOST {

namespace {

using nlohmann::json;

// As bladesim names it in its run folder: a line of JSON for each write, and for each refused open.
constexpr const char* RECORDS = "/pstn.jsonl";

std::vector<std::string> RecordLine(const json& a_Record) {
    const auto l_Number = [&](const char* a_Key) {
        return a_Record.contains(a_Key) ? std::to_string(a_Record.at(a_Key).get<unsigned>()) : "";
    };
    std::string l_End = "told";
    if (a_Record.contains("error")) l_End = "refused: " + a_Record.at("error").get<std::string>();
    if (a_Record.contains("taken")) l_End = "cut after " + l_Number("taken") + " bytes";
    return {l_Number("open"), l_Number("write"), PrintableText(a_Record.value("text", "")), PrintableText(l_End)};
}

} // namespace

bool PstnTable(const char* a_RunFolder, bool a_Color, std::string& a_Text) {
    if (a_RunFolder == nullptr || *a_RunFolder == '\0') {
        a_Text += "no simulated blade: what a driver was told is known within one only (bladesim -- bmhost pstn)\n";
        return false;
    }
    const std::string l_Name = std::string(a_RunFolder) + RECORDS;
    std::ifstream l_File(l_Name);
    if (!l_File) {
        a_Text += "this blade has no PCI driver to be told of the PSTN\n";
        return false;
    }
    std::vector<std::vector<std::string>> l_Lines = {{"open", "write", "record", "result"}};
    for (std::string l_Line; std::getline(l_File, l_Line);) {
        try {
            l_Lines.push_back(RecordLine(json::parse(l_Line)));
        } catch (const json::exception& l_Error) {
            throw std::runtime_error(l_Name + ":" + std::to_string(l_Lines.size()) + ": " + l_Error.what());
        }
    }
    a_Text += l_Lines.size() > 1 ? AlignedTable(l_Lines, a_Color) : "the driver was told nothing\n";
    return true;
}

} // namespace BMHOST
