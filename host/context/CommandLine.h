// A command on the command line that loads the adaptor for itself.
#pragma once

#include "host/context/Context.h"

#include <unistd.h>

namespace bmhost {

class CommandLine final : public Context {
public:
    using Context::Context;

    bool Make(Call& call) override;
    bool WithSession(const Work& work) override;
    /// Of an adaptor of its own, which leaves the board alone.
    Picture Look() override;
    Source SourceNow() override;
    /// By an adaptor of its own, with the blade's lock.
    OrderOutcome Give(const Order& order) override;
    int Output() const override { return m_output; }
    void Answer(const std::string& text) override;
    std::optional<int> Terminal() const override;
    bool TakesSignals() const override { return true; }

private:
    bool InMode(int mode, const Work& work);

    int m_output = STDOUT_FILENO; ///< the real one, once the adaptor's prints go elsewhere
};

/// Where the output of a command for people goes: the real standard output, while what the adaptor prints is withheld,
/// or goes to standard error with --json.
int OutputForPeople(const GlobalOptions& options);
/// The same for a look, whose JSON nobody follows call by call: the prints are withheld in any case.
int OutputForLook(const GlobalOptions& options);
/// From now on the end of the process, and a call that does not return, are told of.
/// @param limited  whether the command's time is limited where nobody gave a limit
void ArmEndNotice(const GlobalOptions& options, bool limited = false);

} // namespace bmhost
