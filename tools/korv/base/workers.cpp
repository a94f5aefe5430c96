#include "tools/korv/base/workers.h"

#include "tools/korv/base/errors.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace korv {

namespace {

enum class Outcome : uint32_t { Result, User, Usage, Unexpected, Other };

// How a task ended: its result, or what it threw.
struct Ending {
    Outcome outcome;
    std::string text;

    // Throws it, if the task threw.
    void Check() const {
        switch (outcome) {
        case Outcome::Result:
            return;
        case Outcome::User:
            throw UserError(text);
        case Outcome::Usage:
            throw UsageError(text);
        case Outcome::Unexpected:
            throw UnexpectedError(text);
        case Outcome::Other:
            throw std::runtime_error(text);
        }
    }
};

Ending Done(const std::function<std::string(size_t)>& task, size_t index) {
    try {
        return {Outcome::Result, task(index)};
    } catch (const UsageError& error) {
        return {Outcome::Usage, error.what()};
    } catch (const UserError& error) {
        return {Outcome::User, error.what()};
    } catch (const UnexpectedError& error) {
        return {Outcome::Unexpected, error.what()};
    } catch (const std::exception& error) {
        return {Outcome::Other, error.what()};
    }
}

// What stands before each ending's text on the way from a worker.
struct Heading {
    uint32_t task;
    Outcome outcome;
    uint32_t bytes;
};

bool WriteAll(int descriptor, const void* data, size_t bytes) {
    const char* next = static_cast<const char*>(data);
    while (bytes != 0) {
        const ssize_t written = write(descriptor, next, bytes);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        if (written > 0) {
            next += written;
            bytes -= static_cast<size_t>(written);
        }
    }
    return true;
}

// The number of the next task, shared by the workers.
class TaskCounter {
  public:
    explicit TaskCounter(size_t count) : count_(count) {
        void* page = mmap(nullptr, sizeof(std::atomic<size_t>), PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (page == MAP_FAILED) {
            throw std::bad_alloc();
        }
        next_ = new (page) std::atomic<size_t>(0);
    }
    ~TaskCounter() { munmap(next_, sizeof *next_); }
    TaskCounter(const TaskCounter&) = delete;
    TaskCounter& operator=(const TaskCounter&) = delete;

    std::optional<size_t> Take() {
        const size_t task = next_->fetch_add(1);
        return task < count_ ? std::optional(task) : std::nullopt;
    }
    void Stop() { next_->store(count_); }

  private:
    std::atomic<size_t>* next_;
    size_t count_;
};

// A process that takes tasks until there are none, and the pipe on which it tells how they ended.
class Worker {
  public:
    Worker(TaskCounter& tasks, const std::function<std::string(size_t)>& task) {
        int ends[2];
        if (pipe(ends) != 0) {
            throw UserError(std::string("no worker can be started: ") + std::strerror(errno));
        }
        process_ = fork();
        if (process_ == 0) {
            close(ends[0]);
            Work(tasks, task, ends[1]);
            // Nothing of the parent's is to be ended here.
            _exit(0);
        }
        close(ends[1]);
        input_ = ends[0];
        if (process_ < 0) {
            close(input_);
            throw UserError(std::string("no worker can be started: ") + std::strerror(errno));
        }
    }
    ~Worker() {
        close(input_);
        Wait();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // To poll. Negative, which poll leaves out, when the worker has told all.
    int Input() const { return ended_ ? -1 : input_; }

    // Reads what is there and hands whole endings to `take`.
    template <typename Take>
    void Read(Take take) {
        char buffer[1 << 16];
        const ssize_t bytes = read(input_, buffer, sizeof buffer);
        if (bytes < 0 && errno == EINTR) {
            return;
        }
        if (bytes <= 0) {
            ended_ = true;
            return;
        }
        unread_.append(buffer, static_cast<size_t>(bytes));
        Heading heading;
        while (unread_.size() >= sizeof heading) {
            std::memcpy(&heading, unread_.data(), sizeof heading);
            if (unread_.size() < sizeof heading + heading.bytes) {
                return;
            }
            take(heading.task,
                 Ending{heading.outcome, unread_.substr(sizeof heading, heading.bytes)});
            unread_.erase(0, sizeof heading + heading.bytes);
        }
    }

    // The exit status as a shell tells it.
    int Wait() {
        if (process_ > 0) {
            int status = 0;
            while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
            }
            process_ = 0;
            exit_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        }
        return exit_;
    }

  private:
    static void Work(TaskCounter& tasks, const std::function<std::string(size_t)>& task,
                     int output) {
        while (const std::optional<size_t> index = tasks.Take()) {
            const Ending ending = Done(task, *index);
            if (ending.outcome != Outcome::Result) {
                tasks.Stop();
            }
            const Heading heading{static_cast<uint32_t>(*index), ending.outcome,
                                  static_cast<uint32_t>(ending.text.size())};
            if (!WriteAll(output, &heading, sizeof heading) ||
                !WriteAll(output, ending.text.data(), ending.text.size())) {
                return;
            }
        }
    }

    pid_t process_;
    int input_;
    int exit_ = 0;
    bool ended_ = false;
    std::string unread_;
};

} // namespace

size_t ProcessorCount() {
    return std::max(1u, std::thread::hardware_concurrency());
}

void DoInWorkers(size_t count, size_t processes, const std::function<std::string(size_t)>& task,
                 const std::function<void(size_t, const std::string&)>& take) {
    processes = std::min(processes, count);
    if (processes <= 1) {
        for (size_t i = 0; i < count; ++i) {
            take(i, task(i));
        }
        return;
    }
    // A worker ends without writing what it finds in them.
    std::cout.flush();
    std::cerr.flush();
    TaskCounter tasks(count);
    std::vector<std::unique_ptr<Worker>> workers;
    for (size_t i = 0; i < processes; ++i) {
        workers.push_back(std::make_unique<Worker>(tasks, task));
    }
    std::map<size_t, Ending> endings; // that wait for those before them
    size_t next = 0;
    const auto hand = [&](size_t index, Ending ending) {
        endings.emplace(index, std::move(ending));
        for (auto first = endings.find(next); first != endings.end(); first = endings.find(next)) {
            first->second.Check();
            take(next++, first->second.text);
            endings.erase(first);
        }
    };
    try {
        std::vector<pollfd> inputs(workers.size());
        while (true) {
            for (size_t i = 0; i < workers.size(); ++i) {
                inputs[i] = {workers[i]->Input(), POLLIN, 0};
            }
            if (std::ranges::all_of(inputs, [](const pollfd& input) { return input.fd < 0; })) {
                break;
            }
            poll(inputs.data(), inputs.size(), -1);
            for (size_t i = 0; i < workers.size(); ++i) {
                if (inputs[i].revents != 0) {
                    workers[i]->Read(hand);
                    if (workers[i]->Input() < 0 && workers[i]->Wait() != 0) {
                        throw ExitStatus{workers[i]->Wait()};
                    }
                }
            }
        }
    } catch (...) {
        // The others end with the task that they are at.
        tasks.Stop();
        throw;
    }
}

} // namespace korv
