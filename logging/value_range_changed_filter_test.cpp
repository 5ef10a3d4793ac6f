#include "logging/value_range_changed_filter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace movra {
namespace {

using ::testing::ElementsAre;

using Number = unsigned long long;
using Description = ValueRangeChangedFilterDescription<Number>;
using Filter = ValueRangeChangedFilterImpl<Number>;
using Bounds = std::set<Number>;
using Threshold = Description::Threshold;

constexpr Number kMax = std::numeric_limits<Number>::max();

// Feeds a filter one value after the other and returns whether each is written.
class Fed {
 public:
  explicit Fed(Bounds bounds = {}, Threshold threshold = {})
      : bounds_(std::move(bounds)), threshold_(threshold) {}

  bool operator()(Number value) {
    Description description(value, bounds_, threshold_);
    filter_.AddFilterDesc(&description);
    return filter_();
  }

  std::vector<bool> operator()(std::initializer_list<Number> values) {
    std::vector<bool> written;
    for (const Number value : values) written.push_back((*this)(value));
    return written;
  }

  void Use(Bounds bounds) { bounds_ = std::move(bounds); }
  Filter& filter() { return filter_; }

 private:
  Bounds bounds_;
  Threshold threshold_;
  Filter filter_;
};

class OtherKind : public Description {
 public:
  using Description::Description;
  std::string DescType() override { return "ValueRangeChangedFilterDescription2"; }
};

class DerivedOfTheSameKind : public Description {
 public:
  using Description::Description;
};

class ForeignOfTheSameName : public FilterDescription {
 public:
  std::string DescType() override { return "ValueRangeChangedFilterDescription"; }
  std::shared_ptr<LogFilter> MakeFilter() override { return nullptr; }
};

TEST(ValueRangeChangedFilterDescription, NamesItsKind) {
  Description description(1, {}, {});
  EXPECT_EQ(description.DescType(), "ValueRangeChangedFilterDescription");
  EXPECT_EQ(description.DescType().size(), 34u);
}

TEST(ValueRangeChangedFilterDescription, KeepsWhatItWasMadeOf) {
  const Description description(7, {10, 20}, {.absolute = 3, .relative = 0.5f});
  EXPECT_EQ(description.value(), 7u);
  EXPECT_THAT(description.bounds(), ElementsAre(10, 20));
  EXPECT_EQ(description.threshold().absolute, 3u);
  EXPECT_EQ(description.threshold().relative, 0.5f);
}

TEST(ValueRangeChangedFilterDescription, MakesANewFilterOfItsKindThatHasSeenNothing) {
  Description description(7, {10}, {});
  const auto filter = description.MakeFilter();
  ASSERT_NE(dynamic_cast<Filter*>(filter.get()), nullptr);
  EXPECT_NE(description.MakeFilter(), filter);
  EXPECT_FALSE((*filter)()) << "nothing has been described yet";
}

TEST(ValueRangeChangedFilter, WithoutBoundsEveryOtherValueIsWritten) {
  EXPECT_THAT(Fed()({5, 5, 6, 6, 5}), ElementsAre(true, false, true, false, true));
}

TEST(ValueRangeChangedFilter, TheFirstValueIsWrittenEvenIfItIsZero) {
  EXPECT_THAT(Fed()({0, 0}), ElementsAre(true, false));
}

TEST(ValueRangeChangedFilter, ANullDescriptionIsIgnored) {
  Fed fed;
  fed.filter().AddFilterDesc(nullptr);
  EXPECT_FALSE(fed.filter()());
  EXPECT_TRUE(fed(5));
}

TEST(ValueRangeChangedFilter, ADescriptionOfAnotherKindChangesNeitherCountNorValue) {
  Fed fed;
  EXPECT_TRUE(fed(5));
  OtherKind other(6, {}, {});
  fed.filter().AddFilterDesc(&other);
  EXPECT_TRUE(fed.filter()()) << "the count is still one";
  EXPECT_FALSE(fed(5)) << "the value is still five";
}

TEST(ValueRangeChangedFilter, AnotherTypeThatCarriesTheNameIsIgnored) {
  Fed fed;
  ForeignOfTheSameName foreign;
  fed.filter().AddFilterDesc(&foreign);
  ValueRangeChangedFilterDescription<std::uint32_t> narrower(6, {}, {});
  fed.filter().AddFilterDesc(&narrower);
  EXPECT_FALSE(fed.filter()());
}

TEST(ValueRangeChangedFilter, ADerivedDescriptionOfTheSameKindIsTaken) {
  Fed fed;
  DerivedOfTheSameKind derived(6, {}, {});
  fed.filter().AddFilterDesc(&derived);
  EXPECT_TRUE(fed.filter()());
  EXPECT_FALSE(fed(6));
}

TEST(ValueRangeChangedFilter, WithBoundsAChangeOfTheRangeIsWritten) {
  EXPECT_THAT(Fed({10, 20})({5, 8, 15, 20}), ElementsAre(true, false, true, false));
}

TEST(ValueRangeChangedFilter, ABoundBelongsToTheRangeBelowIt) {
  EXPECT_THAT(Fed({10, 20})({10, 9, 11, 12}), ElementsAre(true, false, true, false));
}

TEST(ValueRangeChangedFilter, ValuesAboveEveryBoundShareTheEndRange) {
  EXPECT_THAT(Fed({10, 20})({21, kMax, 20}), ElementsAre(true, false, true));
}

TEST(ValueRangeChangedFilter, WithoutMarginsItReturnsAtTheBoundItself) {
  // The lower edge is the bound below: 10 is no longer greater than it, 11 still is.
  EXPECT_THAT(Fed({10, 20})({15, 11, 10}), ElementsAre(true, false, true));
}

TEST(ValueRangeChangedFilter, BelowTheFirstBoundThereIsNothingToLeaveTo) {
  EXPECT_THAT(Fed({10}, {.absolute = 5})({3, 0, 15, 16}), ElementsAre(true, false, false, true));
}

TEST(ValueRangeChangedFilter, TheRelativeMarginHoldsAValueInItsRange) {
  EXPECT_THAT(Fed({100}, {.relative = 0.1f})({100, 105, 110, 111}),
              ElementsAre(true, false, false, true));
}

TEST(ValueRangeChangedFilter, TheAbsoluteMarginHoldsAValueInItsRange) {
  EXPECT_THAT(Fed({100}, {.absolute = 7})({100, 107, 108}), ElementsAre(true, false, true));
}

TEST(ValueRangeChangedFilter, UpwardsTheLargerMarginCounts) {
  EXPECT_THAT(Fed({100}, {.absolute = 20, .relative = 0.1f})({100, 120, 121}),
              ElementsAre(true, false, true));
  EXPECT_THAT(Fed({100}, {.absolute = 5, .relative = 0.1f})({100, 110, 111}),
              ElementsAre(true, false, true));
}

TEST(ValueRangeChangedFilter, DownwardsTheLargerMarginCountsToo) {
  EXPECT_THAT(Fed({100}, {.absolute = 20, .relative = 0.5f})({101, 51, 50}),
              ElementsAre(true, false, true));
  EXPECT_THAT(Fed({100}, {.absolute = 20, .relative = 0.1f})({101, 81, 80}),
              ElementsAre(true, false, true));
}

TEST(ValueRangeChangedFilter, TheEndRangeIsLeftOnlyDownwards) {
  EXPECT_THAT(Fed({100}, {.absolute = 10})({200, kMax, 91, 90}),
              ElementsAre(true, false, false, true));
}

TEST(ValueRangeChangedFilter, WhereAValueGoesIsDecidedByTheBoundsAndNotByTheMargins) {
  // Out of the range of 10 upwards past two bounds at once; 25 is in the range of 30.
  EXPECT_THAT(Fed({10, 20, 30}, {.absolute = 2})({5, 25, 30, 32, 33}),
              ElementsAre(true, true, false, false, true));
}

TEST(ValueRangeChangedFilter, AHeldValueThatReturnsWasNeverAway) {
  EXPECT_THAT(Fed({100}, {.absolute = 10})({100, 105, 100}), ElementsAre(true, false, false));
}

TEST(ValueRangeChangedFilter, MarginsSaturateWhereTheyLeaveTheNumbersRange) {
  // Above: 2^64 in single precision does not convert; nothing is greater than the largest number.
  EXPECT_THAT(Fed({kMax - 1}, {.relative = 1.0f})({5, kMax}), ElementsAre(true, false));
  // Below: 10 - 50 saturates to zero; zero itself is not greater than it and leaves.
  EXPECT_THAT(Fed({10}, {.absolute = 50})({11, 61, 1, 0}), ElementsAre(true, false, false, true));
  // A relative margin above one turns negative downwards.
  EXPECT_THAT(Fed({10}, {.relative = 2.0f})({31, 1, 0}), ElementsAre(true, false, true));
}

TEST(ValueRangeChangedFilter, MarginsAreComputedInSinglePrecision) {
  // In double precision the upper edge would be 22000006, even rounded to single at the end.
  EXPECT_THAT(Fed({20000006}, {.relative = 0.1f})({1, 22000008, 22000009}),
              ElementsAre(true, false, true));
  // And the lower one 16000005, or 16000006 rounded.
  EXPECT_THAT(Fed({20000007}, {.relative = 0.2f})({20000008, 16000008, 16000007}),
              ElementsAre(true, false, true));
}

TEST(ValueRangeChangedFilter, BoundsOfAnotherNumberStartAnew) {
  Fed fed({10, 20});
  EXPECT_TRUE(fed(5));
  EXPECT_FALSE(fed(5));
  fed.Use({10});
  EXPECT_TRUE(fed(5)) << "the count is one again";
  EXPECT_FALSE(fed(5));
}

TEST(ValueRangeChangedFilter, NewBoundsForgetTheRangeOfTheOldOnes) {
  Fed filter({10}, {.absolute = 5});
  EXPECT_TRUE(filter(12));
  filter.Use({5, 11, 20});
  EXPECT_THAT(filter({12, 14, 17}), ElementsAre(true, false, false));
}

TEST(ValueRangeChangedFilter, BoundsOfTheSameNumberAreNotCompared) {
  Fed fed({10, 20});
  EXPECT_TRUE(fed(5));
  fed.Use({6, 7});
  EXPECT_FALSE(fed(8)) << "in the range of 10 by the first set, above both by the second";
}

TEST(ValueRangeChangedFilter, LosingAllBoundsFallsBackToValues) {
  Fed fed({10});
  EXPECT_TRUE(fed(5));
  fed.Use({});
  EXPECT_TRUE(fed(5));
  EXPECT_FALSE(fed(5));
  EXPECT_TRUE(fed(6));
}

TEST(ValueRangeChangedFilter, ADescriptionMayEndBeforeTheNextValue) {
  Filter filter;
  {
    Description first(5, {10, 20}, {});
    filter.AddFilterDesc(&first);
  }
  Description second(15, {10, 20}, {});
  filter.AddFilterDesc(&second);
  EXPECT_TRUE(filter());
}

}  // namespace
}  // namespace movra
