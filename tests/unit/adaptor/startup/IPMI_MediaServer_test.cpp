// The media server's scripts: which one runs, and when it has failed.
#include "adaptor/startup/IPMI_MediaServer.h"

#include "adaptor/AdaptorTest.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class MediaServer : public ADAPTOR_PROCESS_TEST {
protected:
    static LOG_LINE Media(const std::string& a_Text) { return {BM_LOG_ERROR, "Media Adaptor", a_Text}; }

    const std::string m_InstallDir = "/k";
    const MEDIA_SERVER m_Server{m_Board, m_InstallDir};
};

TEST_F(MediaServer, IsStartedAndStoppedByItsScripts) {
    EXPECT_EQ(m_Server.Start(), 1);
    EXPECT_EQ(m_Server.Stop(), 1);
    EXPECT_THAT(m_Board.Commands(), ElementsAre("/k/bin/mediaStart", "/k/bin/mediaStop"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(MediaServer, HasFailedWhateverButZeroItsScriptGives) {
    for (const int l_Result : {Exited(1), Exited(255), Killed(9), -1}) {
        m_Board.m_ToolResults = {l_Result};
        EXPECT_EQ(m_Server.Start(), 0x30004) << l_Result;
        EXPECT_THAT(Lines(), ElementsAre(Media("Fail to start MEDIA SERVER "))) << l_Result;
        EXPECT_EQ(m_Server.Stop(), 0x30005) << l_Result;
        EXPECT_THAT(Lines(), ElementsAre(Media("Fail to stop MEDIA SERVER "))) << l_Result;
    }
}

} // namespace
