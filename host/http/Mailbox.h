// Where other threads leave what the server's thread has to do.
#pragma once

#include "host/http/Service.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace bmhost {

/// Every member on any thread. A service may keep what TicketFor returned for longer than the server lives.
class Mailbox : public std::enable_shared_from_this<Mailbox> {
public:
    struct Mail {
        std::vector<std::pair<uint64_t, Settled>> m_answers; ///< by the exchange that they are for
        bool m_news = false;
        bool m_stop = false; ///< stays set
    };

    Mailbox();
    ~Mailbox();
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    /// What this exchange is answered with. If it is dropped unanswered, that is a refusal, 503.
    Ticket TicketFor(uint64_t exchange);
    /// Tickets that are neither answered nor dropped.
    std::size_t Outstanding() const;
    void TellNews();
    void TellStop();

    /// Becomes readable when there is mail.
    int Descriptor() const { return m_descriptor; }
    Mail Take();
    /// Nothing is kept from now on.
    void Close();

private:
    class OneAnswer;

    void Put(uint64_t exchange, Settled answer);
    void Wake() const;

    const int m_descriptor;
    mutable std::mutex m_mutex; ///< protects what follows
    Mail m_mail;
    std::size_t m_outstanding = 0;
    bool m_closed = false;
};

} // namespace bmhost
