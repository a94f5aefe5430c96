// demo.sh and test.sh on machines that are not this one: the programs that they call are stand-ins
// that write down what they are asked.
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sys/wait.h>

namespace korv {
namespace {

namespace fs = std::filesystem;

class SetUpScripts : public testing::Test {
  protected:
    SetUpScripts() {
        fs::create_directory(folder_ / "bin");
        for (const char* tool : {"bash", "cat", "dirname", "env", "grep", "mkdir", "sed"}) {
            for (const char* place : {"/usr/bin/", "/bin/"}) {
                if (fs::exists(std::string(place) + tool)) {
                    fs::create_symlink(std::string(place) + tool, folder_ / "bin/" + tool);
                    break;
                }
            }
        }
        Stand("dpkg-query", "exit 1");
        Stand("id", "echo 1000");
        Stand("cmake", "echo \"cmake $*\" >>\"$LOG\"; case $1 in --build) echo "
                       "'ninja: no work to do.';; esac");
    }

    // Puts a program of that name on the scripts' path.
    void Stand(const std::string& name, const std::string& body) {
        const std::string path =
            folder_.Write("bin/" + name, "#!/usr/bin/env bash\n" + body + "\n");
        fs::permissions(path, fs::perms::owner_all);
    }

    // The tool as a build would leave it.
    void StandTool(const std::string& builds) {
        fs::create_directories(builds + "/hosted/tools/korv");
        const std::string path = builds + "/hosted/tools/korv/korv";
        std::ofstream(path) << "#!/usr/bin/env bash\necho \"korv $*\"\n";
        fs::permissions(path, fs::perms::owner_all);
    }

    struct Result {
        int code;
        std::string text;
    };
    Result Run(const std::string& script, const std::string& variables = "") const {
        const std::string command = "cd '" + folder_.Path() + "' && env -i PATH='" +
                                    folder_.Path() + "/bin' LOG='" + folder_.Path() + "/log' " +
                                    variables + " '" + ScenesFolder().parent_path().string() +
                                    "'/" + script + " 2>&1";
        FILE* pipe = popen(command.c_str(), "r");
        std::string text;
        for (int c; (c = fgetc(pipe)) != EOF;) {
            text += static_cast<char>(c);
        }
        const int status = pclose(pipe);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
    }

    std::string Log() const { return ReadAll(folder_ / "log"); }

    TemporaryFolder folder_;
};

TEST_F(SetUpScripts, WithoutRootTheyPrintTheAdministratorsCommand) {
    for (const char* script : {"demo.sh", "test.sh"}) {
        const Result result = Run(script, "KORV_BUILD=b");
        EXPECT_EQ(result.code, 2) << result.text;
        const size_t at = result.text.find("\napt-get update && apt-get install -y ");
        ASSERT_NE(at, std::string::npos) << result.text;
        const std::string line =
            result.text.substr(at + 1, result.text.find('\n', at + 1) - at - 1);
        EXPECT_NE(line.find(" ninja-build"), std::string::npos) << line;
        EXPECT_EQ(line.find(" googletest") != std::string::npos, script == std::string("test.sh"));
        EXPECT_EQ(Log(), "");
        EXPECT_FALSE(fs::exists(folder_ / "b"));
    }
}

TEST_F(SetUpScripts, AsRootTheyTellWhatIsInstalledAndHowMuch) {
    Stand("id", "echo 0");
    Stand("apt-get", R"(echo "apt-get $*" >>"$LOG"
case "$*" in
*--assume-no*)
  echo 'Need to get 12.3 MB of archives.'
  echo 'After this operation, 45.6 MB of additional disk space will be used.'
  exit 1 ;;
*' -y '*)
  echo 'Get:1 http://deb.example bookworm/main amd64 cmake amd64 3.25 [8 MB]'
  echo 'Preconfiguring packages ...'
  echo 'Setting up cmake (3.25) ...' ;;
esac)");
    const std::string builds = folder_ / "b";
    StandTool(builds);
    const Result result = Run("demo.sh", "KORV_BUILD=b");
    EXPECT_EQ(result.code, 0) << result.text;
    for (const char* line :
         {"Missing packages: cmake g++ ", "  Need to get 12.3 MB of archives.\n",
          "  After this operation, 45.6 MB ", "  fetching cmake\n", "  installed cmake\n"}) {
        EXPECT_NE(result.text.find(line), std::string::npos) << line << result.text;
    }
    EXPECT_EQ(result.text.find("Preconfiguring"), std::string::npos) << result.text;
    EXPECT_NE(Log().find("apt-get update -qq\n"), std::string::npos) << Log();
}

TEST_F(SetUpScripts, AFailedInstallationEndsThem) {
    Stand("id", "echo 0");
    Stand("apt-get", "case \"$*\" in *' -y '*) echo 'E: no such package'; exit 100;; esac");
    const Result result = Run("demo.sh", "KORV_BUILD=b");
    EXPECT_EQ(result.code, 2);
    EXPECT_NE(result.text.find("E: no such package\n"), std::string::npos) << result.text;
    EXPECT_EQ(Log(), "");
}

TEST_F(SetUpScripts, DemoBuildsElsewhereAndSaysThatNothingWasToBeDone) {
    Stand("dpkg-query", "echo 'install ok installed'");
    const std::string builds = folder_ / "else";
    StandTool(builds);
    const Result first = Run("demo.sh --scene knot", "KORV_BUILD=else");
    EXPECT_EQ(first.code, 0) << first.text;
    EXPECT_NE(Log().find("cmake --preset hosted -B " + builds + "/hosted -DBUILD_TESTING=OFF\n"),
              std::string::npos)
        << Log();
    EXPECT_TRUE(first.text.ends_with("The tool: up to date\nkorv demo -o " + builds +
                                     "/pictures --scene knot\n"))
        << first.text;
    EXPECT_TRUE(Run("demo.sh -o mine", "KORV_BUILD=else").text.ends_with("korv demo -o mine\n"));
}

