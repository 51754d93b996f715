// What is passed on to the resident host, each piece by a thread that may wait for it.
#include "host/web/Forwarder.h"

#include "host/words/Error.h"

#include "bm_dev/ByteText.h"

#include <cctype>
#include <exception>
#include <utility>

namespace bmhost {

std::string EncodedPart(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte < 0x80 && (isalnum(byte) != 0 || letter == '-' || letter == '_' || letter == '.')) {
            encoded += letter;
        } else {
            encoded.append({'%', digits[byte >> 4U], digits[byte & 0x0FU]});
        }
    }
    return encoded;
}

HostAnswer HostErrorAnswer(unsigned status, const std::string& reason) {
    return {status, {{"error", {{"operation", ""}, {"value", ""}, {"reason", bm_dev::Utf8OfBytes(reason)}}}}};
}

Forwarder::Forwarder(HostPlace place, const ForwarderLimits& limits)
    : m_place(std::move(place)),
      m_limits(limits),
      m_lane(limits.m_threads, limits.m_waiting) {}

bool Forwarder::Give(const std::string& account, Work work, Done done) {
    return m_lane.Give([this, account, work = std::move(work), done = std::move(done)] {
        HostAnswer answer = Ask(account, work);
        if (m_told) m_told(account, answer);
        done(std::move(answer));
    });
}

HostAnswer Forwarder::Ask(const std::string& account, const Work& work) {
    try {
        std::unique_ptr<HostClient> client = TakeClient();
        if (client == nullptr) return HostErrorAnswer(503, "no resident host has the blade");
        client->SpeakFor(account);
        HostAnswer answer = work(*client);
        const std::lock_guard lock(m_guard);
        m_idle.push_back(std::move(client));
        return answer;
    } catch (const TimeUpError& error) {
        return HostErrorAnswer(504, error.what());
    } catch (const std::exception& error) {
        return HostErrorAnswer(502, error.what());
    }
}

std::unique_ptr<HostClient> Forwarder::TakeClient() {
    {
        const std::lock_guard lock(m_guard);
        if (!m_idle.empty()) {
            std::unique_ptr<HostClient> client = std::move(m_idle.back());
            m_idle.pop_back();
            return client;
        }
    }
    return HostClient::ConnectAt(m_place, m_limits.m_answer);
}

} // namespace bmhost
