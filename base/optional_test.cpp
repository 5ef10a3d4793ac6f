#include "base/optional.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "logging/log_message.h"

namespace movra_base {
namespace {

using ::movra_logging::CheckFailure;
using ::movra_logging::ScopedCheckHandler;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

enum class Mode : std::int32_t { kFit = 0, kFill = 2 };
struct Pair {
  std::int64_t first = -1;
  std::int64_t second = -1;

  friend bool operator==(const Pair&, const Pair&) = default;
};

// One byte of presence, then the value at its own alignment.
static_assert(sizeof(Optional<std::uint8_t>) == 2);
static_assert(sizeof(Optional<std::uint32_t>) == 8 && alignof(Optional<std::uint32_t>) == 4);
static_assert(sizeof(Optional<Mode>) == 8);
static_assert(sizeof(Optional<std::int64_t>) == 16);
static_assert(sizeof(Optional<Pair>) == 24);
static_assert(sizeof(Optional<std::shared_ptr<int>>) == 24);
static_assert(sizeof(Optional<std::array<std::uint8_t, 3>>) == 4);

static_assert(std::is_convertible_v<int, Optional<int>>);
static_assert(std::is_convertible_v<int, Optional<std::int64_t>>);
static_assert(std::is_convertible_v<const char*, Optional<std::string>>);
static_assert(!std::is_convertible_v<std::string, Optional<int>>);
static_assert(!std::is_convertible_v<Optional<int>, bool>, "explicit, or it would be a number");
static_assert(std::is_nothrow_move_constructible_v<Optional<std::string>>);
static_assert(std::is_nothrow_move_assignable_v<Optional<std::string>>);
static_assert(
    std::is_same_v<decltype(std::declval<Optional<std::string>>().value()), std::string&&>);

// Takes an int in one of the two ways that an optional needs.
struct OnlyAssignable {
  OnlyAssignable& operator=(int);
};
struct OnlyConstructible {
  explicit OnlyConstructible(int);
  OnlyConstructible& operator=(int) = delete;
  OnlyConstructible& operator=(OnlyConstructible&&);  // may throw
};
static_assert(!std::is_constructible_v<Optional<int>, std::string>);
static_assert(!std::is_constructible_v<Optional<OnlyAssignable>, int>);
static_assert(!std::is_assignable_v<Optional<OnlyConstructible>&, int>);
static_assert(!std::is_nothrow_move_assignable_v<Optional<OnlyConstructible>>);

// Tells what happens to it.
class Traced {
 public:
  Traced(std::vector<std::string>& events, int id) : events_(&events), id_(id) { Tell("make"); }
  Traced(const Traced& other) : events_(other.events_), id_(other.id_) { Tell("copy"); }
  Traced(Traced&& other) noexcept : events_(other.events_), id_(other.id_) { Tell("move"); }
  Traced& operator=(const Traced& other) {
    id_ = other.id_;
    Tell("copy-assign");
    return *this;
  }
  Traced& operator=(Traced&& other) noexcept {
    id_ = other.id_;
    Tell("move-assign");
    return *this;
  }
  ~Traced() { Tell("destroy"); }

  int id() const { return id_; }

 private:
  void Tell(const std::string& what) const { events_->push_back(what + std::to_string(id_)); }

  std::vector<std::string>* events_;
  int id_;
};

class OptionalOfTraced : public ::testing::Test {
 protected:
  OptionalOfTraced() {
    present_.emplace(events_, 1);
    other_.emplace(events_, 2);
    events_.clear();
  }

