// The media server: started and stopped by scripts in the install directory.
#pragma once

#include <string>

namespace BM_ADAPTOR {

class BOARD;

/// Made for one call, on the host's thread, which waits for the script's end.
class MEDIA_SERVER {
public:
    /// @param a_InstallDir  root of the scripts
    MEDIA_SERVER(BOARD& a_Board, const std::string& a_InstallDir) : m_Board(a_Board), m_InstallDir(a_InstallDir) {}

    /// @return 1; 0x30004 when it could not be started, logged
    int Start() const;
    /// @return 1; 0x30005 when it could not be stopped, logged
    int Stop() const;

private:
    BOARD& m_Board;
    const std::string& m_InstallDir;
};

} // namespace BM_ADAPTOR
