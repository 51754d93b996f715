// A host with one adaptor on a blade without hardware, as new for every input: the model is empty, simulated, or that
// of the usual controller, which goes on answering LED commands.
#pragma once

#include "support/MemoryStorage.h"
#include "support/SilentLog.h"

#include "adaptor/IPMI_Adaptor.h"
#include "fake/FakeBoard.h"
#include "fake/FakeManager.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace fuzzing {

enum class Model { Empty, Simulated, Probed, Count };

class FuzzedHost {
public:
    FuzzedHost(Model model, bool traces);
    FuzzedHost(const FuzzedHost&) = delete;
    FuzzedHost& operator=(const FuzzedHost&) = delete;
    /// Stops and ends the adaptor, and waits for its threads.
    ~FuzzedHost();

    BM_ADAPTOR::IPMIAdaptor& Adaptor() { return *m_adaptor; }
    MemoryStorage& Storage() { return m_storage; }
    FAKE_BOARD& Board() { return m_board; }

    /// Any mode, several Inits; null: without a manager.
    int Init(int mode, bool withManager);
    /// Waits until no upgrade is under way.
    void WaitForUpgrade();

    /// Every table as text, a line a row.
    std::string Tables();

private:
    // Keeps the monitors that Init replaces: nobody else deletes them.
    class Manager final : public FAKE_MANAGER {
    public:
        std::atomic<int> m_mode = 0;

        void Note(BM_ADAPTOR::IPMI_MonitorThread* monitor);
        std::set<BM_ADAPTOR::IPMI_MonitorThread*> Monitors() const;

        int GetMode() override { return m_mode; }
        int RegisterEventClass(unsigned eventClass, BM_ADAPTOR::CBaseAdaptor* adaptor) override;

    private:
        mutable std::mutex m_guard;
        std::set<BM_ADAPTOR::IPMI_MonitorThread*> m_monitors;
    };

    void FillModel(Model model);

    SilentLog m_log;
    MemoryStorage m_storage;
    FAKE_BOARD m_board;
    Manager m_manager;
    std::unique_ptr<BM_ADAPTOR::IPMIAdaptor> m_adaptor;
};

/// "0x303=i:3*" for each parameter; the star marks a key.
std::string TextOf(const BM_ADAPTOR::CBMIParams& row);

} // namespace fuzzing
