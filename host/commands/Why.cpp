// `bmhost why`: what is wrong with the blade, with cause, evidence and cure.
#include "host/views/Why.h"

#include "host/context/Context.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/words/Commands.h"

#include <sys/ioctl.h>

namespace bmhost {

namespace {

int WidthOf(int descriptor) {
    winsize size{};
    return ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool RunWhy(Context& context) {
    const int output = context.Output(); // before the adaptor's prints are kept away from it
    Style style;
    style.m_color = ColorWanted(output);
    style.m_width = WidthOf(output);
    const Picture picture = context.Look();
    WriteAll(context.Output(), context.Globals().m_json ? WhyJson(picture) : WhyText(picture, style));
    return WhyIsGood(picture);
}

} // namespace

void AddWhy(Commands& commands) {
    commands.Add("why", "explain what is wrong with the blade", OnCommandLine | InShell)
        .Details(
            "Each fault and each red or out-of-service LED: where it is, its cause, what shows it (log lines, readings\n"
            "with their time), and what cures it; what explains others comes first. docs/operations.md has the same\n"
            "causes and cures. With --json all of it is one line. Status 0 when nothing is wrong.\n")
        .Example("bmhost why")
        .Example("bmhost why --json")
        .Run(RunWhy);
}

} // namespace bmhost
