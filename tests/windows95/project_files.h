#pragma once
// Files of the project's own tree.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace test {

inline const std::filesystem::path kProject = KORV_PROJECT;

// The whole file.
inline std::string Read(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace test
