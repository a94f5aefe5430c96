#include "tools/korv/random/trial.h"

#include "host/ddraw/results.h"
#include "host/display/machine.h"
#include "host/driver_module.h"
#include "host/loader/dll_module.h"
#include "host/vdd/minivdd.h"
#include "host/win32/heap.h"
#include "tools/korv/base/crash_note.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/random/checks.h"
#include "tools/korv/random/port_model.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <malloc.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace korv::random {

namespace {

constexpr int kMostSeconds = 120; // of processor time, for one trial
constexpr char kMark = '\1';      // before what a trial says at its end

struct Road {
    const char* name;
    bool fifo;
    int subBuffers;
    bool dll;
};
// The first is the session's own.
constexpr Road kRoads[] = {
    {"as it says", false, 0, false},         {"through the FIFO", true, 0, false},
    {"with 2 sub-buffers", false, 2, false}, {"with 8 sub-buffers", false, 8, false},
    {"with the DLL", false, 0, true},
};

Trace PlayRoad(const Steps& steps, const HalScript& script, const Road& road,
               const TrialOptions& options) {
    PlayOptions how;
    how.displays = script.Displays();
    how.fifo = road.fifo;
    how.subBuffers = road.subBuffers;
    if (road.dll) {
        host::loader::UseDriverDll(options.dll);
    }
    Trace trace;
    {
        const CrashNote crashes;
        Player player(std::move(how));
        // Which stale owner of a surface a lock takes for a context goes by its address (Lock32).
        host::heap::ReuseInOrder();
        host::TheMiniVdd().ReuseInOrder();
        Checks checks(steps, options.illegal, &road == kRoads);
        script.Play(player, &checks);
        checks.End(player);
        trace = checks.Result();
    }
    return trace;
}

// Whether vertices hold infinities, numbers that are none, or what comes to them when multiplied.
bool HasNotNumbers(const Step& step) {
    const auto vertices = step.find("vertices");
    return vertices != step.end() && std::ranges::any_of(*vertices, [](const Step& vertex) {
               return std::ranges::any_of(vertex,
                                          [](const Step& part) { return part.is_string(); });
           });
}

// A road must lead where the first one led.
void Compare(const Steps& steps, const Trace& first, const Trace& other, const Road& road,
             bool illegal) {
    const std::string kind = fmt::format("differs {}", road.name);
    bool notNumbers = false; // have been given
    for (size_t i = 0; i < steps.size(); ++i) {
        const std::string step = steps[i].value("do", "");
        if (step == "display" && other.passedOver[i] && !first.passedOver[i]) {
            return; // a pace at which a DLL would wait for ever
        }
        // What a client is given are addresses, and buffers that nobody needs through the FIFO;
        // where the beam is, and what is done, is a matter of time.
        const bool answers = step != "export" && step != "call" && step != "scanLine" &&
                             step != "verticalBlank" && !step.ends_with("Status");
        if ((answers && first.results[i] != other.results[i]) ||
            first.passedOver[i] != other.passedOver[i]) {
            const auto show = [](const std::optional<uint32_t>& result) {
                return result ? host::ResultName(*result) : "nothing";
            };
            throw Violation(kind, i,
                            fmt::format("{}: the result is {} in place of {}", road.name,
                                        show(other.results[i]), show(first.results[i])));
        }
        if (road.dll && first.words[i] != other.words[i]) {
            throw Violation(kind, i, fmt::format("{}: other words or writes", road.name));
        }
        notNumbers = notNumbers || HasNotNumbers(steps[i]);
        // A blit with flags that are none takes addresses for pixels.
        const bool addresses = step == "blt" && steps[i].contains("flags");
        if (road.dll && !addresses &&
            !AlikeButForNaNs(first.broken[i], other.broken[i], notNumbers)) {
            throw Violation(kind, i, fmt::format("{}: other words", road.name));
        }
    }
    if (illegal) {
        return; // addresses as pixels, and what becomes of them
    }
    for (const auto& [context, words] : first.contextWords) {
        const auto found = other.contextWords.find(context);
        if (found == other.contextWords.end() || found->second != words) {
            throw Violation(
                kind, steps.size() - 1,
                fmt::format("{}: hardware context {} gets other words", road.name, context));
        }
    }
    for (const auto& [what, hash] : first.contents) {
        const auto found = other.contents.find(what);
        if (found == other.contents.end() || found->second != hash) {
            throw Violation(kind, steps.size() - 1,
                            fmt::format("{}: {} is another at the end", road.name, what));
        }
    }
}

void Say(const nlohmann::json& what) {
    const std::string text = kMark + what.dump();
    for (size_t done = 0; done < text.size();) {
        const ssize_t written = write(STDERR_FILENO, text.data() + done, text.size() - done);
        if (written <= 0) {
            return;
        }
        done += static_cast<size_t>(written);
    }
}

nlohmann::json Told(const Trace& trace) {
    nlohmann::json results = nlohmann::json::array(), passedOver = nlohmann::json::array();
    for (size_t i = 0; i < trace.results.size(); ++i) {
        results.push_back(trace.results[i] ? nlohmann::json(*trace.results[i]) : nlohmann::json());
        passedOver.push_back(static_cast<bool>(trace.passedOver[i]));
    }
    return {{"results", results}, {"passedOver", passedOver}};
}

// In the process of its own; what it says goes to standard error.
void PlayAll(const Steps& steps, const HalScript& script, const TrialOptions& options) {
    nlohmann::json said;
    size_t plays = 0;
    const bool dll = !options.dll.empty() && !UsesVideoPort(steps);
    try {
        Trace first;
        for (const Road& road : kRoads) {
            if ((road.dll && !dll) || (&road != kRoads && !options.allRoads && !road.dll)) {
                continue;
            }
            ++plays;
            const Trace trace = PlayRoad(steps, script, road, options);
            if (&road == kRoads) {
                first = trace;
                said = Told(first);
            } else if (!options.illegal || road.dll) {
                Compare(steps, first, trace, road, options.illegal);
            }
        }
    } catch (const Violation& violation) {
        said["kind"] = violation.kind;
        said["step"] = violation.step;
        said["text"] = violation.what();
    }
    said["plays"] = plays;
    Say(said);
}

// Step of "... step /steps/12 'blt' ..." in what a crash, an assertion or a wait printed.
size_t StepIn(const std::string& text) {
    const std::string before = "step /steps/";
    const size_t at = text.find(before);
    return at == std::string::npos ? 0
                                   : std::strtoul(text.c_str() + at + before.size(), nullptr, 10);
}

Finding Died(const std::string& text, int status) {
    std::string line = text.substr(0, text.find('\n'));
    std::string kind = "crash";
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGPROF) {
        kind = "hang";
        line = fmt::format("it takes more than {} seconds of processor time", kMostSeconds);
    } else if (WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) {
        kind = "abort";
    } else if (text.find("waits") != std::string::npos) {
        kind = "wait";
    }
    return {kind, StepIn(text), line.empty() ? fmt::format("it ended with {}", status) : line};
}

