#pragma once
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace korv {

// A folder of its own for one test, gone afterwards.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "korv-test-XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    std::string Path() const { return path_.string(); }
    size_t Files() const {
        return std::distance(std::filesystem::directory_iterator(path_),
                             std::filesystem::directory_iterator());
    }
    std::string Write(const std::string& name, const std::string& text) const {
        std::ofstream(path_ / name, std::ios::binary) << text;
        return *this / name;
    }

  private:
    std::filesystem::path path_;
};

inline std::string ReadAll(const std::string& path) {
    // By one read: event text is of megabytes. A file that is not there is empty.
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::string contents(file ? static_cast<size_t>(file.tellg()) : 0, '\0');
    file.seekg(0);
    file.read(contents.data(), static_cast<std::streamsize>(contents.size()));
    return contents;
}

} // namespace korv
