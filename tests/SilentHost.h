// A host that takes everything and says nothing, for programs that measure or load the adaptor: mode 2, no storage.
#pragma once

#include "bm/BaseAdaptor.h"
#include "bm/Log.h"

/// The domain thread uses it as long as the process lives: never destroy it.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class SilentHost final : public BM_ADAPTOR::IBMAdaptorMgr, public CBaseOsLog {
public:
    int RegisterGroup(unsigned, BM_ADAPTOR::CBaseAdaptor*) override { return 1; }
    int UnregisterGroup(unsigned) override { return 1; }
    int RegisterEventClass(unsigned, BM_ADAPTOR::CBaseAdaptor*) override { return 1; }
    int UnregisterEventClass(unsigned) override { return 1; }
    QUB_STORAGE::CDataStorage* GetStorage() override { return nullptr; }
    CBaseOsLog* GetLogger() override { return this; }
    int GetMode() override { return 2; }
    int SendEvent(unsigned, unsigned, BM_ADAPTOR::CBMIEvParams*) override { return 1; }
    void Log(int, const char*, const char*) override {}
};
