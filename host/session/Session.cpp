// One adaptor, and the calls that are made to it.
#include "host/session/Session.h"

#include "host/session/EndNotice.h"
#include "host/words/Names.h"

#include <chrono>
#include <exception>
#include <list>
#include <stdexcept>
#include <thread>

namespace BMHOST {

namespace {

// Never destroyed: without a `fin` the adaptor's threads may send events until the process has ended.
MANAGER& LastingManager(int a_Mode, const std::string& a_Storage) {
    static std::list<MANAGER>& l_Managers = *new std::list<MANAGER>;
    return l_Managers.emplace_back(a_Mode, a_Storage);
}

// Makes a call of the adaptor, named for the end notice and for what the adaptor throws.
template <typename CALLED>
int Made(const std::string& a_Name, const CALLED& a_Called) {
    const CALL_UNDER_WAY l_UnderWay(a_Name);
    try {
        return a_Called();
    } catch (const std::exception& l_Error) {
        throw std::runtime_error("the adaptor threw an exception out of `" + a_Name + "`: " + l_Error.what());
    } catch (...) {
        throw std::runtime_error("the adaptor threw an exception out of `" + a_Name + "`");
    }
}

} // namespace

SESSION::SESSION(const std::string& a_AdaptorFile, int a_Mode, const std::string& a_Storage, OUTPUT& a_Output)
    : m_Manager(LastingManager(a_Mode, a_Storage)),
      m_Plugin(a_AdaptorFile),
      m_Output(a_Output) {}

bool SESSION::Run(CALL& a_Call) {
    switch (a_Call.m_Operation) {
    case OPERATION::Read:
        return Read(a_Call);
    case OPERATION::Write:
        return Write(a_Call);
    case OPERATION::Table: {
        int l_Result = 0;
        const auto l_Table = Table(a_Call.m_Group, l_Result);
        m_Output.Table(a_Call.m_Group, l_Result, l_Table.get());
        return l_Result == SUCCESS;
    }
    case OPERATION::Sleep:
        std::this_thread::sleep_for(std::chrono::milliseconds(a_Call.m_Milliseconds));
        return true;
    case OPERATION::WaitEvent:
        WaitEvent(a_Call.m_Milliseconds);
        return true;
    case OPERATION::Init:
    case OPERATION::Start:
    case OPERATION::Stop:
    case OPERATION::Fin:
        break;
    }
    const int l_Result = Lifecycle(a_Call.m_Operation);
    m_Output.Lifecycle(OperationName(a_Call.m_Operation), l_Result);
    return l_Result == SUCCESS;
}

bool SESSION::RunAlone(CALL& a_Call) {
    if (!NeedsLife(a_Call.m_Operation)) return Run(a_Call);
    Lifecycle(OPERATION::Init);
    bool l_Good = false;
    try {
        l_Good = Run(a_Call);
    } catch (...) { // nobody reads the output any more, say: the hardware is let go all the same
        Lifecycle(OPERATION::Fin);
        throw;
    }
    Lifecycle(OPERATION::Fin);
    return l_Good;
}

int SESSION::Lifecycle(OPERATION a_Operation) {
    BM_ADAPTOR::CBaseAdaptor& l_Adaptor = m_Plugin.Adaptor();
    return Made(std::string(OperationName(a_Operation)), [&] {
        switch (a_Operation) {
        case OPERATION::Init:
            return l_Adaptor.Init(&m_Manager);
        case OPERATION::Start:
            return l_Adaptor.Start(nullptr);
        case OPERATION::Stop:
            return l_Adaptor.Stop(nullptr);
        default:
            return l_Adaptor.Fin();
        }
    });
}

std::unique_ptr<BM_ADAPTOR::CBMITable> SESSION::Table(unsigned a_Group, int& a_Result) {
    BM_ADAPTOR::CBMITable* l_Table = nullptr;
    a_Result = Made("table " + Hex(a_Group), [&] { return m_Plugin.Adaptor().GetParamTable(a_Group, l_Table); });
    return std::unique_ptr<BM_ADAPTOR::CBMITable>(l_Table);
}

std::unique_ptr<BM_ADAPTOR::CBMIParams> SESSION::Row(unsigned a_Group, const BM_ADAPTOR::CBMIKeys& a_Keys,
                                                     int& a_Result) {
    BM_ADAPTOR::CBMIParams* l_Row = nullptr;
    a_Result = Made("read " + Hex(a_Group), [&] { return m_Plugin.Adaptor().ReadParams(a_Group, &a_Keys, l_Row); });
    return std::unique_ptr<BM_ADAPTOR::CBMIParams>(l_Row);
}

int SESSION::WriteRow(unsigned a_Group, BM_ADAPTOR::CBMIKeys& a_Keys, BM_ADAPTOR::CBMIParams& a_Values) {
    return Made("write " + Hex(a_Group), [&] { return m_Plugin.Adaptor().WriteParams(a_Group, &a_Keys, &a_Values); });
}

bool SESSION::Read(CALL& a_Call) {
    int l_Result = 0;
    const auto l_Row = Row(a_Call.m_Group, a_Call.m_Keys, l_Result);
    m_Output.Read(a_Call.m_Group, l_Result, l_Row.get());
    return l_Result == SUCCESS;
}

bool SESSION::Write(CALL& a_Call) {
    const int l_Result = WriteRow(a_Call.m_Group, a_Call.m_Keys, a_Call.m_Values);
    m_Output.Write(a_Call.m_Group, l_Result);
    return l_Result == SUCCESS;
}

void SESSION::WaitEvent(int a_Milliseconds) {
    const auto l_Event = m_Manager.TakeEvent(std::chrono::milliseconds(a_Milliseconds));
    if (!l_Event) {
        m_Output.NoEvent();
        return;
    }
    m_Output.Event(l_Event->m_Event, l_Event->m_Number, l_Event->m_Params);
}

} // namespace BMHOST
