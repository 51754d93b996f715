// `bmhost run`: a resident host, from init to fin.
#include "host/resident/Run.h"

#include "host/output/Redirect.h"
#include "host/resident/RunOutput.h"
#include "host/resident/Signals.h"
#include "host/session/Session.h"

#include "bm_dev/HostLog.h"

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace BMHOST {

namespace {

// How long the prints of tools that found nothing are kept.
constexpr std::chrono::minutes KEPT_PRINTS(1);

/// Tells on a thread of its own: threads of the adaptor that bring news never wait for whoever reads them.
class TELLER {
public:
    using NEWS = std::function<void(RUN_OUTPUT&)>;

    TELLER(RUN_OUTPUT& a_Output, STOP_REQUEST& a_Stop)
        : m_Output(a_Output),
          m_Stop(a_Stop),
          m_Thread([this] { Run(); }) {}
    TELLER(const TELLER&) = delete;
    TELLER& operator=(const TELLER&) = delete;
    ~TELLER() { End(); }

    void Tell(NEWS a_News) {
        const std::lock_guard l_Lock(m_Guard);
        m_News.push_back(std::move(a_News));
        m_Changed.notify_one();
    }
    /// After the last news were told. Throws what the output threw.
    void Finish() {
        End();
        if (m_Error != nullptr) std::rethrow_exception(m_Error);
    }

private:
    void End() {
        if (!m_Thread.joinable()) return;
        Tell({});
        m_Thread.join();
    }

    void Run() {
        while (const NEWS l_News = Next()) {
            if (m_Error != nullptr) continue;
            try {
                l_News(m_Output);
            } catch (...) { // nobody reads any more: the host comes to its end
                m_Error = std::current_exception();
                m_Stop.Ask();
            }
        }
    }

    NEWS Next() {
        std::unique_lock l_Lock(m_Guard);
        m_Changed.wait(l_Lock, [this] { return !m_News.empty(); });
        NEWS l_News = std::move(m_News.front());
        m_News.pop_front();
        return l_News;
    }

    RUN_OUTPUT& m_Output;
    STOP_REQUEST& m_Stop;
    std::mutex m_Guard;
    std::condition_variable m_Changed;
    std::deque<NEWS> m_News; ///< an empty one is the last
    std::exception_ptr m_Error;
    std::thread m_Thread; // the last member: it uses the others
};

/// The adaptor's events and the lines of the log go to the teller for as long as this lives.
class NEWS_SOURCES {
public:
    NEWS_SOURCES(MANAGER& a_Manager, TELLER& a_Teller) : m_Manager(a_Manager), m_Teller(a_Teller) {
        m_Manager.HandTo([this](EVENT a_Event) {
            m_Teller.Tell([l_Event = std::move(a_Event)](RUN_OUTPUT& a_Output) { a_Output.Event(l_Event); });
        });
        BM_PLATFORM::LogToListener([this](int a_Level, const std::string& a_Component, const std::string& a_Text) {
            Listen(a_Level, a_Component, a_Text);
        });
    }
    NEWS_SOURCES(const NEWS_SOURCES&) = delete;
    NEWS_SOURCES& operator=(const NEWS_SOURCES&) = delete;
    ~NEWS_SOURCES() {
        BM_PLATFORM::LogToListener({});
        m_Manager.HandTo({});
    }

    bool HadFault() {
        const std::lock_guard l_Lock(m_Guard);
        return m_Fault;
    }

private:
    void Listen(int a_Level, const std::string& a_Component, const std::string& a_Text) {
        const std::lock_guard l_Lock(m_Guard);
        auto l_Change = m_Health.Take(a_Level, a_Component, a_Text);
        if (!l_Change) return;
        m_Fault = m_Fault || l_Change->m_Health == HEALTH::Fault;
        // The diagnostic's report is among what was printed.
        std::string l_Prints = l_Change->m_Health == HEALTH::Fault ? TakeWithheld() : "";
        m_Teller.Tell([l_Told = std::move(*l_Change), l_Prints = std::move(l_Prints)](RUN_OUTPUT& a_Output) {
            a_Output.Health(l_Told);
            ShowTaken(l_Prints);
        });
    }

    MANAGER& m_Manager;
    TELLER& m_Teller;
    std::mutex m_Guard;
    HEALTH_LOG m_Health;
    bool m_Fault = false;
};

// A start that failed is stopped only when somebody interrupted it: then the tools that it began may have run.
bool Live(STOP_REQUEST& a_Stop, const std::function<bool(OPERATION)>& a_Call) {
    const bool l_Begun = a_Call(OPERATION::Init);
    bool l_Good = l_Begun;
    if (l_Begun && !a_Stop.Asked()) {
        l_Good = a_Call(OPERATION::Start);
        while (l_Good && !a_Stop.WaitFor(KEPT_PRINTS))
            ForgetWithheld();
        if (a_Stop.Asked()) l_Good = a_Call(OPERATION::Stop) && l_Good;
    }
    return a_Call(OPERATION::Fin) && l_Good;
}

} // namespace

bool RunHost(SESSION& a_Session, RUN_OUTPUT& a_Output, STOP_REQUEST& a_Stop) {
    TELLER l_Teller(a_Output, a_Stop);
    bool l_Good = false;
    {
        NEWS_SOURCES l_Sources(a_Session.Manager(), l_Teller);
        l_Good = Live(a_Stop, [&](OPERATION a_Operation) {
            const int l_Result = a_Session.Lifecycle(a_Operation);
            fflush(stdout); // what the adaptor printed comes before
            // Init prints all that it has found, tools that found nothing their progress.
            const std::string l_Prints = TakeWithheld();
            const bool l_bShown = l_Result != SUCCESS && a_Operation != OPERATION::Init;
            l_Teller.Tell([=](RUN_OUTPUT& a_Told) {
                a_Told.Lifecycle(OperationName(a_Operation), l_Result);
                if (l_bShown) ShowTaken(l_Prints);
            });
            return l_Result == SUCCESS;
        });
        l_Good = l_Good && !l_Sources.HadFault();
    }
    l_Teller.Finish();
    return l_Good;
}

} // namespace BMHOST
