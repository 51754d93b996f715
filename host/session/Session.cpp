// One adaptor, and the calls that are made to it.
#include "host/session/Session.h"

#include "host/session/EndNotice.h"
#include "host/words/Names.h"

#include <chrono>
#include <exception>
#include <list>
#include <stdexcept>
#include <thread>

namespace bmhost {

namespace {

// Never destroyed: without a `fin` the adaptor's threads may send events until the process has ended.
HostManager& LastingManager(int mode, const std::string& storage) {
    static std::list<HostManager>& managers = *new std::list<HostManager>;
    return managers.emplace_back(mode, storage);
}

// Makes a call to the adaptor. The name is for the end notice and for exceptions of the adaptor.
template <typename Called>
int Made(const std::string& name, const Called& called) {
    const CallUnderWay underWay(name);
    try {
        return called();
    } catch (const std::exception& error) {
        throw std::runtime_error("the adaptor threw an exception out of `" + name + "`: " + error.what());
    } catch (...) {
        throw std::runtime_error("the adaptor threw an exception out of `" + name + "`");
    }
}

} // namespace

Session::Session(const std::string& adaptorFile, int mode, const std::string& storage, Output& output)
    : m_manager(LastingManager(mode, storage)),
      m_plugin(adaptorFile),
      m_output(output) {}

bool Session::Run(Call& call) {
    switch (call.m_operation) {
    case Operation::Read:
        return Read(call);
    case Operation::Write:
        return Write(call);
    case Operation::Table: {
        int result = 0;
        const auto table = Table(call.m_group, result);
        m_output.Table(call.m_group, result, table.get());
        return result == Success;
    }
    case Operation::Sleep:
        std::this_thread::sleep_for(std::chrono::milliseconds(call.m_milliseconds));
        return true;
    case Operation::WaitEvent:
        WaitEvent(call.m_milliseconds);
        return true;
    case Operation::Init:
    case Operation::Start:
    case Operation::Stop:
    case Operation::Fin:
        break;
    }
    const int result = Lifecycle(call.m_operation);
    m_output.Lifecycle(OperationName(call.m_operation), result);
    return result == Success;
}

bool Session::RunAlone(Call& call) {
    if (!NeedsLife(call.m_operation)) return Run(call);
    Lifecycle(Operation::Init);
    bool good = false;
    try {
        good = Run(call);
    } catch (...) { // for example, nobody reads the output any more: fin all the same
        Lifecycle(Operation::Fin);
        throw;
    }
    Lifecycle(Operation::Fin);
    return good;
}

int Session::Lifecycle(Operation operation) {
    BM_ADAPTOR::CBaseAdaptor& adaptor = m_plugin.Adaptor();
    return Made(std::string(OperationName(operation)), [&] {
        switch (operation) {
        case Operation::Init:
            return adaptor.Init(&m_manager);
        case Operation::Start:
            return adaptor.Start(nullptr);
        case Operation::Stop:
            return adaptor.Stop(nullptr);
        default:
            return adaptor.Fin();
        }
    });
}

std::unique_ptr<BM_ADAPTOR::CBMITable> Session::Table(unsigned group, int& result) {
    BM_ADAPTOR::CBMITable* table = nullptr;
    result = Made("table " + Hex(group), [&] { return m_plugin.Adaptor().GetParamTable(group, table); });
    return std::unique_ptr<BM_ADAPTOR::CBMITable>(table);
}

std::unique_ptr<BM_ADAPTOR::CBMIParams> Session::Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys, int& result) {
    BM_ADAPTOR::CBMIParams* row = nullptr;
    result = Made("read " + Hex(group), [&] { return m_plugin.Adaptor().ReadParams(group, &keys, row); });
    return std::unique_ptr<BM_ADAPTOR::CBMIParams>(row);
}

int Session::WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) {
    return Made("write " + Hex(group), [&] { return m_plugin.Adaptor().WriteParams(group, &keys, &values); });
}

bool Session::Read(Call& call) {
    int result = 0;
    const auto row = Row(call.m_group, call.m_keys, result);
    m_output.Read(call.m_group, result, row.get());
    return result == Success;
}

bool Session::Write(Call& call) {
    const int result = WriteRow(call.m_group, call.m_keys, call.m_values);
    m_output.Write(call.m_group, result);
    return result == Success;
}

void Session::WaitEvent(int milliseconds) {
    const auto event = m_manager.TakeEvent(std::chrono::milliseconds(milliseconds));
    if (!event) {
        m_output.NoEvent();
        return;
    }
    m_output.Event(event->m_event, event->m_number, event->m_params);
}

} // namespace bmhost
