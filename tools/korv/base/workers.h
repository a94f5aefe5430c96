#pragma once
// Work on every processor of the machine, in processes: driver and host are one a process.
#include <cstddef>
#include <functional>
#include <string>

namespace korv {

// Does the tasks 0 to `count` - 1, each once, in up to `processes` processes made from this one,
// and hands what each task returns to `take`, in this process and in the order of the tasks. With
// one process, or one task, all is done here.
//
// Throws what the first of the tasks that failed threw: UserError and its like with its line,
// anything else as std::runtime_error. No task is begun after one has failed; `take` has seen those
// before it. A worker that dies has told why: ExitStatus, with the code that it left or 128 and the
// signal.
//
// What a task changes in memory is lost. Neither threads nor open output files may be there when
// this is called.
void DoInWorkers(size_t count, size_t processes, const std::function<std::string(size_t)>& task,
                 const std::function<void(size_t, const std::string&)>& take);

// Processors that this process may use, at least 1.
size_t ProcessorCount();

} // namespace korv
