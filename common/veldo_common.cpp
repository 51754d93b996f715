// The two texts that the library exports for tools that ask what is installed.
#include "common/veldo_common.h"

const char* VELDO_GetCopyRight() {
    return "Copyright (C) the authors of the IPMI hardware adaptor. All rights reserved.";
}

const char* VELDO_VersionString() {
    return "IPMI hardware adaptor " VELDO_VERSION;
}
