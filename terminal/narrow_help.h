// Help that fits a terminal.
#ifndef LUTC_TERMINAL_NARROW_HELP_H
#define LUTC_TERMINAL_NARROW_HELP_H

namespace CLI {
class App;
}

namespace lutc_terminal {

// Keeps --help within 80 columns: longer lines go on below their description. The example at the end stays as it is, to
// be copied. Commands that are added afterwards do the same.
void narrow_help(CLI::App& app);

}  // namespace lutc_terminal

#endif