TEST_F(SetUpScripts, ABuildThatFailsEndsThem) {
    Stand("dpkg-query", "echo 'install ok installed'");
    Stand("cmake", "case $1 in --build) echo '[1/9] Building'; echo 'x.cpp:1: error: bad'; echo "
                   "'ninja: build stopped: subcommand failed.'; exit 1;; esac");
    StandTool(folder_ / "b");
    const Result result = Run("demo.sh", "KORV_BUILD=b");
    EXPECT_EQ(result.code, 1) << result.text;
    EXPECT_NE(result.text.find("x.cpp:1: error: bad\n"), std::string::npos) << result.text;
    EXPECT_NE(result.text.find("The tool: not built\n"), std::string::npos) << result.text;
    EXPECT_EQ(result.text.find("korv demo"), std::string::npos) << result.text;
}

TEST_F(SetUpScripts, TestBuildsBothSidesElsewhere) {
    Stand("dpkg-query", "echo 'install ok installed'");
    Stand("ctest", "echo \"ctest $*\"");
    const Result result = Run("test.sh --asan -R Demo", "KORV_BUILD='" + (folder_ / "b") + "'");
    EXPECT_EQ(result.code, 0) << result.text;
    const std::string builds = folder_ / "b";
    EXPECT_EQ(Log(), "cmake --preset windows95 -B " + builds + "/windows95\ncmake --build " +
                         builds + "/windows95\ncmake --preset hosted-asan -B " + builds +
                         "/hosted-asan -DBUILD_TESTING=ON\ncmake --build " + builds +
                         "/hosted-asan\n");
    EXPECT_NE(result.text.find("ctest --test-dir " + builds +
                               "/hosted-asan --output-on-failure -j2 -R Demo\n"),
              std::string::npos)
        << result.text;
}

TEST_F(SetUpScripts, AllMeansAMillionTrianglesAndTheConversionsInBothFloatingPointBuildsToo) {
    Stand("dpkg-query", "echo 'install ok installed'");
    Stand("ctest", "echo \"ctest $*\" >>\"$LOG\"");
    const std::string builds = folder_ / "b";
    for (const std::string preset : {"hosted", "hosted-asan"}) {
        fs::create_directories(builds + "/" + preset + "/tests");
        const std::string path = builds + "/" + preset + "/tests/test_loader";
        std::ofstream(path)
            << "#!/usr/bin/env bash\necho \"$KORV_MEMBER_TRIANGLES $*\" >>\"$LOG\"\n";
        fs::permissions(path, fs::perms::owner_all);
    }
    std::string expected = "1000000 --gtest_filter=AllMembers/*\n";
    for (const std::string preset : {"hosted", "hosted-x87"}) {
        fs::create_directories(builds + "/" + preset + "/tests");
        const std::string path = builds + "/" + preset + "/tests/exhaustive_conversions";
        std::ofstream(path) << "#!/usr/bin/env bash\necho " << preset << " >>\"$LOG\"\n[ ! -e \""
                            << builds << "/fail-" << preset << "\" ]\n";
        fs::permissions(path, fs::perms::owner_all);
        expected += "cmake --preset " + preset + " -B " + builds + "/" + preset +
                    " -DBUILD_TESTING=ON\ncmake --build " + builds + "/" + preset +
                    " --target exhaustive_conversions\n" + preset + "\n";
    }
    EXPECT_EQ(Run("test.sh --all -R Demo", "KORV_BUILD=b").code, 0);
    const size_t at = Log().find("ctest --test-dir " + builds + "/hosted ");
    ASSERT_NE(at, std::string::npos) << Log();
    EXPECT_EQ(Log().substr(Log().find('\n', at) + 1), expected);
    EXPECT_TRUE(Log().substr(at).find(" -R Demo\n") != std::string::npos) << Log();

    folder_.Write("b/fail-hosted-x87", "");
    EXPECT_EQ(Run("test.sh --asan --all", "KORV_BUILD=b").code, 1);
    EXPECT_NE(Log().find("ctest --test-dir " + builds + "/hosted-asan "), std::string::npos);

    Stand("ctest", "exit 8");
    folder_.Write("log", "");
    EXPECT_EQ(Run("test.sh --all", "KORV_BUILD=b").code, 8);
    EXPECT_EQ(Log().find("exhaustive_conversions"), std::string::npos) << "tests come first";
}

TEST_F(SetUpScripts, AFolderThatCannotBeWrittenIsNamed) {
    Stand("dpkg-query", "echo 'install ok installed'");
    folder_.Write("file", "");
    const Result result = Run("demo.sh", "KORV_BUILD=file/b");
    EXPECT_EQ(result.code, 2) << result.text;
    EXPECT_NE(result.text.find("'" + (folder_ / "file/b") +
                               "' cannot be written; KORV_BUILD=DIR names another folder"),
              std::string::npos)
        << result.text;
}

TEST_F(SetUpScripts, HelpDoesNothing) {
    for (const char* script : {"demo.sh --help", "test.sh --help"}) {
        const Result result = Run(script, "KORV_BUILD=b");
        EXPECT_EQ(result.code, 0);
        EXPECT_TRUE(result.text.starts_with("Usage: ./")) << result.text;
        EXPECT_NE(result.text.find("KORV_BUILD=DIR"), std::string::npos);
    }
    EXPECT_EQ(Log(), "");
}

} // namespace
} // namespace korv
