// Who a log line is about: the trace identity of an instance and its tag.
//
// Printed first in every line of an instance, as in "[trace:12][main] Initialize". Values without
// ownership or locks; any thread.

#ifndef MOVRA_LOGGING_LOG_IDENTITY_H_
#define MOVRA_LOGGING_LOG_IDENTITY_H_

#include <cstdint>
#include <string_view>

namespace movra {

// Identifies one instance, such as one producer, throughout the process's log. Whoever creates the
// instance chooses the number; 0 is the default and means that none was chosen.
class InstanceTrace {
 public:
  constexpr InstanceTrace() = default;
  constexpr explicit InstanceTrace(std::uint64_t id) : id_(id) {}

  [[nodiscard]] constexpr std::uint64_t id() const { return id_; }

  friend constexpr bool operator==(const InstanceTrace&, const InstanceTrace&) = default;

 private:
  std::uint64_t id_ = 0;
};

// An instance's identity as an element of a log line: prints "[trace:" id "]". It is no number of
// the message and attaches no filter.
class LogTraceId {
 public:
  constexpr explicit LogTraceId(InstanceTrace trace) : trace_(trace) {}

  [[nodiscard]] constexpr InstanceTrace trace() const { return trace_; }

 private:
  InstanceTrace trace_;
};

// An instance's tag as an element of a log line: prints its text as it stands, such as "[main]".
// The text is borrowed and must outlive the expression that prints it.
class LogTag {
 public:
  constexpr explicit LogTag(std::string_view text) : text_(text) {}

  [[nodiscard]] constexpr std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

}  // namespace movra

#endif  // MOVRA_LOGGING_LOG_IDENTITY_H_
