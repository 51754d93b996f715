// What every test of the domain thread needs.
#include "ThreadTest.h"

#include "fake/TestAccess.h"
#include "fake/openipmi/ModelReset.h"
#include "fake/process/StdoutCapture.h"

#include <unistd.h>

#include <cstdio>

using namespace BM_ADAPTOR;

THREAD_TEST::THREAD_TEST() : m_Thread(&m_Log, &m_StartupMutex) {
    Fake().Reset();
    ResetModel();
    g_Logger2 = &m_Log;
    m_StartupMutex.Lock();
}

THREAD_TEST::~THREAD_TEST() {
    ResetModel();
    Fake().Reset();
}

IPMI_ENTITY& THREAD_TEST::AddToModel(IPMI_ENTITY_ADDRESS a_Address, const std::string& a_Name) {
    auto* const l_Entity =
        new IPMI_ENTITY(a_Address.m_Channel, a_Address.m_Address, a_Address.m_EntityID, a_Address.m_EntityInstance);
    l_Entity->m_Name = a_Name;
    g_EntityMap[a_Address] = l_Entity;
    return *l_Entity;
}

TEXTS THREAD_TEST::PrintedBy(const std::function<void()>& a_Action) {
    STDOUT_CAPTURE l_Capture;
    a_Action();
    return l_Capture.StopLines();
}

void THREAD_TEST::PrintToStderr() {
    fflush(stdout);
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

bool THREAD_TEST::Released() {
    if (IPMI_TEST_ACCESS::bDomainReady(m_Thread) == 0) return false;
    m_StartupMutex.Lock();
    return true;
}
