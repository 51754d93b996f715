// Metrics of the inventory: board, modules, run status, DSPs, framers.
#include "common/veldo_common_protocol.h"
#include "host/picture/Led.h"
#include "host/picture/StatusNames.h"
#include "host/session/Rows.h"
#include "host/web/metrics/MetricTable.h"

#include "bm_dev/ByteText.h"

#include <charconv>
#include <optional>
#include <utility>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

struct Column {
    const char* m_label;
    unsigned m_id;
};

// The hardware's bytes as the row has them; nothing where it has no such value.
std::string BytesIn(const CBMIParams& row, unsigned id) {
    const CBMIParam* const param = row.GetParamById(id);
    return param == nullptr ? "" : bm_dev::Utf8OfBytes(param->GetString());
}

std::map<std::string, std::string> LabelsOf(const CBMIParams& row, std::span<const Column> columns) {
    std::map<std::string, std::string> labels;
    for (const Column& column : columns)
        labels[column.m_label] = BytesIn(row, column.m_id);
    return labels;
}

// Where the environment tells the DSPs, the adaptor's numbers are texts.
std::optional<double> NumberIn(const CBMIParams& row, unsigned id) {
    const CBMIParam* const param = row.GetParamById(id);
    if (param == nullptr) return std::nullopt;
    if (param->GetType() != BMI_PARAM_STRING) return param->GetInt();
    const std::string& text = param->GetString();
    int32_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
    return number;
}

std::string BayIn(const CBMIParams& row) {
    return std::to_string(IntegerOf(row, BMI_HW_AMC_BAY));
}

std::string PlaceIn(const CBMIParams& row) {
    return LedBayText(IntegerOf(row, BMI_HW_AMC_BAY));
}

Samples BoardInfo(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    static constexpr Column columns[] = {
        {"product_name", BMI_HW_BOARD_PRODUCT_NAME},    {"manufacturer", BMI_HW_BOARD_MANUFACTURER},
        {"serial_number", BMI_HW_BOARD_PRODUCT_SERIAL}, {"product_version", BMI_HW_BOARD_PRODUCT_VERSION},
        {"firmware_version", BMI_HW_BOARD_FW_VERSION},  {"part_number", BMI_HW_BOARD_PART_NUMBER}};
    Samples samples;
    for (const CBMIParams& row : scrape.m_picture->m_inventory.m_board)
        samples.push_back({.m_labels = LabelsOf(row, columns)});
    return samples;
}

Samples ModuleInfo(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    static constexpr Column columns[] = {
        {"product_name", BMI_HW_AMC_PRODUCT_NAME},   {"manufacturer", BMI_HW_AMC_MANUFACTURER},
        {"serial_number", BMI_HW_AMC_SERIAL},        {"product_version", BMI_HW_AMC_PRODUCT_VERSION},
        {"firmware_version", BMI_HW_AMC_FW_VERSION}, {"part_number", BMI_HW_AMC_PART_NUMBER}};
    Samples samples;
    for (const CBMIParams& row : scrape.m_picture->m_inventory.m_modules) {
        auto labels = LabelsOf(row, columns);
        labels["bay"] = BayIn(row);
        labels["place"] = PlaceIn(row);
        samples.push_back({.m_labels = std::move(labels)});
    }
    return samples;
}

Samples ModuleCount(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    return OneSample(static_cast<double>(scrape.m_picture->m_inventory.m_modules.size()));
}

Samples RunStatus(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    std::vector<std::string_view> words;
    for (int32_t status = RUN_STATUS_UNWRITTEN; status <= RUN_STATUS_FAILED; ++status)
        words.push_back(RunStatusName(status));
    words.push_back(RunStatusName(0));
    Samples samples;
    for (const CBMIParams& row : scrape.m_picture->m_inventory.m_modules) {
        AddStates(samples, {{"bay", BayIn(row)}, {"place", PlaceIn(row)}}, words,
                  RunStatusName(IntegerOf(row, BMI_HW_AMC_RUN_STATUS)));
    }
    return samples;
}

