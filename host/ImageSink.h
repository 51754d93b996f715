// Where the firmware images of clients go.
#pragma once

#include "host/api/Upload.h"

namespace bmhost {

class Resident;

/// Makes a file in the host's folder of images. The host outlives it.
MakeUploadSink ImagesOf(Resident& host);

} // namespace bmhost
