// What an operation answers, and when.

#ifndef MOVRA_APP_OPERATION_ANSWER_H_
#define MOVRA_APP_OPERATION_ANSWER_H_

#include <functional>
#include <memory>

#include "app/operation_argument.h"
#include "app/result.h"
#include "core/dispatch_queue.h"
#include "video/encode_params.h"
#include "video/stats.h"
#include "video/to_string.h"

namespace movra::app {

// Gets the answer, or why the producer was not called. Runs once, on the main queue; must not
// throw.
using OnAnswer = std::function<void(const Result<Json>& answer)>;

// One answer on its way. Whoever can give it holds a share; when the last share goes and none has
// been given, the producer dropped a callback, and the answer says so: {"dropped": true}.
//
// Made on the main queue. Give and the end on any thread: from another one the answer is posted to
// the main queue, if that is still the program's.
class OperationAnswer {
 public:
  explicit OperationAnswer(OnAnswer on_answer);
  OperationAnswer(const OperationAnswer&) = delete;
  OperationAnswer& operator=(const OperationAnswer&) = delete;
  ~OperationAnswer();

  // Once.
  void Give(Result<Json> answer);

 private:
  OnAnswer on_answer_;  // Empty once it has been given.
  const std::weak_ptr<core::DispatchQueue> main_queue_;
};

// Results as data. An enumeration is its name, or its number where it has none.
[[nodiscard]] inline Json ToData(bool value) { return value; }
[[nodiscard]] Json ToData(const video::VideoProducerStats2& stats);
[[nodiscard]] Json ToData(const video::EncodeAbility& ability);
template <class Enum>
requires std::is_enum_v<Enum>
[[nodiscard]] Json ToData(Enum value) {
  for (const auto& named : video::NamedValues<Enum>()) {
    if (named.value == value) return DataName(named.name);
  }
  return static_cast<std::int32_t>(value);
}

}  // namespace movra::app

#endif  // MOVRA_APP_OPERATION_ANSWER_H_
