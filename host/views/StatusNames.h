// Run status, upgrade target and upgrade state by name, for those who show them.
#pragma once

#include "host/picture/StatusNames.h"
