// An adaptor that is loaded into this process, and the calls that are made to it.
#include "host/session/PluginSession.h"

#include "host/session/EndNotice.h"
#include "host/session/StorageHome.h"
#include "host/words/Names.h"

#include <exception>
#include <list>
#include <stdexcept>

namespace bmhost {

namespace {

// Never destroyed: without a `fin` the adaptor's threads may send events until the process has ended.
HostManager& LastingManager(int mode, const std::string& storage) {
    TakeStorageOver(storage);
    static std::list<HostManager>& managers = *new std::list<HostManager>;
    return managers.emplace_back(mode, storage);
}

// Makes a call of the adaptor, named for the end notice and for what the adaptor throws.
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

PluginSession::PluginSession(const std::string& adaptorFile, int mode, const std::string& storage)
    : m_manager(LastingManager(mode, storage)),
      m_plugin(adaptorFile) {}

int PluginSession::Lifecycle(Operation operation) {
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

std::unique_ptr<BM_ADAPTOR::CBMITable> PluginSession::Table(unsigned group, int& result) {
    BM_ADAPTOR::CBMITable* table = nullptr;
    result = Made("table " + Hex(group), [&] { return m_plugin.Adaptor().GetParamTable(group, table); });
    return std::unique_ptr<BM_ADAPTOR::CBMITable>(table);
}

std::unique_ptr<BM_ADAPTOR::CBMIParams> PluginSession::Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys,
                                                           int& result) {
    BM_ADAPTOR::CBMIParams* row = nullptr;
    result = Made("read " + Hex(group), [&] { return m_plugin.Adaptor().ReadParams(group, &keys, row); });
    return std::unique_ptr<BM_ADAPTOR::CBMIParams>(row);
}

int PluginSession::WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) {
    const int result =
        Made("write " + Hex(group), [&] { return m_plugin.Adaptor().WriteParams(group, &keys, &values); });
    if (group == BM_ADAPTOR::BMI_GROUP_FIRMWARE_UPDATE && result == Success) m_upgraded = true;
    return result;
}

} // namespace bmhost
