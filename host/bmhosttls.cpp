// bmhost-tls: the connection of a command to a blade elsewhere.
#include "host/connect/tls/Tunnel.h"

#include <csignal>
#include <cstdio>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc < 3 || argc > 4 || isatty(STDIN_FILENO) == 1) {
        fprintf(stderr, "bmhost-tls: `bmhost --connect` starts it, with its connection as standard input\n");
        return 2;
    }
    // The command that has started it decides what Ctrl-C ends: when it ends, so does this program.
    for (const int number : {SIGINT, SIGQUIT, SIGHUP, SIGPIPE})
        signal(number, SIG_IGN);
    return bmhost::RunTunnel({argv[1], argv[2], argc == 4 ? argv[3] : "", STDIN_FILENO, STDOUT_FILENO});
}
