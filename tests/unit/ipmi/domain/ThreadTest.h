// What every test of the domain thread needs: a process as new, a thread object that logs to a recorder and holds a
// start-up mutex, entities in the model, standard output line by line.
#pragma once

#include "ipmi/IPMI_Thread.h"
#include "ipmi/model/IPMI_Model.h"

#include "fake/RecordingLog.h"
#include "fake/openipmi/FakeOpenIPMI.h"
#include "ipmi/LogText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

using TEXTS = std::vector<std::string>;

/// A recorder that looks at something while a line is written.
class WATCHING_LOG : public RECORDING_LOG {
public:
    explicit WATCHING_LOG(std::function<void(const std::string&)> a_OnLine) : m_OnLine(std::move(a_OnLine)) {}
    void Log(int a_Level, const char* a_Component, const char* a_Text) override {
        RECORDING_LOG::Log(a_Level, a_Component, a_Text);
        m_OnLine(a_Text);
    }

private:
    std::function<void(const std::string&)> m_OnLine;
};

class THREAD_TEST : public ::testing::Test {
protected:
    /// Traces are on; the start-up mutex is locked, as the adaptor gives it.
    THREAD_TEST();
    ~THREAD_TEST() override;

    /// A new entity in the model, which owns it.
    static IPMI_ENTITY& AddToModel(IPMI_ENTITY_ADDRESS a_Address, const std::string& a_Name);
    /// What `a_Action` prints to standard output.
    static TEXTS PrintedBy(const std::function<void()>& a_Action);
    /// In a death test: what the process prints goes where the death test looks.
    static void PrintToStderr();
    /// The start-up mutex was unlocked. When the thread says so and it was not, this waits for ever.
    bool Released();

    RECORDING_LOG m_Log;
    LOG_LEVEL_GUARD m_Level;
    OSAL::OSALMutex m_StartupMutex;
    BM_ADAPTOR::IPMITHREAD m_Thread;
};
