// The board driver as tests play it, in the place of the platform's: what was asked of it, and what it answers.
#pragma once

#include <array>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

struct FAKE_BOARD_DRIVER {
    struct OPEN_CALL {
        void* m_Handle;
        std::array<unsigned char, 8> m_Content;
        int m_First;
        int m_Second;
    };

    int m_OpenResult = 0;
    std::deque<int> m_OpenResults{}; ///< of the next calls, before m_OpenResult
    std::vector<OPEN_CALL> m_Opened{};
    std::vector<void*> m_Closed{};

    // Of the switch, by its own index of the port. A port that is not here is disabled and down.
    std::map<int, int> m_Enabled{};
    std::map<int, int> m_Link{};
    /// Every call in order: "PortEnable 3 mode 2", "CheckLink 3", "Learn 7 02:00:00:00:00:01", "LearnByDSP 0 02:…".
    std::vector<std::string> m_Calls{};
    /// The calls that answer an error and do nothing; the calls of a kind by its first word.
    std::map<std::string, int> m_Errors{};
    /// Told of a call of the switch before anything happens, on the caller's thread. Calls may come from several
    /// threads; everything else here is for the time when none does.
    std::function<void(const std::string& a_Call)> m_AtCall{};
};

FAKE_BOARD_DRIVER& BoardDriver();
