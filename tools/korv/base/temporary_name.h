#pragma once
#include <string>

namespace korv {

// The name of a temporary file of this process. The file goes away with this object, and when
// SIGINT, SIGTERM or SIGHUP ends the process.
class TemporaryName {
  public:
    explicit TemporaryName(std::string path);
    ~TemporaryName();
    TemporaryName(const TemporaryName&) = delete;
    TemporaryName& operator=(const TemporaryName&) = delete;

    const std::string& Path() const { return path_; }
    // The file has got another name.
    void Renamed();

  private:
    std::string path_;
    int slot_ = -1;
};

// Removes all of this process's temporary files at once. May be called by signal handlers, before
// the process ends.
void RemoveTemporaryFiles();

} // namespace korv
