// Whether the blade's controller answers.
#include "Controller.h"

#include "Host.h"

#include <ipmi_adaptor/Protocol.h>

#include <chrono>
#include <memory>

using namespace BM_ADAPTOR;

namespace {

constexpr std::chrono::seconds BetweenReads(1);

} // namespace

ControllerWatch::ControllerWatch(CBaseAdaptor& adaptor) : m_adaptor(adaptor), m_thread([this] { Run(); }) {}

ControllerWatch::~ControllerWatch() {
    {
        const std::lock_guard lock(m_guard);
        m_end = true;
    }
    m_ended.notify_one();
    m_thread.join();
}

// Nothing has to be set up anew when the controller is back: the adaptor asks it again as before. What it has stored of
// its LEDs is gone, though, if it was restarted.
void ControllerWatch::Run() {
    bool answered = true;
    do {
        const bool answers = Answers();
        if (answers != answered) Say(answers ? "controller: back" : "controller: lost");
        answered = answers;
    } while (Pause());
}

bool ControllerWatch::Answers() {
    CBMIParam led(BMI_PARAM_INT, BMI_HW_BB_LED_TYPE, true);
    led.SetInt(HOST_LED_HEALTH);
    CBMIKeys keys;
    keys.Add(led);
    CBMIParams* made = nullptr;
    const int result = m_adaptor.ReadParams(BMI_GROUP_BM_IPMI_BASEBOARD_LED, &keys, made);
    const std::unique_ptr<const CBMIParams> row(made);
    return result == RESULT_OK;
}

/// False at the end.
bool ControllerWatch::Pause() {
    std::unique_lock lock(m_guard);
    return !m_ended.wait_for(lock, BetweenReads, [this] { return m_end; });
}
