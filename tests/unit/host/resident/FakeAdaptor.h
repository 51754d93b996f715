// An adaptor for tests of the resident host: a baseboard and an AMC in bay 3, two LEDs each.
#pragma once

#include "common/veldo_common_protocol.h"
#include "host/HostParams.h"
#include "host/session/Session.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

class FakeAdaptor final : public bmhost::Session {
public:
    /// What a lifecycle call does and returns.
    std::function<int(bmhost::Operation)> m_lifecycle = [](bmhost::Operation) { return 1; };
    /// What reading an LED returns.
    std::function<int(int bay, int led)> m_led = [](int, int led) { return led <= 2 ? 1 : bmhost::NotFound; };
    std::function<int(unsigned group)> m_write = [](unsigned) { return 1; };
    /// What reading any other row does first.
    std::function<void(unsigned group)> m_row = [](unsigned) {};
    std::atomic<int> m_ledReads{0};
    std::atomic<int> m_onTime{0};

    int Lifecycle(bmhost::Operation operation) override {
        {
            const std::lock_guard lock(m_guard);
            m_made += std::string(m_made.empty() ? "" : " ") + std::string(OperationName(operation));
        }
        return m_lifecycle(operation);
    }

    std::unique_ptr<BM_ADAPTOR::CBMITable> Table(unsigned group, int& result) override {
        using namespace BM_ADAPTOR;
        auto table = std::make_unique<CBMITable>();
        result = 1;
        if (group == BMI_GROUP_HARDWARE_BOARD) {
            auto row = Row(Text(BMI_HW_BOARD_PRODUCT_NAME, "Board"), Text(BMI_HW_BOARD_FW_VERSION, "1.0"));
            table->AddRow(row);
        } else if (group == BMI_GROUP_HARDWARE_AMC_TABLE) {
            auto row =
                Row(Int(BMI_HW_AMC_BAY, 3, true), Int(BMI_HW_AMC_RUN_STATUS, 1), Text(BMI_HW_AMC_FW_VERSION, "2.0"));
            table->AddRow(row);
        }
        return table;
    }

    std::unique_ptr<BM_ADAPTOR::CBMIParams> Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys,
                                                int& result) override {
        using namespace BM_ADAPTOR;
        if (group == BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL) return Led(0, keys, BMI_HW_BB_LED_ID, result);
        if (group == BMI_GROUP_HARDWARE_AMC_LED_INTERNAL)
            return Led(keys.GetParamById(BMI_HW_AMC_LED_BAY)->GetInt(), keys, BMI_HW_AMC_LED_ID, result);
        m_row(group);
        result = 1;
        return std::make_unique<CBMIParams>(keys);
    }

    int WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys&, BM_ADAPTOR::CBMIParams&) override { return m_write(group); }
    std::optional<bmhost::AdaptorEvent> TakeEvent(std::chrono::milliseconds) override { return std::nullopt; }
    bmhost::StorageComplaints Complaints() const override { return {}; }

    /// The lifecycle calls: "init start".
    std::string Made() {
        const std::lock_guard lock(m_guard);
        return m_made;
    }

private:
    template <typename... Values>
    static BM_ADAPTOR::CBMIParams Row(const Values&... params) {
        return ::Row(params...);
    }

    std::unique_ptr<BM_ADAPTOR::CBMIParams> Led(int bay, const BM_ADAPTOR::CBMIKeys& keys, unsigned id, int& result) {
        ++m_ledReads;
        result = m_led(bay, keys.GetParamById(id)->GetInt());
        auto row = std::make_unique<BM_ADAPTOR::CBMIParams>(keys);
        row->Add(Int(bay == 0 ? BM_ADAPTOR::BMI_HW_BB_LED_ON_TIME : BM_ADAPTOR::BMI_HW_AMC_LED_ON_TIME, m_onTime));
        return row;
    }

    std::mutex m_guard;
    std::string m_made;
};
