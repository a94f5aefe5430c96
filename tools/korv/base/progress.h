#pragma once
#include <chrono>
#include <ostream>
#include <string_view>

namespace korv {

// A progress bar on a terminal for work that takes longer than a second; nothing elsewhere.
class Progress {
  public:
    // The bar shows if `err` is the process's stderr and that is a terminal.
    Progress(std::ostream& err, size_t steps);
    ~Progress(); // wipes the bar
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // The next step begins; `what` is shown beside the bar.
    void Begin(std::string_view what);
    // The work is done to this part, 0 to 1, and goes on with `what`.
    void At(double part, std::string_view what);
    // Wipes the bar, so that a line can be written; the next step shows it again.
    void Wipe();

  private:
    void Show(double part, std::string_view beside);

    std::ostream& err_;
    size_t steps_, begun_ = 0;
    bool terminal_, shown_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now(),
                                          latest_ = start_;
};

} // namespace korv
