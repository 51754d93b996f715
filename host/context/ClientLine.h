// A command on the command line that asks the resident host.
#pragma once

#include "host/client/ClientSession.h"
#include "host/client/HostClient.h"
#include "host/context/Context.h"

#include <memory>

namespace bmhost {

class ClientLine final : public Context {
public:
    ClientLine(const GlobalOptions& globals, std::unique_ptr<HostClient> client);

    bool Make(Call& call) override;
    bool WithSession(const Work& work) override;
    int Output() const override;
    std::optional<int> Terminal() const override;
    void Answer(const std::string& text) override;
    HostClient* Host() override { return m_client.get(); }
    Picture Look() override;
    Source SourceNow() override { return Look().m_source; }
    OrderOutcome Give(const Order& order) override;

private:
    std::unique_ptr<HostClient> m_client;
    ClientSession m_session;
};

} // namespace bmhost
