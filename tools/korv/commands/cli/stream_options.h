#pragma once
// What every command that reads a stream can be told, and how it opens it.
#include "stream/error.h"
#include "stream/source.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/commands/cli/raw_board.h"

#include <fstream>
#include <memory>
#include <string>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace korv {

struct Console;

struct StreamArguments {
    std::string file;
    std::string chip; // of raw words
};

// FILE and --chip.
void AddStreamArguments(CLI::App& command, StreamArguments& arguments);

// An option whose value is a place; UsageError for any other. `place` keeps what it holds unless
// the option is given.
CLI::Option* AddPlaceOption(CLI::App& command, const std::string& name, stream::Place& place,
                            const std::string& about);

// An open stream.
class StreamInput {
  public:
    // UserError for a file that cannot be read or holds no stream.
    explicit StreamInput(const StreamArguments& arguments);
    stream::Source& Source() { return *source_; }

    // Does something with the stream: what is wrong with the stream is a UserError with the file's
    // name.
    template <class Work>
    auto Run(Work work) {
        try {
            return work();
        } catch (const stream::StreamError& error) {
            Fail(error.what());
        }
    }
    // A line if the end of the stream was missing. For the end of a command.
    void WarnOfCut(Console& console) const;

  private:
    [[noreturn]] void Fail(const std::string& what) const;

    std::string name_;
    std::ifstream file_;
    std::unique_ptr<stream::Source> source_;
};

} // namespace korv
