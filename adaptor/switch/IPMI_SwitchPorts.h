// The switch ports as the adaptor holds them.
#pragma once

#include <map>
#include <memory>

namespace BM_ADAPTOR {

class IPMI_SWITCHPORT;

/// By port number.
using SWITCH_PORTS = std::map<int, std::shared_ptr<IPMI_SWITCHPORT>>;

} // namespace BM_ADAPTOR
