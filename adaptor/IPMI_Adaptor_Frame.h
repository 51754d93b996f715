// What the adaptor's rooms take of it: by reference, without knowing the adaptor.
#pragma once

#include <atomic>
#include <cstdint>

class CBaseOsLog;

namespace QUB_STORAGE {
class CDataStorage;
}

namespace BM_ADAPTOR {

class BOARD;
class CBMIEvParams;
class IBMAdaptorMgr;

enum ADAPTOR_STATE_e : int32_t { ADAPTOR_CREATED = 0, ADAPTOR_INITIALISING = 1, ADAPTOR_STARTED = 2 };

/// The members that every Init sets while other host threads read them. An object of a room lives for one call and
/// looks at them each time anew: none is copied, because an Init may come at any moment.
struct ADAPTOR_FRAME {
    BOARD& m_Board;
    const std::atomic<int32_t>& m_State;                      ///< an ADAPTOR_STATE_e
    const std::atomic<CBaseOsLog*>& m_Logger;                 ///< may hold null
    const std::atomic<QUB_STORAGE::CDataStorage*>& m_Storage; ///< may hold null

    bool IsStarted() const { return m_State == ADAPTOR_STARTED; }
};

/// Where the adaptor's events go. Any thread; never called under a lock.
class EVENT_SINK {
public:
    virtual ~EVENT_SINK() = default;

    /// @param a_Params  stays the caller's
    /// @return the host's result; 0 when there is no host
    virtual int SendEvent(unsigned a_Event, unsigned a_Number, CBMIEvParams* a_Params) = 0;
};

/// The host as it stands at the moment of an event.
class HOST_EVENTS final : public EVENT_SINK {
public:
    /// @param a_Manager  may hold null
    explicit HOST_EVENTS(const std::atomic<IBMAdaptorMgr*>& a_Manager) : m_Manager(a_Manager) {}
    int SendEvent(unsigned a_Event, unsigned a_Number, CBMIEvParams* a_Params) override;

private:
    const std::atomic<IBMAdaptorMgr*>& m_Manager;
};

} // namespace BM_ADAPTOR
