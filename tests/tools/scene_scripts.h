#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace korv {

// scenes/ of the project's own tree, wherever the tests run.
inline std::filesystem::path ScenesFolder() {
    return std::filesystem::path(KORV_PROJECT) / "scenes";
}

// Names of the HAL scripts there, without ending. Data that scripts read lies in folders.
inline std::vector<std::string> SceneScripts() {
    std::vector<std::string> scripts;
    for (const auto& entry : std::filesystem::directory_iterator(ScenesFolder())) {
        if (entry.path().extension() == ".json") {
            scripts.push_back(entry.path().stem().string());
        }
    }
    std::ranges::sort(scripts);
    return scripts;
}

inline std::string ScenePath(const std::string& script) {
    return (ScenesFolder() / (script + ".json")).string();
}

inline std::string SceneTestName(const testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    std::ranges::replace(name, '-', '_');
    return name;
}

} // namespace korv
