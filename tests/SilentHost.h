// A host that takes everything and says nothing, for programs that measure or load the adaptor: mode 2, no storage.
#pragma once

#include "common/veldo_common_protocol.h"

#include "bm/BaseAdaptor.h"
#include "bm/Log.h"

/// The domain thread uses it as long as the process lives: never destroy it.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class SilentHost final : public BM_ADAPTOR::IBMAdaptorMgr, public CBaseOsLog {
public:
    int RegisterGroup(unsigned, BM_ADAPTOR::CBaseAdaptor*) override { return BM_ADAPTOR::RESULT_OK; }
    int UnregisterGroup(unsigned) override { return BM_ADAPTOR::RESULT_OK; }
    int RegisterEventClass(unsigned, BM_ADAPTOR::CBaseAdaptor*) override { return BM_ADAPTOR::RESULT_OK; }
    int UnregisterEventClass(unsigned) override { return BM_ADAPTOR::RESULT_OK; }
    QUB_STORAGE::CDataStorage* GetStorage() override { return nullptr; }
    CBaseOsLog* GetLogger() override { return this; }
    int GetMode() override { return BM_ADAPTOR::HOST_MODE_LOOK_ONLY; }
    int SendEvent(unsigned, unsigned, BM_ADAPTOR::CBMIEvParams*) override { return BM_ADAPTOR::RESULT_OK; }
    void Log(int, const char*, const char*) override {}
};
