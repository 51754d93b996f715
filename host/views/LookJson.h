// What the looks show with --json: one object each, made of the picture's parts.
#pragma once

#include "host/picture/Picture.h"

#include <string>

namespace bmhost {

/// One line: {"op": "leds", "good": true, "leds": […], "source": {…}}. The operation is the command's name; those that
/// have one part of the picture that is an object show its members.
std::string LookJson(const std::string& operation, bool good, const Picture& picture);

} // namespace bmhost
