// A blade for orders: LEDs with the colours that they have, DSPs with addresses, switch ports. What is written is kept.
#pragma once

#include "common/veldo_common_protocol.h"
#include "host/picture/Led.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"

#include "bm/Log.h"

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

class ScriptedSession final : public bmhost::Session {
public:
    struct Led {
        bmhost::LedRow m_row{1, 0, 1, 0, bmhost::LedNoColor, {}};
        std::vector<int> m_colors;
    };

    int Lifecycle(bmhost::Operation operation) override {
        m_lifecycle.push_back(operation);
        Log();
        return m_result;
    }
    std::unique_ptr<BM_ADAPTOR::CBMITable> Table(unsigned group, int& result) override {
        auto table = std::make_unique<BM_ADAPTOR::CBMITable>();
        result = bmhost::Success;
        for (const auto& [dsp, address] : m_addresses) {
            BM_ADAPTOR::CBMIParams row =
                bmhost::KeyOf(group == BM_ADAPTOR::BMI_GROUP_HARDWARE_AMC_DSP_TABLE ? BM_ADAPTOR::BMI_HW_AMC_DSP_NUM
                                                                                    : BM_ADAPTOR::BMI_HW_AMC_DSP_EX_NUM,
                              dsp);
            AddText(row, BM_ADAPTOR::BMI_HW_AMC_DSP_EX_IP, address);
            table->AddRow(row);
        }
        return table;
    }
    std::unique_ptr<BM_ADAPTOR::CBMIParams> Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys,
                                                int& result) override {
        using namespace BM_ADAPTOR;
        auto row = std::make_unique<CBMIParams>();
        result = bmhost::Success;
        if (group == BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE) {
            const auto found = m_addresses.find(bmhost::IntegerOf(keys, BMI_HW_AMC_DSP_EX_NUM));
            if (found != m_addresses.end()) AddText(*row, BMI_HW_AMC_DSP_EX_IP, found->second);
            result = found != m_addresses.end() ? bmhost::Success : bmhost::NoRow;
            return row;
        }
        if (group == BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE) {
            row->Add(bmhost::Integer(BMI_HW_AMC_SWITCHPORT_ADMIN, m_admin, false));
            return row;
        }
        const auto found = m_leds.find(PlaceOf(group, keys));
        if (found == m_leds.end()) {
            result = bmhost::NotFound;
            return nullptr;
        }
        const unsigned base = group;
        const bmhost::LedRow& led = found->second.m_row;
        for (const auto& [id, value] : {std::pair{5U, led.m_local},
                                        {2U, led.m_onTime},
                                        {3U, led.m_offTime},
                                        {4U, led.m_lampTest},
                                        {0xCU, led.m_color}})
            row->Add(bmhost::Integer(base + id, value, false));
        if (m_rowsNameColors) {
            // White, orange, amber, green, red, blue.
            constexpr int colors[] = {1, 6, 5, 3, 2, 4};
            for (unsigned i = 0; i < 6; ++i) {
                CBMIParam supports(BMI_PARAM_BOOL, base + 6 + i, false);
                supports.SetBool(Has(found->second, colors[i]));
                row->Add(supports);
            }
        }
        return row;
    }
    int WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) override {
        using namespace BM_ADAPTOR;
        ++m_writes;
        Log();
        if (m_result != bmhost::Success) return m_result;
        if (group == BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE) {
            m_addresses[bmhost::IntegerOf(keys, BMI_HW_AMC_DSP_EX_NUM)] =
                values.GetParamById(BMI_HW_AMC_DSP_EX_IP)->GetString();
            return bmhost::Success;
        }
        if (group == BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE) {
            m_admin = bmhost::IntegerOf(values, BMI_HW_AMC_SWITCHPORT_ADMIN);
            return bmhost::Success;
        }
        if (group != BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL && group != BMI_GROUP_HARDWARE_AMC_LED_INTERNAL)
            return bmhost::Success;
        return WriteLed(group, keys, values);
    }
    std::optional<bmhost::AdaptorEvent> TakeEvent(std::chrono::milliseconds) override { return std::nullopt; }
    bmhost::StorageComplaints Complaints() const override { return {}; }

    std::map<std::pair<int, int>, Led> m_leds; ///< by bay, 0 being the baseboard, and LED
    bool m_rowsNameColors = false;
    std::map<int, std::string> m_addresses;
    int m_admin = 1;
    int m_result = bmhost::Success; ///< of every write and lifecycle call, where it is not that
    std::string m_logged;           ///< by each of them
    int m_writes = 0;
    std::vector<bmhost::Operation> m_lifecycle;
    std::vector<int> m_writtenColors;

private:
    static bool Has(const Led& led, int color) { return std::ranges::find(led.m_colors, color) != led.m_colors.end(); }
    static void AddText(BM_ADAPTOR::CBMIParams& row, unsigned id, const std::string& text) {
        BM_ADAPTOR::CBMIParam param(BM_ADAPTOR::BMI_PARAM_STRING, id, false);
        param.SetString(text);
        row.Add(param);
    }
    static std::pair<int, int> PlaceOf(unsigned group, const BM_ADAPTOR::CBMIKeys& keys) {
        if (group == BM_ADAPTOR::BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL) return {0, bmhost::IntegerOf(keys, 0x101)};
        return {bmhost::IntegerOf(keys, 0x20D), bmhost::IntegerOf(keys, 0x201)};
    }
    void Log() const {
        if (!m_logged.empty()) bmiLog(BM_LOG_ERROR, "IPMI-Adaptor", "%s", m_logged.c_str());
    }
    // As the adaptor does: AMC LEDs of the first AMC only, 0 for success.
    int WriteLed(unsigned group, const BM_ADAPTOR::CBMIKeys& keys, const BM_ADAPTOR::CBMIParams& values) {
        auto place = PlaceOf(group, keys);
        if (place.first != 0) {
            const auto first = std::ranges::find_if(m_leds, [](const auto& led) { return led.first.first != 0; });
            if (first == m_leds.end()) return bmhost::NotFound;
            place.first = first->first.first;
        }
        const auto found = m_leds.find(place);
        if (found == m_leds.end()) return bmhost::NotFound;
        const auto value = [&](unsigned id) { return bmhost::IntegerOf(values, group + id); };
        if (value(5) == 0) {
            found->second.m_row = {1, 0, 1, 0, bmhost::LedNoColor, {}};
            return 0;
        }
        m_writtenColors.push_back(value(0xC));
        const bool blinks = value(2) > 1;
        const bool off = value(2) == 0;
        if (!off && !Has(found->second, value(0xC))) return 0xCC;
        found->second.m_row = {0, blinks ? value(2) / 10 : value(2),     blinks ? value(3) / 10 : value(3),
                               0, off ? bmhost::LedNoColor : value(0xC), {}};
        return 0;
    }
};
