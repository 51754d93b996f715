// The media server's scripts.
#include "adaptor/startup/IPMI_MediaServer.h"

#include "adaptor/board/IPMI_Board.h"
#include "common/veldo_common_guard.h"

namespace BM_ADAPTOR {

// Here and in Stop any value but 0 is a failure, not the exit status alone.
int MEDIA_SERVER::Start() const {
    if (m_Board.RunTool(m_InstallDir + "/bin/mediaStart") == 0) return RESULT_OK;
    bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "Fail to start MEDIA SERVER ");
    return STARTUP_MEDIA_START_FAILED;
}

int MEDIA_SERVER::Stop() const {
    if (m_Board.RunTool(m_InstallDir + "/bin/mediaStop") == 0) return RESULT_OK;
    bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "Fail to stop MEDIA SERVER ");
    return STARTUP_MEDIA_STOP_FAILED;
}

} // namespace BM_ADAPTOR
