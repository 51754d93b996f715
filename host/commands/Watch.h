// `bmhost watch`: the picture of the blade, live.
#pragma once

#include "host/output/Style.h"
#include "host/picture/Picture.h"

#include <string>

namespace bmhost {

/// What is shown of it.
std::string WatchText(const Picture& picture, const Style& style);

} // namespace bmhost
