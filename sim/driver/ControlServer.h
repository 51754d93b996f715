// Takes orders from bladesim commands that run in the blade: lines of text on a Unix socket, answered by lines.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

struct pollfd;

namespace bladesim {

/// The socket for orders; clients may connect before it is served. Throws a BladeError.
bm_dev::UniqueFd ListenForOrders();

/// A client that belongs neither to this process's user nor to root gets one answer, an error, and is reported on
/// standard error.
class ControlServer {
public:
    /// Identifies a client while it is connected; never given again.
    using ClientId = uint64_t;
    using TakeOrder = std::function<void(ClientId, const std::string&)>;

    ControlServer(bm_dev::UniqueFd listener, TakeOrder takeOrder);

    void AddEvents(std::vector<pollfd>& events) const;
    /// False when the event's descriptor is not one of this server's.
    bool Handle(const pollfd& event);
    /// Sends a line, as fast as the client reads. Does nothing when the client has gone.
    void Answer(ClientId client, const std::string& line);

private:
    struct Client {
        bm_dev::UniqueFd m_socket;
        std::string m_in;  ///< received, not yet a whole line
        std::string m_out; ///< not yet sent
    };
    using Clients = std::map<ClientId, Client>;

    void TakeClient();
    void Read(Clients::iterator client);
    bool Write(Client& client) const;

    bm_dev::UniqueFd m_listener;
    TakeOrder m_takeOrder;
    Clients m_clients;
    ClientId m_lastId = 0;
};

} // namespace bladesim
