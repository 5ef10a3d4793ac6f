#include "logging/log_filter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include "logging/log_stream.h"
#include "logging/recording_sink_for_test.h"
#include "logging/value_range_changed_filter.h"

namespace movra {
namespace {

using ::movra_logging::RecordingSink;
using ::testing::ElementsAre;
using ::testing::SizeIs;

using Description = ValueRangeChangedFilterDescription<unsigned long long>;

class LogValueFilteringTest : public ::testing::Test {
 protected:
  LogValueFilteringTest() { SetLogValueFiltering(true); }
  ~LogValueFilteringTest() override { SetLogValueFiltering(false); }

  static LogStream Line(int line, const char* function = "Function", const char* file = "file") {
    return LogStream(file, line, function, 0, nullptr);
  }

  RecordingSink sink_;
};

// Always answers the same, and counts what it is told.
class FixedFilter : public LogFilter {
 public:
  FixedFilter(bool answer, int* descriptions) : answer_(answer), descriptions_(descriptions) {}
  bool operator()() const override { return answer_; }
  void AddFilterDesc(FilterDescription*) override { ++*descriptions_; }

 private:
  const bool answer_;
  int* const descriptions_;
};

class FixedDescription : public FilterDescription {
 public:
  FixedDescription(bool answer, int* descriptions, int* made)
      : answer_(answer), descriptions_(descriptions), made_(made) {}
  std::string DescType() override { return "FixedDescription"; }
  std::shared_ptr<LogFilter> MakeFilter() override {
    ++*made_;
    return std::make_shared<FixedFilter>(answer_, descriptions_);
  }

