// The blade's LEDs by name, for those who show them.
#pragma once

#include "host/picture/Led.h"
