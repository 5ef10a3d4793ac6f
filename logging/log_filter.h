// Filters that keep a repeating log line from being written again.
//
// While value filtering is on, each number printed into a line brings a `FilterDescription`. The
// process keeps, per source line and per position of the description within it, one `LogFilter`.
// When the line is complete its filters receive their descriptions, and the line is written if any
// of them says so. A line that brings no description is always written.
//
// Ownership: the descriptions belong to the line, the filters to the process's records, which grow
// with the number of distinct source lines and never with the number of lines written.
// Threads: any. Filters are called one at a time, under the lock of the records; a filter must not
// write log lines.

#ifndef MOVRA_LOGGING_LOG_FILTER_H_
#define MOVRA_LOGGING_LOG_FILTER_H_

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace movra {

class FilterDescription;

// The state of one filter of one source line.
class LogFilter {
 public:
  virtual ~LogFilter() = default;
  // Whether the line whose description came last is to be written.
  virtual bool operator()() const = 0;
  // Takes the description of the line being produced; borrowed for the call. A null one, or one of
  // another kind, is ignored.
  virtual void AddFilterDesc(FilterDescription* description) = 0;
};

// One filter condition that a line brings along.
class FilterDescription {
 public:
  virtual ~FilterDescription() = default;
  // The name of the kind; a filter accepts the descriptions of its own kind.
  virtual std::string DescType() = 0;
  // A new filter of this kind, in its initial state.
  virtual std::shared_ptr<LogFilter> MakeFilter() = 0;
};

// How a description combines with the line's other descriptions.
inline constexpr int kCombinedByOr = 0;

// A description on its way into a line; streaming it hands it over. A null one is ignored.
template <int kCombination>
class LogFilterDescHolder {
 public:
  explicit LogFilterDescHolder(std::shared_ptr<FilterDescription> description)
      : description_(std::move(description)) {}

  [[nodiscard]] const std::shared_ptr<FilterDescription>& description() const {
    return description_;
  }

 private:
  std::shared_ptr<FilterDescription> description_;
};

// Marks a description as one of several any of which suffices for the line to be written.
[[nodiscard]] LogFilterDescHolder<kCombinedByOr> OR(std::shared_ptr<FilterDescription> description);

// Switches value filtering for all lines begun from now on; off at first. Switching, either way,
// forgets what every line printed before, so each is written the next time.
void SetLogValueFiltering(bool on);
[[nodiscard]] bool LogValueFiltering();

namespace internal {

// What one line brings to its filters, in the order in which it was printed: a number, or a
// description that was streamed. Plain numbers are kept as such so that they need no allocation.
struct PendingFilter {
  unsigned long long number = 0;
  std::shared_ptr<FilterDescription> description = nullptr;  // null: the number counts
};

// Feeds the filters of the line (file, line, function) and returns whether it is to be written.
// The function is part of the identity because several sources may share one file text.
[[nodiscard]] bool ShouldWriteLine(std::string_view file, int line, std::string_view function,
                                   const std::vector<PendingFilter>& pending);

}  // namespace internal
}  // namespace movra

#endif  // MOVRA_LOGGING_LOG_FILTER_H_
