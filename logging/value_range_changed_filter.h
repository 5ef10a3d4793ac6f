// The filter that writes a line only when a value has entered another range.
//
// Ascending bounds cut the values into ranges: a value's range is the first bound not less than it,
// and a value above every bound is in the range at the end. Without bounds every distinct value is
// a range of its own, which is how plain numbers in a log line are filtered. A threshold adds
// hysteresis: a value leaves its range only when it is past the bound by the absolute or the
// relative margin.
//
//   // Written again when the rate passes 10 or 20.
//   stream << movra::OR(std::make_shared<ValueRangeChangedFilterDescription<unsigned long long>>(
//       rate, std::set<unsigned long long>{10, 20}, {}));
//
// Margins are computed in single precision and saturate when they convert back to T.
// Threads: neither class takes a lock; the log stream serialises access to a line's filter.

#ifndef MOVRA_LOGGING_VALUE_RANGE_CHANGED_FILTER_H_
#define MOVRA_LOGGING_VALUE_RANGE_CHANGED_FILTER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <typeinfo>

#include "logging/log_filter.h"

namespace movra {

template <class T>
class ValueRangeChangedFilterImpl;

template <class T>
class ValueRangeChangedFilterDescription : public FilterDescription {
 public:
  // How far past a bound a value must be before it has left its range.
  struct Threshold {
    T absolute{};
    float relative = 0.0f;  // a fraction of the bound
  };

  ValueRangeChangedFilterDescription(const T& value, const std::set<T>& bounds,
                                     const Threshold& threshold)
      : value_(value), bounds_(bounds), threshold_(threshold) {}

  std::string DescType() override { return kType; }
  std::shared_ptr<LogFilter> MakeFilter() override {
    return std::make_shared<ValueRangeChangedFilterImpl<T>>();
  }

  [[nodiscard]] const T& value() const { return value_; }
  [[nodiscard]] const std::set<T>& bounds() const { return bounds_; }
  [[nodiscard]] const Threshold& threshold() const { return threshold_; }

  static constexpr char kType[] = "ValueRangeChangedFilterDescription";

 private:
  T value_;
  std::set<T> bounds_;
  Threshold threshold_;
};

template <class T>
class ValueRangeChangedFilterImpl : public LogFilter {
 public:
  bool operator()() const override {
    if (count_ == 1) return true;
    if (!bounds_.empty()) return previous_range_ != current_range_;
    return current_value_ != previous_value_;
  }

  // The bounds are taken over when their number changes. A set of the same size is taken to be the
  // same set without comparing it: a line's bounds are constants of its source, and this runs for
  // every line.
  void AddFilterDesc(FilterDescription* description) override {
    const auto* range_description = AsOwnKind(description);
    if (range_description == nullptr) return;
    if (bounds_.size() != range_description->bounds().size()) {
      bounds_ = range_description->bounds();
      previous_range_.reset();
      current_range_.reset();
      count_ = 1;
    } else {
      ++count_;
    }
    previous_value_ = current_value_;
    current_value_ = range_description->value();
    absolute_margin_ = range_description->threshold().absolute;
    relative_margin_ = range_description->threshold().relative;
    if (bounds_.empty()) return;
    previous_range_ = current_range_;
    if (!StaysInRange()) current_range_ = RangeOf(current_value_);
  }

 private:
  using Description = ValueRangeChangedFilterDescription<T>;

  // The exact type is the usual case and is told without making its name; a class derived from it,
  // or another value type that carries the same name, takes the longer way.
  static const Description* AsOwnKind(FilterDescription* description) {
    if (description == nullptr) return nullptr;
    if (typeid(*description) == typeid(Description)) {
      return static_cast<const Description*>(description);
    }
    if (description->DescType() != Description::kType) return nullptr;
    return dynamic_cast<const Description*>(description);
  }

  [[nodiscard]] std::size_t RangeOf(const T& value) const {
    return static_cast<std::size_t>(std::distance(bounds_.begin(), bounds_.lower_bound(value)));
  }

  [[nodiscard]] float BoundAt(std::size_t range) const {
    return static_cast<float>(*std::next(bounds_.begin(), static_cast<std::ptrdiff_t>(range)));
  }

  // Hysteresis: whether the value is not far enough past the bounds of the current range.
  [[nodiscard]] bool StaysInRange() const {
    if (!current_range_) return false;
    const auto absolute = static_cast<float>(absolute_margin_);
    const std::size_t range = *current_range_;
    if (range < bounds_.size()) {
      const float bound = BoundAt(range);
      const float upper = std::max(bound + absolute, (relative_margin_ + 1.0f) * bound);
      if (current_value_ > Saturated(upper)) return false;
    }
    if (range == 0) return true;
    const float below = BoundAt(range - 1);
    const float lower = std::min(below - absolute, (1.0f - relative_margin_) * below);
    return current_value_ > Saturated(lower);
  }

  // A float outside T's range has no defined conversion, and 2^64 is one that occurs.
  static T Saturated(float value) {
    if (value >= static_cast<float>(std::numeric_limits<T>::max())) {
      return std::numeric_limits<T>::max();
    }
    if (value > static_cast<float>(std::numeric_limits<T>::lowest())) return static_cast<T>(value);
    return std::numeric_limits<T>::lowest();
  }

  std::uint32_t count_ = 0;  // descriptions since creation or since the bounds changed
  T previous_value_{};
  T current_value_{};
  std::set<T> bounds_;
  T absolute_margin_{};
  float relative_margin_ = 0.0f;
  // Indices into the bounds, whose size is the end position; they cannot dangle when the bounds
  // are replaced.
  std::optional<std::size_t> previous_range_;
  std::optional<std::size_t> current_range_;
};

}  // namespace movra

#endif  // MOVRA_LOGGING_VALUE_RANGE_CHANGED_FILTER_H_
