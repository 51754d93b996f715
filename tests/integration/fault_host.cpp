// A host for the fault matrix. It makes the call that each line of its standard input names and prints the outcome as a
// line of JSON. With the adaptor linked in, it can also show the model, and send what no group sends.
#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_protocol.h"
#include "ipmi/IPMI_Probe.h"
#include "ipmi/model/IPMI_LEDState.h"
#include "ipmi/model/IPMI_Model.h"

#include "bm/BaseAdaptor.h"
#include "bm/Log.h"
#include "bm/Params.h"

#include <nlohmann/json.hpp>

#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using namespace BM_ADAPTOR;
using nlohmann::json;

namespace {

constexpr int TraceLevel = 7;
constexpr char WalkHasEnded[] = "IPMITHREAD :: EntityCaptured - ";

constexpr unsigned Tables[] = {
    BMI_GROUP_HARDWARE_BOARD,         BMI_GROUP_HARDWARE_AMC_TABLE,    BMI_GROUP_HARDWARE_AMC_FRU_TABLE,
    BMI_GROUP_HARDWARE_RTM_FRU_TABLE, BMI_GROUP_BM_IPMI_BASEBOARD_LED, BMI_GROUP_HARDWARE_AMC_LED_TABLE,
};

std::string Hex(unsigned number) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%x", number);
    return text.data();
}

/// Keeps the errors that the adaptor reports, and hears when the domain thread has finished.
class Host final : public IBMAdaptorMgr, public CBaseOsLog {
public:
    int RegisterGroup(unsigned, CBaseAdaptor*) override { return RESULT_OK; }
    int UnregisterGroup(unsigned) override { return RESULT_OK; }
    int RegisterEventClass(unsigned, CBaseAdaptor*) override { return RESULT_OK; }
    int UnregisterEventClass(unsigned) override { return RESULT_OK; }
    QUB_STORAGE::CDataStorage* GetStorage() override { return nullptr; }
    CBaseOsLog* GetLogger() override { return this; }
    int GetMode() override { return HOST_MODE_LOOK_ONLY; }
    int SendEvent(unsigned, unsigned, CBMIEvParams*) override { return RESULT_OK; }

    void Log(int level, const char*, const char* text) override {
        const std::lock_guard lock(m_mutex);
        if (level != TraceLevel) m_errors.emplace_back(text);
        if (std::strncmp(text, WalkHasEnded, sizeof(WalkHasEnded) - 1) == 0) {
            ++m_walks;
            m_ended.notify_all();
        }
    }

    json TakeErrors() {
        const std::lock_guard lock(m_mutex);
        json errors = m_errors;
        m_errors.clear();
        return errors;
    }

    unsigned Walks() {
        const std::lock_guard lock(m_mutex);
        return m_walks;
    }

