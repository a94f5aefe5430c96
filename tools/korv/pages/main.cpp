// Writes the man pages and completions of korv into the folder that it is given.
#include "tools/korv/base/errors.h"
#include "tools/korv/commands/cli/pages.h"
#include "tools/korv/commands/cli/tool.h"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: korv_pages FOLDER\n";
        return korv::kExitBadInput;
    }
    korv::Console console{std::cout, std::cerr};
    try {
        korv::WritePages(*korv::MakeTool(console), argv[1]);
    } catch (const korv::UserError& error) {
        std::cerr << "korv_pages: " << error.what() << '\n';
        return korv::kExitBadInput;
    }
}
