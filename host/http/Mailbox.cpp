// Where other threads leave what the server's thread has to do.
#include "host/http/Mailbox.h"

#include <atomic>
#include <cerrno>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

int OpenMailDescriptor() {
    const int descriptor = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    return descriptor;
}

} // namespace

/// One answer, at most once.
class Mailbox::OneAnswer {
public:
    OneAnswer(std::shared_ptr<Mailbox> mailbox, uint64_t exchange)
        : m_mailbox(std::move(mailbox)),
          m_exchange(exchange) {}
    ~OneAnswer() {
        if (!m_used) Use(Refusal(503, "", "the host has dropped this without an answer"));
    }
    OneAnswer(const OneAnswer&) = delete;
    OneAnswer& operator=(const OneAnswer&) = delete;

    void Use(Settled answer) {
        if (!m_used.exchange(true)) m_mailbox->Put(m_exchange, std::move(answer));
    }

private:
    std::shared_ptr<Mailbox> m_mailbox;
    uint64_t m_exchange;
    std::atomic<bool> m_used{false};
};

Mailbox::Mailbox() : m_descriptor(OpenMailDescriptor()) {}

Mailbox::~Mailbox() {
    close(m_descriptor);
}

Ticket Mailbox::TicketFor(uint64_t exchange) {
    auto ticket = std::make_shared<OneAnswer>(shared_from_this(), exchange);
    {
        const std::lock_guard lock(m_mutex);
        ++m_outstanding;
    }
    return [ticket = std::move(ticket)](Settled answer) { ticket->Use(std::move(answer)); };
}

std::size_t Mailbox::Outstanding() const {
    const std::lock_guard lock(m_mutex);
    return m_outstanding;
}

void Mailbox::Put(uint64_t exchange, Settled answer) {
    const std::lock_guard lock(m_mutex);
    --m_outstanding;
    if (m_closed) return;
    m_mail.m_answers.emplace_back(exchange, std::move(answer));
    Wake();
}

void Mailbox::TellNews() {
    const std::lock_guard lock(m_mutex);
    if (m_mail.m_news || m_closed) return;
    m_mail.m_news = true;
    Wake();
}

void Mailbox::TellStop() {
    const std::lock_guard lock(m_mutex);
    m_mail.m_stop = true;
    Wake();
}

Mailbox::Mail Mailbox::Take() {
    uint64_t count = 0;
    // Empty is as good.
    [[maybe_unused]] const ssize_t got = read(m_descriptor, &count, sizeof(count));
    const std::lock_guard lock(m_mutex);
    Mail mail;
    std::swap(mail, m_mail);
    m_mail.m_stop = mail.m_stop;
    return mail;
}

void Mailbox::Close() {
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    m_mail.m_answers.clear();
}

void Mailbox::Wake() const {
    const uint64_t one = 1;
    // It fails only when it is full, and then it is readable.
    [[maybe_unused]] const ssize_t written = write(m_descriptor, &one, sizeof(one));
}

} // namespace bmhost
