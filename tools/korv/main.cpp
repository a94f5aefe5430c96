#include "tools/korv/cli/run.h"
#include "tools/korv/commands/commands.h"

#include <iostream>

int main(int argc, char** argv) {
    return korv::Run(korv::Commands(), argc, argv, std::cout, std::cerr);
}
