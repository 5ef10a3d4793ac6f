#include "logging/log_filter.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <unordered_map>

#include "logging/value_range_changed_filter.h"

namespace movra {
namespace {

// A source line as it is looked up; a stored one owns its texts.
struct LineView {
  std::string_view file;
  int line;
  std::string_view function;

  friend bool operator==(const LineView&, const LineView&) = default;
};

struct Line {
  explicit Line(const LineView& view) : file(view.file), line(view.line), function(view.function) {}
  operator LineView() const { return {file, line, function}; }  // NOLINT: the same thing

  std::string file;
  int line;
  std::string function;
};

struct LineHash {
  using is_transparent = void;
  std::size_t operator()(const LineView& view) const {
    const std::hash<std::string_view> hash;
    return (hash(view.file) * 31 + hash(view.function)) * 31 + static_cast<std::size_t>(view.line);
  }
};

struct LineEqual {
  using is_transparent = void;
  bool operator()(const LineView& a, const LineView& b) const { return a == b; }
};

// A line's filters, each at the position of its description in the line.
using LineFilters = std::vector<std::shared_ptr<LogFilter>>;

// Guarded by the mutex.
struct Records {
  std::mutex mutex;
  std::unordered_map<Line, LineFilters, LineHash, LineEqual> lines;
};

// Never destroyed: lines may still be written while the process ends.
Records& GetRecords() {
  static auto* const records = new Records;
  return *records;
}

std::atomic<bool> value_filtering = false;

bool FeedFilter(LineFilters& filters, std::size_t position, FilterDescription& description) {
  if (position == filters.size()) filters.push_back(description.MakeFilter());
  LogFilter& filter = *filters[position];
  filter.AddFilterDesc(&description);
  return filter();
}

}  // namespace

LogFilterDescHolder<kCombinedByOr> OR(std::shared_ptr<FilterDescription> description) {
  return LogFilterDescHolder<kCombinedByOr>(std::move(description));
}

void SetLogValueFiltering(bool on) {
  Records& records = GetRecords();
  const std::lock_guard lock(records.mutex);
  records.lines.clear();
  value_filtering.store(on, std::memory_order_relaxed);
}

bool LogValueFiltering() { return value_filtering.load(std::memory_order_relaxed); }

namespace internal {

bool ShouldWriteLine(std::string_view file, int line, std::string_view function,
                     const std::vector<PendingFilter>& pending) {
  if (pending.empty()) return true;
  const LineView view{file, line, function};
  Records& records = GetRecords();
  const std::lock_guard lock(records.mutex);
  auto record = records.lines.find(view);
  if (record == records.lines.end()) {
    record = records.lines.emplace(Line(view), LineFilters()).first;
  }
  // Every filter must see its description, so the loop does not stop at the first that says yes.
  bool is_to_be_written = false;
  for (std::size_t i = 0; i < pending.size(); ++i) {
    if (pending[i].description != nullptr) {
      is_to_be_written |= FeedFilter(record->second, i, *pending[i].description);
    } else {
      ValueRangeChangedFilterDescription<unsigned long long> number(pending[i].number, {}, {});
      is_to_be_written |= FeedFilter(record->second, i, number);
    }
  }
  return is_to_be_written;
}

}  // namespace internal
}  // namespace movra
