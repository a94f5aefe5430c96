#pragma once
// Figures as a table for people and as JSON for programs, and two runs side by side.
#include "bench/session.h"

#include <string>
#include <vector>

namespace bench {

struct Run {
    std::string machine; // the processor's name: figures of two machines say nothing together
    std::vector<Figure> figures;
};

// This machine's processor.
std::string MachineName();

void PrintTable(const Run& run);
// Throws std::runtime_error with one line for a file that can't be written or is no such file.
void WriteJson(const Run& run, const std::string& file);
Run ReadJson(const std::string& file);

// Prints what is slower in `now` by more than 5 % and by more than both runs' spread; how many
// figures that are.
int PrintSlower(const Run& before, const Run& now);

} // namespace bench