Samples ModuleDsps(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    Samples samples;
    for (const CBMIParams& row : scrape.m_picture->m_inventory.m_amcs) {
        const auto count = NumberIn(row, BMI_HW_AMC_FRU_FIELD_B);
        const int32_t bay = IntegerOf(row, BMI_HW_AMC_FRU_BAY);
        if (count)
            samples.push_back(
                {.m_labels = {{"bay", std::to_string(bay)}, {"place", LedBayText(bay)}}, .m_value = *count});
    }
    return samples;
}

Samples OfFramers(const Scrape& scrape, unsigned id) {
    if (scrape.m_picture == nullptr || scrape.m_picture->m_inventory.m_rtms.empty()) return {};
    const auto number = NumberIn(scrape.m_picture->m_inventory.m_rtms.front(), id);
    return number ? OneSample(*number) : Samples{};
}

Samples Framers(const Scrape& scrape) {
    return OfFramers(scrape, BMI_HW_RTM_FRU_NUM_FRAMERS);
}

Samples TrunksPerFramer(const Scrape& scrape) {
    return OfFramers(scrape, BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER);
}

Samples DspInfo(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    Samples samples;
    for (const DspFacts& dsp : scrape.m_picture->m_dsps) {
        samples.push_back({.m_labels = {{"dsp", std::to_string(dsp.m_number)},
                                        {"bay", std::to_string(dsp.m_bay)},
                                        {"dsp_of_amc", std::to_string(dsp.m_dspOfAmc)},
                                        {"mac", LabelText(dsp.m_mac)},
                                        {"ip", LabelText(dsp.m_ip)}}});
    }
    return samples;
}

Samples DspAddress(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    Samples samples;
    for (const DspFacts& dsp : scrape.m_picture->m_dsps) {
        samples.push_back({.m_labels = {{"dsp", std::to_string(dsp.m_number)}, {"bay", std::to_string(dsp.m_bay)}},
                           .m_value = dsp.m_ip.empty() ? 0.0 : 1.0});
    }
    return samples;
}

constexpr Metric InventoryTable[] = {
    {"bmhost_board_info", MetricKind::Info, "",
     "firmware_version, manufacturer, part_number, product_name, product_version, serial_number",
     "The carrier board, by its FRU data.", BoardInfo},
    {"bmhost_modules", MetricKind::Gauge, "", "", "How many modules there are: AMCs and the RTM.", ModuleCount},
    {"bmhost_module_info", MetricKind::Info, "",
     "bay, firmware_version, manufacturer, part_number, place, product_name, product_version, serial_number",
     "A module, by its FRU data; bay 9 is the RTM.", ModuleInfo},
    {"bmhost_module_run_status", MetricKind::Gauge, "", "bay, place, state",
     "The run status of a module: 1 for its state, 0 for the others.", RunStatus},
    {"bmhost_module_dsps", MetricKind::Gauge, "", "bay, place", "How many DSPs an AMC has.", ModuleDsps},
    {"bmhost_dsp_info", MetricKind::Info, "", "bay, dsp, dsp_of_amc, ip, mac",
     "A DSP with its addresses; ip is empty without one.", DspInfo},
    {"bmhost_dsp_has_address", MetricKind::Gauge, "", "bay, dsp", "Whether a DSP has an IP address: 1 yes, 0 no.",
     DspAddress},
    {"bmhost_rtm_framers", MetricKind::Gauge, "", "", "How many framers the RTM has.", Framers},
    {"bmhost_rtm_trunks_per_framer", MetricKind::Gauge, "", "", "How many trunks each framer has.", TrunksPerFramer},
};

} // namespace

std::span<const Metric> InventoryMetrics() {
    return InventoryTable;
}

} // namespace bmhost