  std::vector<std::string> events_;
  Optional<Traced> absent_;
  Optional<Traced> present_;
  Optional<Traced> other_;
};

TEST(Optional, IsAbsentAtFirst) {
  const Optional<int> optional;
  EXPECT_FALSE(optional.has_value());
  EXPECT_FALSE(static_cast<bool>(optional));
}

TEST(Optional, IsPresentWhenMadeOfAValue) {
  const Optional<std::int64_t> optional = 5;
  EXPECT_TRUE(optional.has_value());
  EXPECT_TRUE(optional);
  EXPECT_EQ(optional.value(), 5);
  EXPECT_EQ(*optional, 5);
}

TEST(Optional, KeepsTheFlagBeforeTheValue) {
  const Optional<std::uint32_t> optional = 0x01020304u;
  std::array<unsigned char, sizeof(optional)> bytes;
  std::memcpy(bytes.data(), static_cast<const void*>(&optional), sizeof(optional));
  EXPECT_EQ(bytes[0], 1);
  std::uint32_t value;
  std::memcpy(&value, bytes.data() + 4, sizeof(value));
  EXPECT_EQ(value, 0x01020304u);
}

TEST(Optional, ReadsItsMembersThroughTheArrow) {
  Optional<Pair> optional = Pair{1, 2};
  EXPECT_EQ(optional->second, 2);
  optional->second = 3;
  EXPECT_EQ(std::as_const(optional)->second, 3);
  (*optional).first = 4;
  EXPECT_EQ(std::as_const(optional).value(), (Pair{4, 3}));
}

TEST(Optional, ResetMakesItAbsent) {
  Optional<int> optional = 5;
  optional.reset();
  EXPECT_FALSE(optional.has_value());
  optional.reset();
  EXPECT_FALSE(optional.has_value());
}

TEST(Optional, AssignedNothingIsAbsent) {
  Optional<int> number = 5;
  number = {};
  EXPECT_FALSE(number.has_value());
  Optional<std::string> text = "text";
  text = {};
  EXPECT_FALSE(text.has_value());
}

TEST(Optional, AValueOfZeroIsPresent) {
  Optional<int> optional;
  optional = 0;
  EXPECT_TRUE(optional.has_value());
}

TEST(Optional, GivesAnotherValueWhereItHasNone) {
  EXPECT_EQ(Optional<int>().value_or(7), 7);
  EXPECT_EQ(Optional<int>(5).value_or(7), 5);
  const Optional<std::string> text = "text";
  EXPECT_EQ(text.value_or("none"), "text");
  EXPECT_EQ(Optional<std::string>().value_or("none"), "none");
}

TEST(Optional, IsEqualWhenBothAreAbsentOrHaveEqualValues) {
  EXPECT_EQ(Optional<int>(), Optional<int>());
  EXPECT_EQ(Optional<int>(5), Optional<int>(5));
  EXPECT_NE(Optional<int>(5), Optional<int>(6));
  EXPECT_NE(Optional<int>(0), Optional<int>());
  EXPECT_NE(Optional<int>(), Optional<int>(0));
}

TEST(Optional, ComparesWithAPlainValue) {
  EXPECT_TRUE(Optional<Mode>(Mode::kFill) == Mode::kFill);
  EXPECT_FALSE(Optional<Mode>(Mode::kFill) == Mode::kFit);
  EXPECT_FALSE(Optional<Mode>() == Mode::kFit);
  EXPECT_TRUE("text" == Optional<std::string>("text"));
}

TEST(Optional, MovesItsValueOut) {
  Optional<std::unique_ptr<int>> optional = std::make_unique<int>(5);
  const std::unique_ptr<int> taken = std::move(optional).value();
  EXPECT_EQ(*taken, 5);
  Optional<std::unique_ptr<int>> other;
  other = std::make_unique<int>(6);
  optional = std::move(other);
  EXPECT_EQ(**optional, 6);
}

TEST_F(OptionalOfTraced, IsDestroyedWithItsValueAndOnlyOnce) {
  {
    Optional<Traced> optional;
    optional.emplace(events_, 3);
  }
  { const Optional<Traced> none; }
  EXPECT_THAT(events_, ElementsAre("make3", "destroy3"));
}

TEST_F(OptionalOfTraced, CopyAssigningAPresentOneOverAPresentOneAssigns) {
  present_ = other_;
  EXPECT_THAT(events_, ElementsAre("copy-assign2"));
  EXPECT_EQ(present_->id(), 2);
}

TEST_F(OptionalOfTraced, CopyAssigningAPresentOneOverAnAbsentOneConstructs) {
  absent_ = other_;
  EXPECT_THAT(events_, ElementsAre("copy2"));
  EXPECT_TRUE(absent_.has_value());
}

TEST_F(OptionalOfTraced, CopyAssigningAnAbsentOneDestroysTheValue) {
  present_ = absent_;
  EXPECT_THAT(events_, ElementsAre("destroy1"));
  EXPECT_FALSE(present_.has_value());
}

TEST(Optional, AValueThatIsTakenAwayFindsItsOptionalPresentWhileItEnds) {
  struct LooksAround {
    LooksAround(const Optional<LooksAround>* its_home, bool* its_answer)
        : home(its_home), answer(its_answer) {}
    ~LooksAround() { *answer = home->has_value(); }
    const Optional<LooksAround>* home;
    bool* answer;
  };
  bool was_present = false;
  Optional<LooksAround> optional;
  const Optional<LooksAround> absent;
  optional.emplace(&optional, &was_present);
  optional = absent;
  EXPECT_TRUE(was_present);
  EXPECT_FALSE(optional.has_value());
  was_present = false;
  optional.emplace(&optional, &was_present);
  optional = Optional<LooksAround>();
  EXPECT_TRUE(was_present);
  was_present = false;
  optional.emplace(&optional, &was_present);
  optional.emplace(&optional, &was_present);
  EXPECT_TRUE(was_present);
  was_present = false;
  optional.reset();
  EXPECT_TRUE(was_present);
}

TEST_F(OptionalOfTraced, CopyAssigningAnAbsentOneOverAnAbsentOneDoesNothing) {
  const Optional<Traced> none;
  absent_ = none;
  EXPECT_THAT(events_, IsEmpty());
}

TEST_F(OptionalOfTraced, CopyAssigningItselfKeepsTheValue) {
  const Optional<Traced>& self = present_;
  present_ = self;
  EXPECT_TRUE(present_.has_value());
  EXPECT_EQ(present_->id(), 1);
}

TEST_F(OptionalOfTraced, MoveAssignmentMovesTheValueAndLeavesTheSourcePresent) {
  present_ = std::move(other_);
  absent_ = std::move(present_);
  EXPECT_THAT(events_, ElementsAre("move-assign2", "move2"));
  EXPECT_TRUE(present_.has_value());
  absent_ = Optional<Traced>();
  EXPECT_FALSE(absent_.has_value());
}

TEST_F(OptionalOfTraced, ConstructionCopiesOrMovesAPresentValueOnly) {
  const Optional<Traced> copy = present_;
  const Optional<Traced> moved = std::move(present_);
  const Optional<Traced> none = absent_;
  const Optional<Traced> moved_none = std::move(absent_);
  EXPECT_THAT(events_, ElementsAre("copy1", "move1"));
  EXPECT_FALSE(none.has_value() || moved_none.has_value());
}

TEST_F(OptionalOfTraced, AssigningAValueConstructsItOrAssignsIt) {
  const Traced value(events_, 4);
  absent_ = value;
  present_ = value;
  EXPECT_THAT(events_, ElementsAre("make4", "copy4", "copy-assign4"));
}

TEST_F(OptionalOfTraced, EmplaceDestroysTheOldValueFirst) {
  present_.emplace(events_, 3);
  EXPECT_THAT(events_, ElementsAre("destroy1", "make3"));
}

TEST(Optional, StaysAbsentWhereAConstructorThrows) {
  struct Throwing {
    Throwing() { throw 1; }
  };
  Optional<Throwing> optional;
  EXPECT_THROW(optional.emplace(), int);
  EXPECT_FALSE(optional.has_value());
}

TEST_F(OptionalOfTraced, ResetDestroysTheValueOnce) {
  present_.reset();
  present_.reset();
  EXPECT_THAT(events_, ElementsAre("destroy1"));
}

TEST(OptionalOfASharedPointer, CountsReferencesAsTheAssignmentOfSharedPointersDoes) {
  const auto object = std::make_shared<int>(5);
  Optional<std::shared_ptr<int>> a = object;
  Optional<std::shared_ptr<int>> b = a;
  EXPECT_EQ(object.use_count(), 3);
  b = a;
  EXPECT_EQ(object.use_count(), 3);
  b = Optional<std::shared_ptr<int>>(nullptr);
  EXPECT_EQ(object.use_count(), 2);
  EXPECT_TRUE(b.has_value()) << "a null pointer is a value";
}

TEST(OptionalOfASharedPointer, CopyAssigningAnAbsentOneReleasesTheObject) {
  const auto object = std::make_shared<int>(5);
  Optional<std::shared_ptr<int>> present = object;
  const Optional<std::shared_ptr<int>> absent;
  present = absent;
  EXPECT_EQ(object.use_count(), 1);
}

// Reading an absent one.
class OptionalReadEmpty : public ::testing::Test {
 protected:
  std::vector<std::string> reports_;
  const ScopedCheckHandler handler_{[this](const CheckFailure& failure) {
    reports_.push_back(std::string(failure.file) + "|" + std::to_string(failure.line) + "|" +
                       std::string(failure.function) + "|" + std::string(failure.condition));
  }};
};

constexpr char kValueReport[] = "../../base/optional|627|value|storage_.is_populated_";
constexpr char kArrowReport[] = "../../base/optional|598|operator->|storage_.is_populated_";

TEST_F(OptionalReadEmpty, ValueReportsItsPlaceAndYieldsZero) {
  Optional<std::uint32_t> optional;
  EXPECT_EQ(optional.value(), 0u);
  EXPECT_EQ(std::as_const(optional).value(), 0u);
  EXPECT_THAT(reports_, ElementsAre(kValueReport, kValueReport));
}

TEST_F(OptionalReadEmpty, TheArrowReportsItsPlaceAndYieldsZero) {
  Optional<Pair> optional;
  EXPECT_EQ(optional->first, 0) << "zero, not the type's initial value";
  EXPECT_EQ(std::as_const(optional)->second, 0);
  EXPECT_THAT(reports_, ElementsAre(kArrowReport, kArrowReport));
}

TEST_F(OptionalReadEmpty, TheStarReportsAsValueDoes) {
  Optional<Mode> optional;
  EXPECT_EQ(*optional, Mode::kFit);
  EXPECT_EQ(*std::as_const(optional), Mode::kFit);
  EXPECT_THAT(reports_, ElementsAre(kValueReport, kValueReport));
}

TEST_F(OptionalReadEmpty, YieldsZeroEvenAfterAnEarlierValue) {
  Optional<int> reset = 5;
  reset.reset();
  EXPECT_EQ(reset.value(), 0);
  Optional<int> assigned = 5;
  assigned = Optional<int>();
  EXPECT_EQ(assigned.value(), 0);
}

TEST_F(OptionalReadEmpty, YieldsZeroInCopiesOfAnAbsentOne) {
  const Optional<int> absent;
  const Optional<int> copy = absent;
  EXPECT_EQ(copy.value(), 0);
}

TEST_F(OptionalReadEmpty, ReadingAPresentOneReportsNothing) {
  Optional<Pair> optional = Pair{1, 2};
  (void)optional.value();
  (void)*optional;
  (void)optional->first;
  (void)optional.has_value();
  (void)optional.value_or(Pair{});
  (void)Optional<Pair>().value_or(Pair{});
  EXPECT_THAT(reports_, IsEmpty());
}

TEST_F(OptionalReadEmpty, AHandlerDecidesForOtherTypesToo) {
  Optional<std::string> optional;
  (void)&optional.value();
  (void)optional.operator->();
  EXPECT_THAT(reports_, ElementsAre(kValueReport, kArrowReport));
}

TEST(OptionalReadEmptyWithoutAHandler, ATriviallyCopyableTypeGoesOnWithZero) {
  EXPECT_EQ(Optional<int>().value(), 0);
}

TEST(OptionalReadEmptyDeathTest, AnyOtherTypeEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Optional<std::string> optional;
  EXPECT_DEATH((void)&optional.value(),
               "../../base/optional:627 value: Check failed: storage_.is_populated_");
  EXPECT_DEATH((void)optional->size(),
               "../../base/optional:598 operator->: Check failed: storage_.is_populated_");
}

}  // namespace
}  // namespace movra_base
