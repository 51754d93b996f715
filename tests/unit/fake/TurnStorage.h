// The host's storage as several threads meet it: one transaction at a time, as the platform keeps it.
#pragma once

#include "fake/FakeStorage.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

/// A second transaction of one thread is refused; another thread waits for its turn.
class TURN_STORAGE : public FAKE_STORAGE {
public:
    /// Told on the caller's thread before it waits for its turn.
    std::function<void()> m_AtStart{};
    /// Told on the caller's thread, in its turn, before a row is set or read.
    std::function<void()> m_AtRow{};

    int StartTransaction() override;
    int EndTransaction() override;
    int RetrieveRow(const std::string& a_File, const BM_ADAPTOR::CBMIKeys& a_Keys, BM_ADAPTOR::CBMIParams& a_Row,
                    int a_Force) override;
    int SetRow(const std::string& a_File, const BM_ADAPTOR::CBMIKeys& a_Keys,
               const BM_ADAPTOR::CBMIParams& a_Row) override;

private:
    std::mutex m_Guard;
    std::condition_variable m_Given;
    std::thread::id m_Owner;
};
