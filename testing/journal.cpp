#include "testing/journal.h"

#include <algorithm>
#include <utility>

namespace movra::testing {

void Journal::Add(Kind kind, std::string text) {
  std::function<void(const std::string&)> observer;
  {
    const std::lock_guard lock(mutex_);
    entries_.push_back({kind, text});
    observer = observer_;
  }
  if (observer) observer(text);
}

void Journal::SetObserver(std::function<void(const std::string&)> observer) {
  const std::lock_guard lock(mutex_);
  observer_ = std::move(observer);
}

void Journal::LeaveOut(unsigned kinds) {
  const std::lock_guard lock(mutex_);
  left_out_ = kinds;
}

std::vector<std::string> Journal::Take() {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> texts;
  for (Entry& entry : entries_) {
    if ((entry.kind & (left_out_ | kText)) == 0) texts.push_back(std::move(entry.text));
  }
  entries_.clear();
  return texts;
}

std::size_t Journal::Count(unsigned kinds) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(
      std::count_if(entries_.begin(), entries_.end(),
                    [kinds](const Entry& entry) { return (entry.kind & kinds) != 0; }));
}

std::size_t Journal::Count(std::string_view text) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::count_if(
      entries_.begin(), entries_.end(), [text](const Entry& entry) { return entry.text == text; }));
}

}  // namespace movra::testing
