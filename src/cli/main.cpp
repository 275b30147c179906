#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "cli/Cli.h"

int main(int argc, char* argv[]) {
    std::ios::sync_with_stdio(false);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const velmora::cli::Environment environment{std::cin, std::cout, std::cerr,
                                                std::getenv("VELMORA_DATA_DIR")};
    const int status = velmora::cli::run(arguments, environment);
    std::cout.flush();
    return status;
}
