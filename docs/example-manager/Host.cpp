// What the host offers to the adaptor.
#include "Host.h"

#include <ipmi_adaptor/Protocol.h>

#include <algorithm>
#include <cstdio>

using namespace BM_ADAPTOR;

namespace {

std::string NameOfEvent(unsigned event) {
    const auto* const found = std::find_if(g_EventNames.begin(), g_EventNames.end(),
                                           [&](const EVENT_NAME& name) { return name.m_Event == event; });
    return found != g_EventNames.end() ? std::string(found->m_Name) : "event " + std::to_string(event);
}

std::string NameOfParameter(unsigned id) {
    const auto* const found = std::find_if(g_ParameterNames.begin(), g_ParameterNames.end(),
                                           [&](const PARAMETER_NAME& name) { return name.m_Id == id; });
    return found != g_ParameterNames.end() ? std::string(found->m_Name) : std::to_string(id);
}

} // namespace

void Say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void HostLog::Log(int level, const char* component, const char* text) {
    std::fprintf(stderr, "<%d> [%s] %s\n", level, component, text);
}

int Host::RegisterGroup(unsigned group, CBaseAdaptor* /*adaptor*/) {
    const std::lock_guard lock(m_guard);
    m_groups.insert(group);
    return RESULT_OK;
}

int Host::UnregisterGroup(unsigned group) {
    const std::lock_guard lock(m_guard);
    return m_groups.erase(group) != 0 ? RESULT_OK : RESULT_NOTHING_DONE;
}

int Host::RegisterEventClass(unsigned eventClass, CBaseAdaptor* /*adaptor*/) {
    return eventClass == BMI_EVENT_CLASS ? RESULT_OK : RESULT_NOTHING_DONE;
}

int Host::UnregisterEventClass(unsigned /*eventClass*/) {
    return RESULT_OK;
}

int Host::GetMode() {
    return HOST_MODE_DRIVE;
}

// The adaptor keeps the parameters: what is needed after the call is copied in it.
int Host::SendEvent(unsigned event, unsigned /*number*/, CBMIEvParams* params) {
    std::string line = NameOfEvent(event);
    for (int i = 0; params != nullptr && i < params->GetSize(); ++i) {
        const CBMIParam& param = *params->Get(i);
        line += " " + NameOfParameter(param.GetId()) + "=";
        line += param.GetType() == BMI_PARAM_STRING ? param.GetString() : std::to_string(param.GetInt());
    }
    Say(line);
    return RESULT_OK;
}
