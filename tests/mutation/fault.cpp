#include "fault.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr unsigned kFaults = 1U << 16;

unsigned char notKept[kFaults];

} // namespace

unsigned korvChosenFault;
unsigned char* korvFaultsRun = notKept;

// Ahead of all constructors of the program.
[[gnu::constructor(101)]] static void ChooseFault() {
    if (const char* chosen = std::getenv("KORV_FAULT")) {
        korvChosenFault = static_cast<unsigned>(std::atoi(chosen));
    }
    if (const char* kept = std::getenv("KORV_FAULTS_RUN")) {
        const int file = open(kept, O_RDWR);
        void* bytes = mmap(nullptr, kFaults, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (bytes != MAP_FAILED) {
            korvFaultsRun = static_cast<unsigned char*>(bytes);
        }
        close(file);
    }
}
