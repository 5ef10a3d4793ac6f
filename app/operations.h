// The operations of a producer as data: one table of their names, arguments and calls, for
// whatever drives a producer by data.
//
//   Operations operations(producer, objects);
//   operations.Call("start_encoder",
//                   {{"type", "big"}, {"params", {{"width", 1280}, {"height", 720}}},
//                    {"writer", "talk.mp4"}},
//                   [](const Result<Json>& answer) { ... });
//
// A name is that of the C++ operation in snake case; of operations that share a name each says in
// further words what it takes. Names of enumerations are those of the sources in snake case without
// the k. docs/operations.md is made from this table.

#ifndef MOVRA_APP_OPERATIONS_H_
#define MOVRA_APP_OPERATIONS_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/operation_answer.h"
#include "app/operation_argument.h"
#include "app/operation_uses.h"
#include "video/producer/video_producer2.h"

namespace movra::app {

// What a call works on.
struct OperationCall {
  video::IVideoProducer2& producer;
  OperationUses& uses;
  std::shared_ptr<OperationAnswer> answer;
  bool& uninitialized;
};

struct Operation {
  std::string name;
  std::string help;
  std::string answer = "null";  // What is answered, in words or as it is written.
  std::vector<Argument> arguments;
  // Whether it may be called when the producer has let go of its collaborators.
  bool after_uninitialize = false;
  // Reads the arguments and calls the producer, or says what is wrong and does not.
  std::function<std::optional<Failure>(OperationCall& call, const Json& arguments)> call;
};

struct OperationGroup {
  std::string title;
  std::vector<Operation> operations;
};

// All operations, in the order of the interface.
[[nodiscard]] const std::vector<OperationGroup>& OperationTable();

// Null if there is none of that name.
[[nodiscard]] const Operation* FindOperation(std::string_view name);

// Why an operation cannot be called with these arguments, as far as it can be told of names alone:
// there is none of that name, an entry is unknown, or one that has to be there is missing.
[[nodiscard]] std::optional<Failure> CheckCall(std::string_view name, const Json& arguments);

// Calls the operations of one producer. Main queue.
//
// The objects that texts stand for (app/operation_uses.h) live for as long as they are in use: a
// writer until its stream is stopped, a tap and a listener until they are removed, all of them
// until the producer is uninitialised or this goes.
class Operations {
 public:
  Operations(std::shared_ptr<video::IVideoProducer2> producer,
             std::shared_ptr<OperationObjects> objects);

  // `arguments` is an object, or null where none are given. The answer comes before this returns,
  // unless it is what a callback of the producer gets: then it comes with the callback, or with its
  // end if the producer drops it, and may outlive this object. A failure means that the producer
  // was not called; its text says what was wrong and what would be right.
  void Call(std::string_view name, const Json& arguments, OnAnswer on_answer);

 private:
  [[nodiscard]] std::optional<Failure> TryCall(std::string_view name, const Json& arguments,
                                               const std::shared_ptr<OperationAnswer>& answer);

  OperationUses uses_;
  const std::shared_ptr<video::IVideoProducer2> producer_;
  bool uninitialized_ = false;
};

}  // namespace movra::app

#endif  // MOVRA_APP_OPERATIONS_H_
