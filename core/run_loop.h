// A dispatch queue that is run by the thread that calls `Run`: a program's main queue. An
// application that wants signals and the end of the process seen to as well takes
// media::Application (media/application/application.h), which has one.
//
//   auto loop = std::make_shared<core::RunLoop>();
//   core::SetMainQueue(loop);
//   loop->Post(...);
//   loop->Run();  // until a task, or another thread, calls loop->Quit()
//   core::SetMainQueue(nullptr);

#ifndef MOVRA_CORE_RUN_LOOP_H_
#define MOVRA_CORE_RUN_LOOP_H_

#include <chrono>
#include <utility>

#include "core/dispatch_queue.h"
#include "core/task_loop.h"

namespace core {

// Before the first run, and between two:
//
// - Every operation may be called, of any thread. What is posted waits and is run first, in its
//   order; the delay of a delayed task counts from the call, so it may be due when the run begins.
//   A `Quit` is not lost: the run that follows returns at once.
// - The loop is current on no thread. The thread that is going to run it may all the same do what
//   belongs to the main queue, such as making a producer and starting it, while no other thread
//   runs the loop: nothing else touches that state then. Events and callbacks are posted meanwhile,
//   and come with the run.
// - The same holds behind the last run, for taking things down. What is posted from then on is run
//   by nobody; `RunUntilIdle` runs it.
class RunLoop : public DispatchQueue {
 public:
  // Runs tasks, waiting for more, until `Quit`. The tasks that are left then stay posted for
  // another run and are destroyed with the loop. At most one thread runs a loop at a time, and no
  // task runs the loop that it is a task of.
  //
  // What a task throws leaves the run, for the program to judge: the task is gone, the loop is
  // current no more, and the next run goes on with the task behind it.
  void Run() { loop_.Run(); }

  // Runs the tasks that are due, and those that they post, without waiting for more; returns early
  // at a `Quit`. For the end of a program, when what its components posted last is still to run.
  void RunUntilIdle() { loop_.RunUntilIdle(); }

  // Makes the run return when the task in progress has ended. One that comes while nothing runs
  // makes the next run return at once. Any thread; not from a signal handler.
  void Quit() { loop_.Quit(); }

  // DispatchQueue. Current is the thread that is inside a run.
  [[nodiscard]] bool IsCurrent() const override { return loop_.IsCurrent(); }
  void Post(Task task) override { loop_.Post(std::move(task)); }
  void PostDelayed(Task task, std::chrono::nanoseconds delay) override {
    loop_.PostDelayed(std::move(task), delay);
  }

 private:
  TaskLoop loop_;
};

}  // namespace core

#endif  // MOVRA_CORE_RUN_LOOP_H_
