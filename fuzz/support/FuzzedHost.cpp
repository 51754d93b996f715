// A host with one adaptor on a blade without hardware; see the header.
#include "support/FuzzedHost.h"

#include "readers/UsualController.h"

#include "adaptor/IPMI_FirmwareUpdate.h"
#include "adaptor/IPMI_MonitorThread.h"
#include "adaptor/hardware/IPMI_AMCHardwareTable.h"
#include "common/veldo_common_protocol.h"
#include "fake/FakeBoardDriver.h"
#include "fake/FakeQueue.h"
#include "fake/TestAccess.h"
#include "fake/openipmi/FakeOpenIPMI.h"
#include "fake/openipmi/ModelReset.h"
#include "ipmi/IPMI_Thread.h"
#include "ipmi/model/IPMI_Simulation.h"

using namespace BM_ADAPTOR;
using Access = IPMI_TEST_ACCESS;

namespace fuzzing {

namespace {

// A front board with texts and an AMC's vendor record with two DSPs.
const Area& UsualArea() {
    static const Area area = [] {
        Area bytes = {1, 0, 0, 1, 0, 5, 0, 0, 1, 0, 25, 0, 0, 0};
        for (const std::string& text : {std::string("Maker"), std::string("Board"), std::string("S1")}) {
            bytes.push_back(static_cast<uint8_t>(0xC0 | text.size()));
            bytes.insert(bytes.end(), text.begin(), text.end());
        }
        bytes.resize(40, 0xC1);
        const Area record = {0xC0, 0x82, 7, 0, 0, 0x57, 0x01, 0x00, 2, 0, 2, 1};
        bytes.insert(bytes.end(), record.begin(), record.end());
        bytes.resize(64, 0);
        MendRecordsOf(bytes);
        MendHeaderOf(bytes);
        return bytes;
    }();
    return area;
}

void Reset() {
    ResetModel();
    for (auto& [bay, info] : sg_AMC_MAP)
        delete info;
    sg_AMC_MAP.clear();
    Fake().Reset();
    Fake().RecordRequests(false);
    FakeQueue().Reset();
    BoardDriver() = {};
}

// The domain thread of the process; it never runs.
IPMITHREAD& DomainThread() {
    static OSAL::OSALMutex& startup = *new OSAL::OSALMutex;
    static IPMITHREAD& thread = *new IPMITHREAD(nullptr, &startup);
    return thread;
}

} // namespace

FuzzedHost::FuzzedHost(Model model, bool traces) : m_log(traces) {
    Reset();
    BM_ADAPTOR::g_Logger2 = &m_log;
    Fake().Controls().m_bCompletesAtOnce = true;
    m_manager.m_Logger = &m_log;
    m_manager.m_Storage = &m_storage;
    m_board.m_Interfaces["eth6"] = {"192.168.0.1", {2, 0, 0, 0, 0, 0x10}};
    FillModel(model);
    Access::DomainThread() = &DomainThread();
    m_adaptor = std::make_unique<IPMIAdaptor>(m_board);
}

void FuzzedHost::FillModel(Model model) {
    if (model == Model::Simulated) {
        g_bCompleteIPMISimulation = true;
        BuildSimulatedData();
    }
    if (model != Model::Probed) return;
    auto probe = std::make_unique<ENTITYCAPTURE>(Fake().Domain(), &DomainThread(), &m_log);
    Fake().OnRequest({}, [](const SENT_REQUEST& request) { return UsualAnswer(request.Bytes(), UsualArea()); });
    probe->StartCapture();
    Fake().Run();
    // From now on nobody delivers but the sender itself.
    Fake().OnRequest({}, [](const SENT_REQUEST& request) -> std::optional<BYTES> {
        Fake().Deliver(request, UsualAnswer(request.Bytes(), UsualArea()));
        return std::nullopt;
    });
    g_ENTITYCapture = probe.release();
}

FuzzedHost::~FuzzedHost() {
    m_adaptor->Stop(nullptr);
    m_adaptor->Fin();
    WaitForUpgrade();
    auto monitors = m_manager.Monitors();
    monitors.erase(Access::Monitor(*m_adaptor)); // the adaptor's own
    m_adaptor.reset();
    for (IPMI_MonitorThread* const monitor : monitors)
        delete monitor;
    Access::DomainThread() = nullptr;
    Reset();
}

void FuzzedHost::Manager::Note(IPMI_MonitorThread* monitor) {
    const std::lock_guard guard(m_guard);
    m_monitors.insert(monitor);
}

std::set<IPMI_MonitorThread*> FuzzedHost::Manager::Monitors() const {
    const std::lock_guard guard(m_guard);
    return m_monitors;
}

int FuzzedHost::Manager::RegisterEventClass(unsigned eventClass, CBaseAdaptor* adaptor) {
    Note(Access::Monitor(dynamic_cast<IPMIAdaptor&>(*adaptor)));
    return FAKE_MANAGER::RegisterEventClass(eventClass, adaptor);
}

int FuzzedHost::Init(int mode, bool withManager) {
    m_manager.m_mode = mode;
    m_manager.Note(Access::Monitor(*m_adaptor));
    return m_adaptor->Init(withManager ? &m_manager : nullptr);
}

void FuzzedHost::WaitForUpgrade() {
    if (const auto& thread = Access::UpgradeThread(*m_adaptor)) thread->Join();
}

std::string FuzzedHost::Tables() {
    std::string text;
    for (const GROUP_NAME& group : g_GroupNames) {
        CBMITable* made = nullptr;
        text += std::to_string(m_adaptor->GetParamTable(group.m_Group, made)) + " of " + std::string(group.m_Name);
        const std::unique_ptr<CBMITable> table(made);
        for (int i = 0; table && i < table->GetSize(); ++i)
            text += "\n  " + TextOf(*table->Get(i));
        text += '\n';
    }
    return text;
}

std::string TextOf(const CBMIParams& row) {
    std::string text;
    for (int i = 0; i < row.GetSize(); ++i) {
        const CBMIParam& param = *row.Get(i);
        text += std::to_string(param.GetId()) + '=' + std::to_string(param.GetType()) + ':';
        text += param.GetType() == BMI_PARAM_STRING ? param.GetString()
                : param.GetType() == BMI_PARAM_BOOL ? std::to_string(static_cast<int>(param.GetBool()))
                                                    : std::to_string(param.GetInt());
        text += param.IsKey() ? "* " : " ";
    }
    return text;
}

} // namespace fuzzing