    void WaitForWalk(unsigned number) {
        std::unique_lock lock(m_mutex);
        m_ended.wait(lock, [&] { return m_walks >= number; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    std::vector<std::string> m_errors;
    unsigned m_walks = 0; ///< of the probe, its inventory among them
};

json Value(const CBMIParam& param) {
    switch (param.GetType()) {
    case BMI_PARAM_STRING:
        return param.GetString();
    case BMI_PARAM_BOOL:
        return param.GetBool();
    default:
        return param.GetInt();
    }
}

json Row(const CBMIParams* row) {
    if (row == nullptr) return nullptr;
    json values = json::object();
    for (int i = 0; i < row->GetSize(); ++i)
        values[Hex(row->Get(i)->GetId())] = Value(*row->Get(i));
    return values;
}

json TableOf(CBaseAdaptor& adaptor, unsigned group) {
    CBMITable* answer = nullptr;
    const int result = adaptor.GetParamTable(group, answer);
    const std::unique_ptr<CBMITable> table(answer);
    json rows = json::array();
    for (int i = 0; table != nullptr && i < table->GetSize(); ++i)
        rows.push_back(Row(table->Get(i)));
    return {{"result", result}, {"rows", rows}};
}

json LedsOf(const IPMI_ENTITY& entity) {
    json leds = json::object();
    for (const auto& [id, led] : entity.m_LEDMap) {
        std::string colors;
        for (const auto& [has, name] : {std::pair{led->m_bBlue, "blue"}, std::pair{led->m_bRed, "red"},
                                        std::pair{led->m_bGreen, "green"}, std::pair{led->m_bAmber, "amber"},
                                        std::pair{led->m_bOrange, "orange"}, std::pair{led->m_bWhite, "white"}}) {
            if (has) colors += (colors.empty() ? "" : " ") + std::string(name);
        }
        leds[std::to_string(id + 1)] = colors;
    }
    return leds;
}

json ModelOf() {
    const MODEL_READER model(g_EntityMapLock);
    json entities = json::object();
    for (const auto& [address, entity] : g_EntityMap) {
        if (entity == nullptr) continue;
        json texts = json::object();
        for (const auto& [name, fru] : entity->m_FRUMap) {
            texts = {{"product", fru->m_BoardProductName},
                     {"board", fru->m_BoardManufacturer + fru->m_BoardSerialNumber + fru->m_BoardPartNumber},
                     {"version", fru->m_ProductVersion + fru->m_ProductSerialNumber},
                     {"records", fru->m_MultiRecords.size()}};
        }
        json firmware = json::array();
        for (const auto& [name, controller] : entity->m_MCMap) {
            firmware.push_back(std::to_string(controller->m_MajorFWRevision) + "." +
                               std::to_string(controller->m_MinorFWRevision) + " " + controller->m_AuxFWRevision);
        }
        entities[std::to_string(entity->m_FRUDeviceID)] = {{"entity", Hex(static_cast<unsigned>(entity->m_EntityID))},
                                                           {"site", entity->m_BayLocation},
                                                           {"inventory", texts},
                                                           {"firmware", firmware},
                                                           {"leds", LedsOf(*entity)}};
    }
    return entities;
}

/// What the walk through the sensor data records has kept; complete records only when `m_Received` says so.
json RecordsOf() {
    json records = json::array();
    for (const auto& [id, record] : g_SDRMAP)
        records.push_back(std::to_string(record->m_Received) + " of " + std::to_string(record->m_Length));
    return records;
}

/// "0x101=2": a key or a value, of the type that the group's table has for writes.
template <typename ROW>
void Add(ROW& row, const std::string& word, bool key) {
    const size_t equals = word.find('=');
    CBMIParam param(BMI_PARAM_INT, static_cast<unsigned>(std::stoul(word.substr(0, equals), nullptr, 0)), key);
    param.SetInt(std::stoi(word.substr(equals + 1), nullptr, 0));
    row.Add(param);
}

class Calls {
public:
    json Do(const std::vector<std::string>& words) {
        const std::string& name = words.at(0);
        if (name == "init") return m_adaptor.Init(&m_host);
        if (name == "errors") return m_host.TakeErrors();
        if (name == "model") return ModelOf();
        if (name == "records") return RecordsOf();
        if (name == "tables") return AllTables();
        if (name == "read") return Read(words);
        if (name == "write") return Write(words);
        if (name == "set-led") return SetLed(std::stoi(words.at(1)), std::stoi(words.at(2)));
        if (name == "fru-control") return g_ENTITYCapture->SendFRUControl(std::stoi(words.at(1)), 0);
        if (name == "walk-records") return WalkRecords();
        throw std::invalid_argument("no call " + name);
    }

private:
    json AllTables() {
        json tables = json::object();
        for (const unsigned group : Tables)
            tables[Hex(group)] = TableOf(m_adaptor, group);
        return tables;
    }

    json Read(const std::vector<std::string>& words) {
        CBMIKeys keys;
        for (size_t i = 2; i < words.size(); ++i)
            Add(keys, words[i], true);
        CBMIParams* answer = nullptr;
        const int result =
            m_adaptor.ReadParams(static_cast<unsigned>(std::stoul(words.at(1), nullptr, 0)), &keys, answer);
        const std::unique_ptr<CBMIParams> row(answer);
        return {{"result", result}, {"row", Row(answer)}};
    }

    json Write(const std::vector<std::string>& words) {
        CBMIKeys keys;
        CBMIParams values;
        bool afterKeys = false;
        for (size_t i = 2; i < words.size(); ++i) {
            if (words[i] == "--")
                afterKeys = true;
            else if (afterKeys)
                Add(values, words[i], false);
            else
                Add(keys, words[i], true);
        }
        return m_adaptor.WriteParams(static_cast<unsigned>(std::stoul(words.at(1), nullptr, 0)), &keys, &values);
    }

    /// Red, on.
    static json SetLed(int fru, int led) {
        LED_STATE state{};
        state.m_OnTime = 1;
        state.m_OffTime = 0;
        state.m_Color = INTERNAL_LED_RED;
        return g_ENTITYCapture->SendSetPICMCLEDState(fru, led, &state);
    }

    json WalkRecords() {
        const unsigned before = m_host.Walks();
        g_ENTITYCapture->SendReserveSDRRepository();
        m_host.WaitForWalk(before + 1);
        return nullptr;
    }

    // Never destroyed: the domain thread uses them as long as the process lives.
    Host& m_host = *new Host;
    IPMIAdaptor& m_adaptor = *new IPMIAdaptor;
};

} // namespace

int main() {
    BM_LOG_LEVEL = BM_LOG_ERROR; // traces too: one of them says that a walk has ended
    // OpenIPMI and the adaptor print on standard output; the lines of JSON are to be alone.
    const int out = ::dup(STDOUT_FILENO);
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (out < 0 || nowhere < 0 || ::dup2(nowhere, STDOUT_FILENO) < 0) return 1;
    Calls calls;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        const json outcome = calls.Do({std::istream_iterator<std::string>(words), {}});
        const json answer = {{"call", line}, {"outcome", outcome}};
        ::dprintf(out, "%s\n", answer.dump(-1, ' ', false, json::error_handler_t::replace).c_str());
    }
    std::_Exit(0); // the domain thread runs on
}
