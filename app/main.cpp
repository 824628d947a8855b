// The vivark command-line tool.
#include <iostream>

#include "app/cli/Cli.h"

int main(int argc, char** argv) {
    return vivark::cli::run(argc, argv, std::cout, std::cerr);
}
