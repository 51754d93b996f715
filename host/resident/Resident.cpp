// The resident host: its lanes and its picture, and what the adaptor tells by itself.
#include "host/resident/Resident.h"

#include "common/veldo_common_protocol.h"
#include "host/news/RunOutput.h"
#include "host/output/JsonOutput.h"
#include "host/session/Rows.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <utility>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

constexpr unsigned CallThreads = 3;
constexpr std::size_t MostWaiting = 64;
constexpr std::size_t MostLifecycles = 8;

} // namespace

Resident::Resident(Session& adaptor, const LogRing& log, HostFacts facts, const std::string& state,
                   ResidentSettings settings, ResidentListeners listeners, OrderCarrier carrier)
    : m_adaptor(adaptor),
      m_listeners(std::move(listeners)),
      m_carrier(std::move(carrier)),
      m_log(log),
      m_picture(m_news),
      m_upgrades(m_picture, state),
      m_settings(settings),
      m_sweep(settings.m_sweep),
      m_calls(CallThreads, MostWaiting),
      m_portLane(1, 0, [this] { return ReadPortsOn(); }),
      m_controllerLane(1, MostWaiting, [this] { return SweepOn(); }),
      m_lifecycle(1, MostLifecycles),
      m_ear(
          [this](int level, const std::string& component, const std::string& text) { Hear(level, component, text); }) {
    m_picture.Change({"host"}, [&](Picture& picture) {
        picture.m_host = std::move(facts);
        picture.m_host.m_resident = true;
        return true;
    });
}

// A lane's work may use the others: all of it has to come back before the first lane goes.
Resident::~Resident() {
    m_ending = true;
    while (!EndLanes(std::chrono::hours(1))) {
    }
}

void Resident::Take(const AdaptorEvent& event) {
    m_adaptor.Told(event);
    if (event.m_event == BMI_EVENT_AMC_RUN_STATUS) {
        m_picture.Change({"inventory"}, [&](Picture& picture) {
            for (CBMIParams& row : picture.m_inventory.m_modules) {
                CBMIParam* const status = row.GetParamById(BMI_HW_AMC_RUN_STATUS);
                if (status == nullptr || IntegerOf(row, BMI_HW_AMC_BAY) != IntegerOf(event.m_params, BMI_HW_AMC_BAY))
                    continue;
                status->SetInt(IntegerOf(event.m_params, BMI_HW_AMC_RUN_STATUS));
                return true;
            }
            return false;
        });
    } else if (event.m_event == BMI_GROUP_FIRMWARE_UPDATE) {
        const auto ended = m_upgrades.Told(event.m_params);
        if (ended && m_listeners.m_upgradeEnded) m_listeners.m_upgradeEnded(*ended);
    }
    ordered_json line;
    MakeJsonOutput([&line](ordered_json fields) {
        line = std::move(fields);
    })->Event(event.m_event, event.m_number, event.m_params);
    for (int i = 0; i < event.m_params.GetSize(); ++i) {
        ordered_json& param = line["params"][static_cast<std::size_t>(i)];
        param["name"] = ColumnName(event.m_params.Get(i)->GetId());
    }
    line["text"] = bm_dev::Utf8OfBytes(EventLine(event));
    line["time"] = Rfc3339(WallNow());
    m_news.Add("event", bm_dev::EscapedJson(line.dump()));
    m_listeners.m_event(event);
}

void Resident::Set(const ResidentSettings& settings) {
    {
        const std::lock_guard lock(m_guard);
        m_settings = settings;
        m_sweep.SetPeriod(settings.m_sweep);
        m_portsDue = std::min(m_portsDue, Lane::Clock::now() + settings.m_sweep);
        m_sweep.Hurry(LedSweep::Clock::now());
    }
    m_controllerLane.Wake();
    m_portLane.Wake();
}

} // namespace bmhost
