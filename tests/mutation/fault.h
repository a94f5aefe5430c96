#pragma once
// Included ahead of every source of a build with faults: asks whether a fault is the chosen one,
// and notes that its place has been run. Constant expressions are what they are without faults.

// The fault that this process has: KORV_FAULT of the environment, or 0.
extern "C" unsigned korvChosenFault;
// A byte for each fault; 1 once its place has been run. KORV_FAULTS_RUN names a file that keeps it.
extern "C" unsigned char* korvFaultsRun;

[[gnu::always_inline]] constexpr bool KorvFault(unsigned number) {
    if (__builtin_is_constant_evaluated()) {
        return false;
    }
    korvFaultsRun[number] = 1;
    return number == korvChosenFault;
}
