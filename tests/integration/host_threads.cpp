// Eight host threads on all operations of a blade that is in service, as long as the first argument says in seconds,
// while its controller goes and comes back. Init and Fin are called once: an Init waits for a controller for as long as
// it is away. Then, at a line of standard input, the controller is there: the blade is taken out of service. Prints how
// often each came round, and whether the blade works in the end, as JSON.
//
// usage: host_threads SECONDS BAY-OF-THE-FIRST-AMC STORAGE IMAGE
#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_rows.h"
#include "tests/DrivingHost.h"
#include "tests/HostThreads.h"

#include "bm/BaseAdaptor.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace BM_ADAPTOR;

namespace {

class Blade {
public:
    Blade(CBaseAdaptor& adaptor, int bay, std::string image)
        : m_adaptor(adaptor),
          m_bay(bay),
          m_image(std::move(image)) {}

    bool Start() { return m_adaptor.Start(nullptr) == RESULT_OK; }
    bool Stop() { return m_adaptor.Stop(nullptr) == RESULT_OK; }

    bool ReadTables() {
        bool good = true;
        for (const GROUP_NAME& group : g_GroupNames) {
            CBMITable* table = nullptr;
            m_adaptor.GetParamTable(group.m_Group, table);
            const std::unique_ptr<CBMITable> kept(table);
            if (group.m_Group == BMI_GROUP_HARDWARE_AMC_TABLE) good = table != nullptr;
        }
        return good;
    }

    bool ReadRows() {
        bool good = true;
        for (const GROUP_NAME& group : g_GroupNames)
            good = Read(group.m_Group) && good;
        return good;
    }

    bool WriteBoardLED() { return WriteLED(BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL, BoardLED, INTERNAL_LED_RED); }
    bool WriteModuleLED() { return WriteLED(BMI_GROUP_HARDWARE_AMC_LED_INTERNAL, ModuleLED, INTERNAL_LED_RED); }

    bool WriteStored() {
        CBMIParams values;
        AddText(values, BMI_HW_AMC_DSP_EX_IP, "192.168.0.23");
        AddInt(values, BMI_HW_AMC_SWITCHPORT_ADMIN, 1);
        AddInt(values, BMI_HW_AMC_RUN_STATUS, RUN_STATUS_RUNNING);
        bool good = true;
        for (const BMIGroup_e group : {BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE,
                                       BMI_GROUP_HARDWARE_AMC_TABLE}) {
            CBMIKeys keys = Keys();
            good = m_adaptor.WriteParams(group, &keys, &values) == RESULT_OK && good;
        }
        return good;
    }

    /// Most are refused: the last one is under way.
    bool Upgrade() {
        CBMIParams values;
        AddInt(values, BMI_FW_UPDATE_STATE, UPGRADE_REQUESTED);
        AddInt(values, BMI_FW_UPDATE_TARGET, UPGRADETARGET_MODULE);
        AddInt(values, BMI_FW_UPDATE_BAY, m_bay);
        AddText(values, BMI_FW_UPDATE_FILE, m_image);
        return m_adaptor.WriteParams(BMI_GROUP_FIRMWARE_UPDATE, nullptr, &values) == RESULT_OK;
    }

    bool LEDsWork() { return WriteBoardLED() && WriteModuleLED() && ReadRows(); }

private:
    struct LEDIds {
        BMIParamId_e m_localControl;
        BMIParamId_e m_onTime;
        BMIParamId_e m_offTime;
        BMIParamId_e m_color;
    };
    static constexpr LEDIds BoardLED = {BMI_HW_BB_LED_LOCAL_CONTROL, BMI_HW_BB_LED_ON_TIME, BMI_HW_BB_LED_OFF_TIME,
                                        BMI_HW_BB_LED_COLOR};
    static constexpr LEDIds ModuleLED = {BMI_HW_AMC_LED_LOCAL_CONTROL, BMI_HW_AMC_LED_ON_TIME, BMI_HW_AMC_LED_OFF_TIME,
                                         BMI_HW_AMC_LED_COLOR};