std::string ReadAllOf(int file) {
    std::string text;
    std::array<char, 4096> room;
    for (ssize_t got = 0; (got = read(file, room.data(), room.size())) != 0;) {
        if (got > 0) {
            text.append(room.data(), static_cast<size_t>(got));
        } else if (errno != EINTR) {
            break;
        }
    }
    return text;
}

} // namespace

bool AlikeButForNaNs(const std::vector<uint32_t>& first, const std::vector<uint32_t>& other,
                     bool notNumbers) {
    return std::ranges::equal(first, other, [&](uint32_t a, uint32_t b) {
        constexpr uint32_t kSign = 0x80000000, kInfinity = 0x7F800000;
        const bool ends = a == ~b && (a == kSign || b == kSign);
        const bool signs = (a ^ b) == kSign && (a & ~kSign) > kInfinity;
        return a == b || (notNumbers && (ends || signs));
    });
}

TrialResult Try(const Steps& steps, const TrialOptions& options) {
    const HalScript script("session", ScriptText("A random session", steps));
    int ends[2];
    if (pipe(ends) != 0) {
        throw UserError("no pipe to be had");
    }
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        close(ends[0]);
        close(ends[1]);
        throw UserError("no process to be had");
    }
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        // Not of the clock: what else the machine does is no hang.
        const itimerval limit{{}, {kMostSeconds, 0}};
        setitimer(ITIMER_PROF, &limit, nullptr);
        // Pictures of surfaces come and go with every other step: their pages stay.
        constexpr int kLargest = 64 << 20; // bytes
        mallopt(M_MMAP_THRESHOLD, kLargest);
        mallopt(M_TRIM_THRESHOLD, 2 * kLargest);
        try {
            PlayAll(steps, script, options);
        } catch (const std::exception& error) {
            Say({{"kind", "error"}, {"step", 0}, {"text", error.what()}});
        }
        _exit(0);
    }
    close(ends[1]);
    const std::string text = ReadAllOf(ends[0]);
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    TrialResult result;
    result.results.resize(steps.size());
    result.passedOver.resize(steps.size());
    const size_t mark = text.find(kMark);
    if (mark == std::string::npos) {
        result.finding = Died(text, status);
        return result;
    }
    const auto said = nlohmann::json::parse(text.substr(mark + 1));
    result.plays = said.value("plays", size_t{0});
    if (said.contains("kind")) {
        result.finding = Finding{said["kind"], said["step"], said["text"]};
    }
    if (said.contains("results")) {
        for (size_t i = 0; i < steps.size(); ++i) {
            if (!said["results"][i].is_null()) {
                result.results[i] = said["results"][i].get<uint32_t>();
            }
            result.passedOver[i] = said["passedOver"][i];
        }
    }
    return result;
}

Steps Kept(const Steps& steps, const TrialResult& result) {
    Steps kept;
    for (size_t i = 0; i < steps.size(); ++i) {
        if (result.passedOver[i]) {
            continue;
        }
        kept.push_back(steps[i]);
        const std::string kind = steps[i].value("do", "");
        if (result.results[i].value_or(0) != 0 && kind != "export" && kind != "call") {
            kept.back()["expect"]["result"] = host::ResultName(*result.results[i]);
        }
    }
    return kept;
}

} // namespace korv::random
