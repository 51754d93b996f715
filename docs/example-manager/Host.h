// What the host offers to the adaptor: registrations, mode, logger, storage, and an ear for events.
#pragma once

#include "Storage.h"

#include <bm/BaseAdaptor.h>
#include <bm/Log.h>

#include <mutex>
#include <set>

/// Writes the adaptor's lines to standard error. Those that it writes with bmiLog, such as the health monitor's, go
/// to the platform's log.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class HostLog final : public CBaseOsLog {
public:
    void Log(int level, const char* component, const char* text) override;
};

/// Called from any thread, several at once. What it prints of an event has the protocol's names.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class Host final : public BM_ADAPTOR::IBMAdaptorMgr {
public:
    Host(CBaseOsLog& log, Storage& storage) : m_log(log), m_storage(storage) {}

    int RegisterGroup(unsigned group, BM_ADAPTOR::CBaseAdaptor* adaptor) override;
    int UnregisterGroup(unsigned group) override;
    int RegisterEventClass(unsigned eventClass, BM_ADAPTOR::CBaseAdaptor* adaptor) override;
    int UnregisterEventClass(unsigned eventClass) override;
    QUB_STORAGE::CDataStorage* GetStorage() override { return &m_storage; }
    CBaseOsLog* GetLogger() override { return &m_log; }
    int GetMode() override;
    int SendEvent(unsigned event, unsigned number, BM_ADAPTOR::CBMIEvParams* params) override;

private:
    CBaseOsLog& m_log;
    Storage& m_storage;
    std::mutex m_guard; ///< of m_groups
    std::set<unsigned> m_groups;
};

/// One line on standard output, at once.
void Say(const std::string& line);
