// Takes orders from bladesim commands that run in the blade: lines of text on a Unix socket, answered by lines.
#pragma once

#include "sim/base/UniqueFd.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

struct pollfd;

namespace BLADESIM {

/// The socket on which orders come; clients may come before anybody serves it. Throws a BLADE_ERROR.
UNIQUE_FD ListenForOrders();

/// Who is neither the user of this process nor root is answered once, with an error, and told on standard error.
class CONTROL_SERVER {
public:
    /// Names a client for as long as it is connected, and nobody afterwards.
    using CLIENT_ID = uint64_t;
    using TAKE_ORDER = std::function<void(CLIENT_ID, const std::string&)>;

    CONTROL_SERVER(UNIQUE_FD a_Listener, TAKE_ORDER a_TakeOrder);

    void AddEvents(std::vector<pollfd>& a_Events) const;
    /// False when the event's descriptor is none of this server's.
    bool Handle(const pollfd& a_Event);
    /// Sends a line, as fast as the client reads. A client that has gone misses nothing.
    void Answer(CLIENT_ID a_Client, const std::string& a_Line);

private:
    struct CLIENT {
        UNIQUE_FD m_Socket;
        std::string m_In;  ///< not yet a line
        std::string m_Out; ///< not yet taken
    };
    using CLIENTS = std::map<CLIENT_ID, CLIENT>;

    void TakeClient();
    void Read(CLIENTS::iterator a_Client);
    bool Write(CLIENT& a_Client) const;

    UNIQUE_FD m_Listener;
    TAKE_ORDER m_TakeOrder;
    CLIENTS m_Clients;
    CLIENT_ID m_LastId = 0;
};

} // namespace BLADESIM
