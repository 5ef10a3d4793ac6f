#include <cstring>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "fuzzing/fuzz_targets.h"
#include "logging/log_filter.h"
#include "logging/value_range_changed_filter.h"
#include "model/choices.h"

namespace movra::fuzzing {
namespace {

using internal::PendingFilter;
using video::model::Choices;

template <class T>
T Value(Choices& choices) {
  std::uint8_t bytes[sizeof(T)];
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(choices.Index(256));
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

template <class T>
std::shared_ptr<FilterDescription> Ranges(Choices& choices) {
  const T value = Value<T>(choices);
  std::set<T> bounds;
  for (std::size_t i = choices.Index(6); i > 0; --i) bounds.insert(Value<T>(choices));
  const T absolute = Value<T>(choices);
  return std::make_shared<ValueRangeChangedFilterDescription<T>>(
      value, bounds,
      typename ValueRangeChangedFilterDescription<T>::Threshold{absolute, Value<float>(choices)});
}

std::vector<PendingFilter> Pending(Choices& choices, bool& numbers_alone) {
  std::vector<PendingFilter> pending(choices.Index(5));
  numbers_alone = true;
  for (PendingFilter& filter : pending) {
    switch (choices.Index(4)) {
      case 1:
        filter.description = Ranges<unsigned long long>(choices);
        break;
      case 2:
        filter.description = Ranges<std::int32_t>(choices);
        break;
      case 3:
        filter.description = Ranges<std::int64_t>(choices);
        break;
      default:
        filter.number = Value<unsigned long long>(choices);
    }
    numbers_alone = numbers_alone && filter.description == nullptr;
  }
  return pending;
}

}  // namespace

void FuzzLogFilter(Bytes bytes) {
  constexpr const char* kFiles[] = {"", "../a", "../b"};
  SetLogValueFiltering(true);
  // A line always brings the same kinds of filters at first, but nothing makes it so.
  std::set<std::pair<const char*, int>> seen;
  for (Choices choices(bytes); !choices.AreUsedUp();) {
    const char* const file = choices.One(kFiles);
    const int line = static_cast<int>(choices.Index(3));
    bool numbers_alone = false;
    const std::vector<PendingFilter> pending = Pending(choices, numbers_alone);
    const bool is_new = seen.insert({file, line}).second;
    const bool written = internal::ShouldWriteLine(file, line, "f", pending);
    Require(written || !pending.empty(), "a line without a number is written");
    Require(written || !is_new, "a line is written the first time");
    const bool again = internal::ShouldWriteLine(file, line, "f", pending);
    Require(!(is_new && numbers_alone && !pending.empty() && again),
            "a line whose numbers have not changed is left out");
  }
  SetLogValueFiltering(false);
}

}  // namespace movra::fuzzing
