// The adaptor as the resident host's lanes use it: what becomes of a call is noted in the picture.
#include "host/resident/HostSession.h"

#include "common/veldo_common_protocol.h"

#include <utility>

namespace bmhost {

HostSession::HostSession(Session& adaptor, LifecycleMaker lifecycle, UpgradeBook& upgrades, UpgradeBook::Image image,
                         std::string asker)
    : m_adaptor(adaptor),
      m_lifecycle(std::move(lifecycle)),
      m_upgrades(upgrades),
      m_image(std::move(image)),
      m_asker(std::move(asker)) {}

std::unique_ptr<BM_ADAPTOR::CBMITable> HostSession::Table(unsigned group, int& result) {
    return m_adaptor.Table(group, result);
}

std::unique_ptr<BM_ADAPTOR::CBMIParams> HostSession::Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys,
                                                         int& result) {
    return m_adaptor.Row(group, keys, result);
}

int HostSession::WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) {
    if (group != BM_ADAPTOR::BMI_GROUP_FIRMWARE_UPDATE) return m_adaptor.WriteRow(group, keys, values);
    m_upgrades.Begin(values, m_image, m_asker);
    int result = 0;
    try {
        result = m_adaptor.WriteRow(group, keys, values);
    } catch (...) {
        m_upgrades.Began(false);
        throw;
    }
    m_upgrades.Began(result == Success);
    return result;
}

} // namespace bmhost
