// --damaged, the one option that reads damage: in all commands that can, with one meaning.
#ifndef TDM_HOST_DAMAGED_OPTION_H
#define TDM_HOST_DAMAGED_OPTION_H

namespace CLI {
class App;
}

namespace host {

// Declares it on `app`; `damaged` must live as long as the command runs.
void add_damaged_option(CLI::App &app, bool &damaged);

}  // namespace host

#endif