    /// Of every group: each handler takes its own.
    CBMIKeys Keys() const {
        CBMIKeys keys;
        for (const BMIParamId_e key : {BMI_HW_BB_LED_ID, BMI_HW_AMC_LED_ID, BMI_HW_BB_LED_TYPE, BMI_HW_AMC_LED_TYPE,
                                       BMI_HW_AMC_DSP_NUM, BMI_HW_AMC_DSP_EX_NUM, BMI_HW_AMC_SWITCHPORT_NUM})
            AddKey(keys, key, 2);
        for (const BMIParamId_e key :
             {BMI_HW_AMC_LED_BAY, BMI_HW_AMC_FRU_BAY, BMI_HW_AMC_DSP_BAY, BMI_HW_AMC_BAY, BMI_HW_AMC_LED_TABLE_BAY})
            AddKey(keys, key, m_bay);
        return keys;
    }

    bool Read(uint32_t group) {
        const CBMIKeys keys = Keys();
        CBMIParams* row = nullptr;
        m_adaptor.ReadParams(group, &keys, row);
        const std::unique_ptr<CBMIParams> kept(row);
        const bool isLED =
            group == BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL || group == BMI_GROUP_HARDWARE_AMC_LED_INTERNAL;
        return !isLED || row != nullptr;
    }

    bool WriteLED(uint32_t group, const LEDIds& ids, int color) {
        CBMIKeys keys = Keys();
        CBMIParams values;
        AddInt(values, ids.m_localControl, 1); // override
        AddInt(values, ids.m_onTime, 100);
        AddInt(values, ids.m_offTime, 200);
        AddInt(values, ids.m_color, color);
        return m_adaptor.WriteParams(group, &keys, &values) == 0; // what the controller says
    }

    CBaseAdaptor& m_adaptor;
    const int m_bay;
    const std::string m_image;
};

struct Work {
    const char* m_name;
    bool (Blade::*m_do)();
    unsigned m_rounds = 0;
    unsigned m_good = 0;
};

} // namespace

int main(int count, char** arguments) {
    if (count != 5) {
        std::fprintf(stderr, "usage: host_threads SECONDS BAY-OF-THE-FIRST-AMC STORAGE IMAGE\n");
        return 2;
    }
    // The adaptor and its tools print on standard output; the line of JSON is to be alone.
    const int out = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (out < 0 || nowhere < 0 || ::dup2(nowhere, STDOUT_FILENO) < 0) return 1;
    // Never destroyed: the domain thread uses them as long as the process lives.
    auto& host = *new DrivingHost(arguments[3]);
    auto& adaptor = *new IPMIAdaptor;
    if (adaptor.Init(&host) != RESULT_OK || adaptor.Start(nullptr) != RESULT_OK) return 1;
    ::dprintf(out, "started\n");

    Blade blade(adaptor, std::atoi(arguments[2]), arguments[4]);
    const auto end = EndAfter(arguments[1]);
    std::array<Work, 8> works = {{{"start", &Blade::Start},
                                  {"stop", &Blade::Stop},
                                  {"tables", &Blade::ReadTables},
                                  {"rows", &Blade::ReadRows},
                                  {"board_led", &Blade::WriteBoardLED},
                                  {"module_led", &Blade::WriteModuleLED},
                                  {"stored", &Blade::WriteStored},
                                  {"upgrade", &Blade::Upgrade}}};
    RunThreads(works.size(), [&](size_t index) {
        Work& work = works[index];
        while (std::chrono::steady_clock::now() < end) {
            ++work.m_rounds;
            if ((blade.*work.m_do)())
                ++work.m_good;
            else // an upgrade is refused at once, a million times a second
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    ::dprintf(out, "ended\n");

    std::string line;
    std::getline(std::cin, line); // the controller is there
    const bool leds = blade.LEDsWork();
    const bool stopped = blade.Stop();
    const bool ended = adaptor.Fin() == RESULT_OK;
    std::string rounds;
    for (const Work& work : works)
        rounds += (rounds.empty() ? "" : ", ") + ('"' + std::string(work.m_name) + "\": [") +
                  std::to_string(work.m_rounds) + ", " + std::to_string(work.m_good) + "]";
    ::dprintf(out,
              R"({"rounds": {%s}, "events": %u, "leds": %s, "stop": %s, "fin": %s})"
              "\n",
              rounds.c_str(), host.Events(), leds ? "true" : "false", stopped ? "true" : "false",
              ended ? "true" : "false");
    std::_Exit(0);
}
