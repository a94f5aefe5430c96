#include "tools/korv/commands/cli/run.h"

#include <iostream>

int main(int argc, char** argv) {
    return korv::Run(argc, argv, std::cout, std::cerr);
}
