// In the place of host/web/BladeMirror.cpp and host/client/HostClient.cpp.
#include "support/StillMirror.h"

#include "support/AskService.h"
#include "support/Require.h"

#include "host/client/HostClient.h"
#include "host/client/HttpWire.h"
#include "host/web/BladeMirror.h"

#include <array>
#include <unistd.h>

namespace fuzzing {

using namespace bmhost;

namespace {

BladeView& ShownView() {
    static BladeView view;
    return view;
}

HttpService*& AskedHost() {
    static HttpService* host = nullptr;
    return host;
}

/// Its requests are bytes once, as on the socket.
class InlineClient final : public HostClient {
public:
    explicit InlineClient(HttpService& host) : m_host(host) {}

    void SpeakFor(const std::string& account) override { m_account = account; }

    HostAnswer Get(const std::string& path) override { return Answer({"GET", path, "", 0, {}, m_account}, ""); }

    HostAnswer Post(const std::string& path, const nlohmann::json& body) override {
        const std::string text = body.dump();
        return Answer({"POST", path, "application/json", text.size(), {}, m_account}, text);
    }

    HostAnswer PostFile(const std::string& path, int descriptor, uint64_t size,
                        const std::function<void(uint64_t sent)>& /*progress*/) override {
        std::string bytes;
        std::array<char, 4096> piece{};
        for (ssize_t count = 0; (count = read(descriptor, piece.data(), piece.size())) > 0;)
            bytes.append(piece.data(), static_cast<std::size_t>(count));
        Require(bytes.size() == size, "an image of another size");
        return Answer({"POST", path, "application/octet-stream", size, {}, m_account}, bytes);
    }

    void Events(uint64_t /*after*/, const std::function<bool(const ServerEvent&)>& /*reader*/,
                int /*output*/) override {}

private:
    HostAnswer Answer(const HttpRequest& request, const std::string& body) const {
        HttpText text = HttpTextOf(RequestHead(request) + body);
        Require(text.m_good && text.m_body == body,
                "the host reads another request than the door sent: " + request.Name());
        const Asked asked = AskService(m_host, text);
        HostAnswer answer{asked.m_reply.m_status, nullptr};
        if (asked.m_reply.m_body) answer.m_body = nlohmann::ordered_json::parse(*asked.m_reply.m_body);
        return answer;
    }

    HttpService& m_host;
    std::string m_account;
};

} // namespace

void ShowInMirrors(const BladeView& view) {
    ShownView() = view;
}

void AskInClients(HttpService* host) {
    AskedHost() = host;
}

std::unique_ptr<HostClient> ClientOfHost() {
    if (AskedHost() == nullptr) return nullptr;
    return std::make_unique<InlineClient>(*AskedHost());
}

const BladeView& ViewOfHost() {
    return ShownView();
}

} // namespace fuzzing

namespace bmhost {

std::unique_ptr<HostClient> HostClient::Connect(std::optional<std::chrono::milliseconds> /*timeout*/) {
    return fuzzing::ClientOfHost();
}

std::unique_ptr<HostClient> HostClient::ConnectAt(const HostPlace& /*place*/,
                                                  std::optional<std::chrono::milliseconds> /*timeout*/) {
    return fuzzing::ClientOfHost();
}

BladeMirror::BladeMirror(HostPlace place, const MirrorTimes& times)
    : m_place(std::move(place)),
      m_times(times),
      m_view(fuzzing::ViewOfHost()) {
    m_news.Add("picture", R"({"revision":2})");
    m_news.Add("health", R"({"state":"fault","reasons":["temperature"]})");
    m_view.m_lastNews = 2;
}

BladeMirror::~BladeMirror() = default;

BladeView BladeMirror::Now() const {
    return m_view;
}

BladeView BladeMirror::Look() const {
    return m_view;
}

std::shared_ptr<const Statistics> BladeMirror::Counts() const {
    return m_counts;
}

bool BladeMirror::Renew(std::chrono::milliseconds /*time*/) {
    return m_view.m_reachable;
}

} // namespace bmhost
