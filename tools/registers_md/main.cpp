// Writes docs/registers.md to the file that it is given.
#include "stream/reference.h"

#include <fstream>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: registers_md FILE\n";
        return 2;
    }
    std::ofstream out(argv[1]);
    stream::WriteReference(out);
    out.close();
    if (!out) {
        std::cerr << "registers_md: cannot write " << argv[1] << '\n';
        return 2;
    }
}
