// What the tests of firmware upgrades need: a firmware tool that ends as told, and a request as the host writes it.
#pragma once

#include "adaptor/AdaptorTest.h"

#include "adaptor/IPMI_FirmwareUpdate.h"
#include "adaptor/upgrade/IPMI_UpgradeStatus.h"
#include "fake/process/StdoutCapture.h"

#include <functional>
#include <latch>
#include <optional>
#include <string>

namespace BM_ADAPTOR::TEST {

/// A manager that lets the test act while it takes an event.
class UPGRADE_MANAGER final : public FAKE_MANAGER {
public:
    int SendEvent(unsigned a_Event, unsigned a_Number, CBMIEvParams* a_Params) override {
        const int l_Result = FAKE_MANAGER::SendEvent(a_Event, a_Number, a_Params);
        if (m_OnEvent) m_OnEvent();
        return l_Result;
    }

    std::function<void()> m_OnEvent{};
};

/// The values that start an upgrade; take some out, or change them.
struct UPGRADE_REQUEST {
    std::optional<int32_t> m_State = 0;
    std::optional<int32_t> m_Target = 1;
    std::optional<int32_t> m_Bay = 3;
    std::optional<std::string> m_File = "/images/amc.img";
    BMIParamType_e m_IntegerType = BMI_PARAM_UINT;

    CBMIParams Row() const;
};

/// Keeps the firmware tool running until it is let go.
class HELD_TOOL {
public:
    explicit HELD_TOOL(FAKE_BOARD& a_Board) {
        a_Board.m_OnTool = [this](const std::string&) {
            m_Runs.count_down();
            m_GoOn.wait();
        };
    }
    HELD_TOOL(const HELD_TOOL&) = delete;
    HELD_TOOL& operator=(const HELD_TOOL&) = delete;
    ~HELD_TOOL() = default;

    void WaitUntilItRuns() const { m_Runs.wait(); }
    void LetGo() { m_GoOn.count_down(); }

private:
    std::latch m_Runs{1};
    std::latch m_GoOn{1};
};

/// An adaptor as Init leaves it. Standard output is captured.
class UPGRADE_TEST : public ADAPTOR_PROCESS_TEST {
protected:
    UPGRADE_TEST();
    ~UPGRADE_TEST() override;

    /// An upgrade's write; the row is gone when it returns.
    int Write(const UPGRADE_REQUEST& a_Request = {});
    /// Waits for the thread's end.
    void WaitForEnd() { IPMI_TEST_ACCESS::UpgradeThread(m_Adaptor)->Join(); }
    /// Writes, and waits for the end.
    void Upgrade(const UPGRADE_REQUEST& a_Request = {});
    /// What the host reads.
    TEXTS Row();

    STDOUT_CAPTURE m_Output;
    UPGRADE_MANAGER m_Host;
    IPMIAdaptor m_Adaptor{m_Board};
};

/// The row of an upgrade.
TEXTS UpgradeRow(int a_Target, int a_Bay, int a_State);

} // namespace BM_ADAPTOR::TEST
