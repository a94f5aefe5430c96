#include <iostream>

#include "tools/korv/run.h"

int main(int argc, char** argv) {
    return korv::Run(argc, argv, std::cout, std::cerr);
}
