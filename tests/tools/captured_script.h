#pragma once
// A script's capture and its raw words, made once for all tests of a suite.
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace korv {

// Of scenes/triangles-tx.json.
class CapturedTriangles : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        folder_ = std::make_unique<TemporaryFolder>();
        ASSERT_EQ(RunTool({"replay", ScenePath("triangles-tx"), "--capture", Capture(), "--words",
                           Words()})
                      .code,
                  0);
    }
    static void TearDownTestSuite() { folder_.reset(); }
    static std::string Capture() { return *folder_ / "c.korv"; }
    static std::string Words() { return *folder_ / "words"; }

    static inline std::unique_ptr<TemporaryFolder> folder_;
};

} // namespace korv
