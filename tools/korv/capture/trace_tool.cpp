#include "tools/korv/capture/trace_tool.h"

#include "host/win32/shared/shared_object.h"
#include "host/win32/shared/shared_objects.h"
#include "host/win32/sync.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/text.h"
#include "tools/korv/capture/trace_client.h"
#include "tools/korv/capture/trace_listing.h"
#include "tools/korv/capture/trace_process.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace korv::trace {

namespace {

// How long a wait goes on before it looks whether signals came or the traced program ended.
constexpr int kSlice = 10; // milliseconds

// The five shared objects, for as long as the tool runs.
class Objects {
  public:
    Objects() {
        // The traced command is another process, forked from this one.
        host::UseNamedObjects(host::SharedObjects());
        host::SharedObject::RemoveStale();
        try {
            for (const char* name : {kLeave, kReport, kAsk}) {
                host::CreateNamedSemaphore(name, 0);
            }
            record =
                static_cast<DMATraceRecord*>(host::CreateNamedMapping(kRecord, sizeof *record));
            log = static_cast<WordLog*>(host::CreateNamedMapping(kWords, sizeof *log));
        } catch (const std::runtime_error& error) {
            Remove();
            throw UserError(error.what());
        }
        record->Active = 1;
    }
    ~Objects() { Remove(); }
    Objects(const Objects&) = delete;
    Objects& operator=(const Objects&) = delete;

    volatile DMATraceRecord* record;
    WordLog* log;

  private:
    static void Remove() {
        for (const char* name : {kLeave, kReport, kAsk, kRecord, kWords}) {
            host::RemoveNamedObject(name);
        }
        host::UseNamedObjects(host::InProcessObjects());
    }
};

enum class Event { Signalled, Ended, Interrupted };
enum class Answer { Next, RunOn, Quit };

class Tool {
  public:
    Tool(const Options& options, const std::function<int()>& program, std::ostream& listing,
         std::ostream& err)
        : options_(options), err_(err), listing_(*objects_.log, listing), child_([&] {
              const Client client;
              return program();
          }) {}

    int Run() {
        const bool interrupted = Follow() == Event::Interrupted || Finish() == Event::Interrupted;
        if (!interrupted && objects_.record->Active != 0) {
            listing_.Rest();
        }
        const uint32_t batches = listing_.Batches();
        fmt::print(err_, "korv: {} {}, {} traced\n", batches, batches == 1 ? "batch" : "batches",
                   Count(listing_.Words(), "word"));
        if (interrupted) {
            return 128 + SignalWatch::Caught();
        }
        if (child_.Signal() != 0) {
            fmt::print(err_, "korv: the traced program was ended by signal {} ({})\n",
                       child_.Signal(), strsignal(child_.Signal()));
        }
        return child_.ExitCode();
    }

  private:
    // Leads the program from batch to batch, as long as this tool listens.
    Event Follow() {
        bool asking = options_.step;
        while (objects_.record->Active != 0) {
            if (const Event event = Await(kAsk); event != Event::Signalled) {
                return event;
            }
            const Answer answer = asking ? Ask() : Answer::Next;
            asking = asking && answer != Answer::RunOn;
            if (SignalWatch::Caught() != 0) {
                return Event::Interrupted;
            }
            if (answer == Answer::Quit) {
                StopListening();
                break;
            }
            if (const Event event = LetBatchGo(); event != Event::Signalled) {
                return event;
            }
            listing_.Batch();
            if (listing_.Batches() == options_.limit) {
                StopListening();
            }
        }
        return Event::Signalled;
    }

    Event LetBatchGo() {
        const uint32_t reports = objects_.log->reports;
        host::SignalSemaphore(kLeave);
        Event event;
        do {
            // The end of a context wakes us as well, without a report.
            event = Await(kReport);
        } while (event == Event::Signalled && objects_.log->reports == reports);
        return event;
    }

    // The batch that waits for leave, and one that may have looked at Active just before, go.
    void StopListening() {
        objects_.record->Active = 0;
        host::SignalSemaphore(kLeave);
    }

    Event Finish() {
        while (!child_.Ended()) {
            if (SignalWatch::Caught() != 0) {
                return Event::Interrupted;
            }
            poll(nullptr, 0, kSlice);
        }
        return Event::Ended;
    }

    Event Await(const char* semaphore) {
        while (SignalWatch::Caught() == 0) {
            if (host::AwaitSemaphore(semaphore, kSlice)) {
                return Event::Signalled;
            }
            if (child_.Ended()) {
                return Event::Ended;
            }
        }
        return Event::Interrupted;
    }

    Answer Ask() {
        while (true) {
            fmt::print(err_, "batch {} waits. Enter: next, r: run on, q: quit > ",
                       listing_.Batches() + 1);
            err_.flush();
            const std::optional<std::string> line = ReadLine();
            if (!line || *line == "q") {
                return Answer::Quit;
            }
            if (line->empty()) {
                return Answer::Next;
            }
            if (*line == "r") {
                return Answer::RunOn;
            }
            fmt::print(err_, "'{}' is none of these\n", *line);
        }
    }

    // None at the end of the input, when a signal comes, and when the traced program has ended.
    std::optional<std::string> ReadLine() {
        std::string line;
        while (SignalWatch::Caught() == 0 && !child_.Ended()) {
            pollfd input{STDIN_FILENO, POLLIN, 0};
            if (poll(&input, 1, kSlice) <= 0) {
                continue;
            }
            char c;
            if (read(STDIN_FILENO, &c, 1) != 1) {
                return {};
            }
            if (c == '\n') {
                return line;
            }
            line += c;
        }
        return {};
    }

    const Options options_;
    std::ostream& err_;
    Objects objects_;
    Listing listing_;
    SignalWatch signals_;
    ChildProcess child_;
};

} // namespace

int Run(const Options& options, const std::function<int()>& program, std::ostream& listing,
        std::ostream& err) {
    listing.flush();
    err.flush();
    return Tool(options, program, listing, err).Run();
}

} // namespace korv::trace
