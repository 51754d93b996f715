// The descriptor guard by its name in the platform, bmhost and bladesim.
#pragma once

#include "common/veldo_common_descriptor.h"

namespace bm_dev {

using UniqueFd = BM_ADAPTOR::DESCRIPTOR;

} // namespace bm_dev
