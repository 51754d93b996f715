// A command on the command line: a client of the resident host where there is one, with an adaptor of its own
// otherwise.
#pragma once

#include "host/context/Context.h"

#include <memory>

namespace bmhost {

/// Chooses when it is asked for something first: what needs neither host nor adaptor is not disturbed by either.
class ChosenLine final : public Context {
public:
    using Context::Context;

    bool Make(Call& call) override { return Chosen().Make(call); }
    bool WithSession(const Work& work) override { return Chosen().WithSession(work); }
    int Output() const override;
    std::optional<int> Terminal() const override;
    void Answer(const std::string& text) override;
    bool TakesSignals() const override { return m_chosen == nullptr || m_chosen->TakesSignals(); }
    HostClient* Host() override { return Chosen().Host(); }
    Picture Look() override { return Chosen().Look(); }
    Source SourceNow() override { return Chosen().SourceNow(); }
    OrderOutcome Give(const Order& order) override { return Chosen().Give(order); }

private:
    Context& Chosen();

    std::unique_ptr<Context> m_chosen;
};

} // namespace bmhost
