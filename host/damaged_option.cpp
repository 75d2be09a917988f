#include "damaged_option.h"

#include <CLI/CLI.hpp>

#include "cli.h"

namespace host {

void add_damaged_option(CLI::App &app, bool &damaged) {
    app.add_flag("--damaged", damaged,
                 "Read a damaged container as it stands; any text may be a wrong one")
        ->group(more_options);
}

}  // namespace host
