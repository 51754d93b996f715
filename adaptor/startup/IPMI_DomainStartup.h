// The start of the domain thread, which an Init waits for.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"

struct IPMI_TEST_ACCESS;

namespace BM_ADAPTOR {

class IPMITHREAD;

/// Made for one Init. The process has one domain thread and one model, which live as long as it does: whichever Init
/// comes first makes them, and every later one finds them.
class DOMAIN_STARTUP {
public:
    explicit DOMAIN_STARTUP(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    /// Starts the domain thread unless there is one, and waits without a time-out until the model is ready. An Init on
    /// another thread meanwhile waits for its turn. A thread that is there already goes on to log where the frame logs.
    /// @return false, and it is logged, when the thread could not be started
    bool WaitForModel();

private:
    friend struct ::IPMI_TEST_ACCESS;

    int mStart();

    static IPMITHREAD* s_DomainThread; ///< the process's one; never deleted

    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
