#include "cli.h"

int main(int argc, char **argv) {
    return host::run_command_line(argc, argv);
}
