// A host that drives the board and stores in a folder of its own, for programs that bring a blade into service. It says
// nothing.
#pragma once

#include "common/veldo_common_protocol.h"

#include "bm/BaseAdaptor.h"
#include "bm/Log.h"
#include "bm_dev/HostStorage.h"

#include <atomic>
#include <memory>
#include <string>

/// The domain thread uses it as long as the process lives: never destroy it.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class DrivingHost final : public BM_ADAPTOR::IBMAdaptorMgr, public CBaseOsLog {
public:
    /// @param storage  the folder
    explicit DrivingHost(const std::string& storage) : m_storage(bm_dev::MakeStorage(storage)) {}

    int RegisterGroup(unsigned, BM_ADAPTOR::CBaseAdaptor*) override { return BM_ADAPTOR::RESULT_OK; }
    int UnregisterGroup(unsigned) override { return BM_ADAPTOR::RESULT_OK; }
    int RegisterEventClass(unsigned, BM_ADAPTOR::CBaseAdaptor*) override { return BM_ADAPTOR::RESULT_OK; }
    int UnregisterEventClass(unsigned) override { return BM_ADAPTOR::RESULT_OK; }
    QUB_STORAGE::CDataStorage* GetStorage() override { return m_storage.get(); }
    CBaseOsLog* GetLogger() override { return this; }
    int GetMode() override { return BM_ADAPTOR::HOST_MODE_DRIVE; }
    int SendEvent(unsigned, unsigned, BM_ADAPTOR::CBMIEvParams*) override {
        ++m_events;
        return BM_ADAPTOR::RESULT_OK;
    }
    void Log(int, const char*, const char*) override {}

    /// How many it has got.
    unsigned Events() const { return m_events; }

private:
    std::shared_ptr<QUB_STORAGE::CDataStorage> m_storage;
    std::atomic<unsigned> m_events{0};
};