 private:
  const bool answer_;
  int* const descriptions_;
  int* const made_;
};

TEST(LogValueFiltering, IsOffUnlessSwitchedOnAndThenEveryLineIsWritten) {
  EXPECT_FALSE(LogValueFiltering());
  RecordingSink sink;
  for (int i = 0; i < 2; ++i) LogStream("file", 1, "Function", 0, nullptr) << 5;
  EXPECT_THAT(sink.texts(), ElementsAre("5", "5"));
}

TEST_F(LogValueFilteringTest, ALineIsWrittenFirstAndThenOnlyWhenItsNumberChanges) {
  for (const int value : {5, 5, 6, 6, 5}) Line(1) << "v=" << value;
  EXPECT_THAT(sink_.texts(), ElementsAre("v=5", "v=6", "v=5"));
}

TEST_F(LogValueFilteringTest, ALineWithoutNumbersIsAlwaysWritten) {
  for (int i = 0; i < 3; ++i) Line(1) << "text " << true << 'c' << 1.5;
  EXPECT_THAT(sink_.texts(), SizeIs(3));
}

TEST_F(LogValueFilteringTest, ALineWithTwoEqualNumbersIsWrittenTheFirstTime) {
  for (int i = 0; i < 2; ++i) Line(1) << 5 << "x" << 5;
  EXPECT_THAT(sink_.texts(), ElementsAre("5x5"));
}

TEST_F(LogValueFilteringTest, OneChangedNumberOfSeveralIsEnoughWhereverItStands) {
  Line(1) << 1 << "," << 2;
  Line(1) << 1 << "," << 3;
  Line(1) << 9 << "," << 3;
  Line(1) << 9 << "," << 3;
  EXPECT_THAT(sink_.texts(), ElementsAre("1,2", "1,3", "9,3"));
}

TEST_F(LogValueFilteringTest, NumbersThatChangePlacesAreAChange) {
  Line(1) << 1 << "," << 2;
  Line(1) << 2 << "," << 1;
  EXPECT_THAT(sink_.texts(), ElementsAre("1,2", "2,1"));
}

TEST_F(LogValueFilteringTest, ANumberThatIsMissingThisTimeDoesNotKeepTheLineAlive) {
  Line(1) << 1 << "," << 2;
  Line(1) << 1;
  Line(1) << 1;
  EXPECT_THAT(sink_.texts(), ElementsAre("1,2"));
}

TEST_F(LogValueFilteringTest, LinesAreToldApartByFileLineAndFunction) {
  for (int i = 0; i < 2; ++i) {
    Line(1) << 5;
    Line(2) << 5;
    Line(1, "OtherFunction") << 5;
    Line(1, "Function", "other file") << 5;
  }
  EXPECT_THAT(sink_.texts(), SizeIs(4));
}

TEST_F(LogValueFilteringTest, LinesAreKnownByTheirTextsAndNotByTheirAddresses) {
  const std::string file = "file";
  const std::string function = "Function";
  Line(1) << 5;
  Line(1, function.c_str(), file.c_str()) << 5;
  EXPECT_THAT(sink_.texts(), SizeIs(1));
}

TEST_F(LogValueFilteringTest, SwitchingForgetsWhatWasPrinted) {
  Line(1) << 5;
  SetLogValueFiltering(true);
  Line(1) << 5;
  EXPECT_THAT(sink_.texts(), SizeIs(2));
}

TEST_F(LogValueFilteringTest, ALineGoesByTheSwitchAsItWasWhenItBegan) {
  Line(1) << 5;
  {
    LogStream line = Line(1);
    SetLogValueFiltering(false);
    line << 5;
  }
  EXPECT_THAT(sink_.texts(), SizeIs(2)) << "the record was forgotten, so it counts as the first";
  {
    LogStream line = Line(1);
    SetLogValueFiltering(true);
    line << 5;
  }
  Line(1) << 5;
  EXPECT_THAT(sink_.texts(), SizeIs(4)) << "begun while off, a line brings no filter";
}

TEST_F(LogValueFilteringTest, AFilteredLineOfOneThreadIsKnownToAnother) {
  Line(1) << 5;
  std::thread([] { Line(1) << 5; }).join();
  EXPECT_THAT(sink_.texts(), SizeIs(1));
}

TEST_F(LogValueFilteringTest, EnumerationsAndSignedNumbersAreFilteredByTheirBits) {
  // 32-bit -1 sign-extends to the largest number, so the two are one value to the filter.
  Line(1) << -1;
  Line(1) << ~0ull;
  EXPECT_THAT(sink_.texts(), ElementsAre("-1"));
  enum class E : int { kUnknown = -1 };
  Line(2) << E::kUnknown;
  Line(2) << 0xFFFFFFFFu;
  EXPECT_THAT(sink_.texts(), ElementsAre("-1", "-1")) << "enumerations are zero-extended";
}

// The slot of a virtual operation: the Itanium ABI keeps its offset, plus one, in a member pointer.
// A virtual destructor takes two slots.
template <class Operation>
std::size_t SlotOf(Operation operation) {
  std::ptrdiff_t offset;
  static_assert(sizeof(operation) >= sizeof(offset));
  std::memcpy(&offset, &operation, sizeof(offset));
  return static_cast<std::size_t>(offset - 1) / sizeof(void*);
}

TEST(LogFilter, ItsSlotsAreTheDestructorTheAnswerAndTheDescription) {
  EXPECT_EQ(SlotOf(&LogFilter::operator()), 2u);
  EXPECT_EQ(SlotOf(&LogFilter::AddFilterDesc), 3u);
}

TEST(FilterDescription, ItsSlotsAreTheDestructorTheKindAndTheFilter) {
  EXPECT_EQ(SlotOf(&FilterDescription::DescType), 2u);
  EXPECT_EQ(SlotOf(&FilterDescription::MakeFilter), 3u);
}

TEST(LogFilterDescHolder, CarriesTheDescriptionThatItWasMadeOf) {
  const auto description =
      std::make_shared<Description>(1ull, std::set<unsigned long long>{}, Description::Threshold{});
  const LogFilterDescHolder<0> holder = OR(description);
  EXPECT_EQ(holder.description(), description);
}

TEST(LogFilterDescHolder, StreamedItFiltersTheLineEvenWhereNumbersDoNot) {
  RecordingSink sink;
  SetLogValueFiltering(false);
  for (const unsigned long long rate : {5ull, 8ull, 15ull}) {
    LogStream("file", 1, "Function", 0, nullptr)
        << rate
        << OR(std::make_shared<Description>(rate, std::set<unsigned long long>{10, 20},
                                            Description::Threshold{}));
  }
  SetLogValueFiltering(false);
  EXPECT_THAT(sink.texts(), ElementsAre("5", "15"));
}

TEST(LogFilterDescHolder, ANullDescriptionIsIgnored) {
  RecordingSink sink;
  for (int i = 0; i < 2; ++i) LogStream("file", 1, "Function", 0, nullptr) << "x" << OR(nullptr);
  EXPECT_THAT(sink.texts(), SizeIs(2));
}

TEST_F(LogValueFilteringTest, AFilterIsMadeOnceForEachPositionAndFedEveryTime) {
  int no_descriptions = 0;
  int yes_descriptions = 0;
  int made = 0;
  const auto no = std::make_shared<FixedDescription>(false, &no_descriptions, &made);
  const auto yes = std::make_shared<FixedDescription>(true, &yes_descriptions, &made);
  Line(1) << "a" << OR(yes) << OR(no);
  Line(1) << "b" << OR(yes) << OR(no);
  EXPECT_EQ(made, 2);
  EXPECT_EQ(yes_descriptions, 2);
  EXPECT_EQ(no_descriptions, 2) << "a filter behind one that says yes is fed all the same";
  EXPECT_THAT(sink_.texts(), ElementsAre("a", "b"));
  Line(2) << "c" << OR(no);
  EXPECT_THAT(sink_.texts(), ElementsAre("a", "b"));
}

}  // namespace
}  // namespace movra
