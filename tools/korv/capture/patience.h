#pragma once
// How long the tool looks on while the driver waits for a board that may never answer.

namespace CLI {
class App;
}

namespace korv {

// Stands around a command: within it a wait of the driver without end (host::SetPatience) writes
// what was recorded so far, prints one line on standard error and ends the program with
// kExitUnexpected.
class PatienceScope {
  public:
    PatienceScope();
    ~PatienceScope();
    PatienceScope(const PatienceScope&) = delete;
    PatienceScope& operator=(const PatienceScope&) = delete;

  private:
    const double before_;
};

// The option --patience, which holds for the scope around it.
void AddPatienceOption(CLI::App& command);

} // namespace korv
