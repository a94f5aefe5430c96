#include "tools/korv/base/errors.h"
#include "tools/korv/base/packing.h"
#include "tools/korv/base/workers.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <unistd.h>

namespace korv {
namespace {

std::string Square(size_t task) {
    return std::to_string(task * task);
}

TEST(Workers, HandOverEveryResultInTheOrderOfTheTasks) {
    for (const size_t processes : {1, 2, 5, 200}) {
        std::vector<size_t> order;
        DoInWorkers(100, processes, Square, [&](size_t task, const std::string& result) {
            EXPECT_EQ(result, std::to_string(task * task));
            order.push_back(task);
        });
        ASSERT_EQ(order.size(), 100u);
        EXPECT_TRUE(std::ranges::is_sorted(order)) << processes;
    }
}

TEST(Workers, WithNothingToDoDoNothing) {
    DoInWorkers(0, 4, Square, [](size_t, const std::string&) { ADD_FAILURE(); });
}

// Longer than a pipe holds.
TEST(Workers, HandOverLargeResults) {
    size_t bytes = 0;
    DoInWorkers(
        6, 3,
        [](size_t task) { return std::string(3'000'000 + task, static_cast<char>('a' + task)); },
        [&](size_t task, const std::string& result) {
            EXPECT_EQ(result, std::string(3'000'000 + task, static_cast<char>('a' + task)));
            bytes += result.size();
        });
    EXPECT_EQ(bytes, 18'000'015u);
}

TEST(Workers, AreProcessesOfTheirOwn) {
    const pid_t parent = getpid();
    DoInWorkers(
        4, 2, [](size_t) { return std::to_string(getpid()); },
        [&](size_t, const std::string& result) { EXPECT_NE(result, std::to_string(parent)); });
    DoInWorkers(
        4, 1, [](size_t) { return std::to_string(getpid()); },
        [&](size_t, const std::string& result) { EXPECT_EQ(result, std::to_string(parent)); });
}

// Tasks 20 and 21 fail, in whatever order they come to it.
TEST(Workers, TellTheFirstTaskThatFailedAndTakeThoseBeforeIt) {
    for (const size_t processes : {1, 2, 7}) {
        size_t taken = 0;
        try {
            DoInWorkers(
                1000, processes,
                [](size_t task) -> std::string {
                    if (task >= 20) {
                        throw UserError("task " + std::to_string(task));
                    }
                    return "";
                },
                [&](size_t, const std::string&) { ++taken; });
            ADD_FAILURE() << "nothing was thrown";
        } catch (const UserError& error) {
            EXPECT_STREQ(error.what(), "task 20");
        }
        EXPECT_EQ(taken, 20u);
    }
}

template <typename Error>
void ExpectThrown(const Error& error) {
    EXPECT_THROW(
        DoInWorkers(
            2, 2, [&](size_t) -> std::string { throw error; }, [](size_t, const std::string&) {}),
        Error);
}

TEST(Workers, ThrowWhatTheTaskThrew) {
    ExpectThrown(UserError("a"));
    ExpectThrown(UsageError("b"));
    ExpectThrown(UnexpectedError("c"));
    ExpectThrown(std::runtime_error("d"));
}

int StatusOfADeath(void (*die)()) {
    try {
        DoInWorkers(
            10, 2,
            [&](size_t task) -> std::string {
                if (task == 3) {
                    die();
                }
                return "";
            },
            [](size_t, const std::string&) {});
    } catch (const ExitStatus& status) {
        return status.code;
    }
    return -1;
}

TEST(Workers, TellADeathByItsStatus) {
    EXPECT_EQ(StatusOfADeath([] { _exit(5); }), 5);
    EXPECT_EQ(StatusOfADeath([] { raise(SIGKILL); }), 128 + SIGKILL);
}

TEST(Packing, ComesBackAsItWas) {
    Packer out;
    out.Put(7u);
    out.Put(std::string("a\0b", 3));
    out.Put(std::vector<uint8_t>{});
    out.Put(std::vector<std::string>{"", "x"});
    const std::string packed = out.Take();
    Unpacker in(packed);
    uint32_t number = 0;
    std::string text;
    std::vector<uint8_t> bytes{1};
    std::vector<std::string> texts;
    in.Get(number);
    in.Get(text);
    in.Get(bytes);
    in.Get(texts);
    EXPECT_EQ(number, 7u);
    EXPECT_EQ(text, std::string("a\0b", 3));
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(texts, (std::vector<std::string>{"", "x"}));
}

} // namespace
} // namespace korv
