#include "logging/log_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <locale>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>

#include "logging/log_message.h"
#include "logging/recording_sink_for_test.h"

namespace movra {

enum class Printed : int { kOne = 1 };
std::ostream& operator<<(std::ostream& out, Printed) { return out << "printed"; }

namespace {

using ::movra_logging::RecordingSink;
using ::testing::ElementsAre;

enum class Plain : int { kMinus = -1, kTwo = 2 };
enum class Narrow : std::uint8_t { kSeven = 7 };
enum Unscoped { kThree = 3 };

struct Size {
  int width;
  int height;
};
std::ostream& operator<<(std::ostream& out, const Size& size) {
  return out << "Size{" << size.width << "x" << size.height << "}";
}

struct Breaking {};
std::ostream& operator<<(std::ostream& out, Breaking) {
  out.setstate(std::ios_base::failbit);
  return out;
}

struct NotPrintable {};

template <class T>
constexpr bool kCanPrint = requires(LogStream& stream, const T& value) {
  stream << value;
};
static_assert(!kCanPrint<NotPrintable>);
static_assert(!std::is_copy_constructible_v<LogStream>);
static_assert(sizeof(InstanceTrace) == 8);
static_assert(InstanceTrace(3) == InstanceTrace(3) && InstanceTrace(3) != InstanceTrace(4));
static_assert(InstanceTrace() == InstanceTrace(0));

// What one element prints, seen by the sink.
template <class... T>
std::string Text(const T&... elements) {
  RecordingSink sink;
  {
    LogStream stream("file", 1, "Function", 0, nullptr);
    (stream << ... << elements);
  }
  return sink.texts().empty() ? "nothing" : sink.texts().front();
}

// Whether a line of this one element is kept back when it repeats.
template <class T>
bool AttachesAFilter(const T& element) {
  RecordingSink sink;
  SetLogValueFiltering(true);
  for (int i = 0; i < 2; ++i) LogStream("file", 1, "Function", 0, nullptr) << element;
  SetLogValueFiltering(false);
  return sink.lines().size() == 1;
}

TEST(LogStream, SendsItsLineWhenItIsDestroyed) {
  RecordingSink sink;
  {
    LogStream stream("some/file", 42, "Function", 1, &sink);
    stream << "hello";
    EXPECT_TRUE(sink.lines().empty());
  }
  EXPECT_THAT(sink.lines(),
              ElementsAre(RecordingSink::Line{"some/file", 42, "Function", 1, "hello"}));
}

TEST(LogStream, WorksAsATemporaryGuardedByItsLevel) {
  RecordingSink sink;
  if (movra_logging::ShouldCreateLogMessage(0)) {
    LogStream("file", 1, "Function", 0, nullptr)
        << LogTraceId(InstanceTrace(12)) << LogTag("[main]") << " "
        << "Initialize";
  }
  EXPECT_THAT(sink.texts(), ElementsAre("[trace:12][main] Initialize"));
}

TEST(LogStream, PrintsTextAsItStands) {
  const std::string text = "text";
  const char* const pointer = "pointer";
  char array[] = "array";
  char* const mutable_pointer = array;
  EXPECT_EQ(Text(text, std::string_view("view"), pointer, array, mutable_pointer, "literal"),
            "textviewpointerarrayarrayliteral");
  EXPECT_EQ(Text(std::string("a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(Text(static_cast<const char*>(nullptr)), "(null)");
  EXPECT_EQ(Text(std::setw(5), "ab", std::setw(5), std::string("cd"), "ef"), "   ab   cdef");
}

TEST(LogStream, PrintsTheTagAndTheTraceOfAnInstance) {
  EXPECT_EQ(Text(LogTraceId(InstanceTrace(std::numeric_limits<std::uint64_t>::max()))),
            "[trace:18446744073709551615]");
  const std::string tag = "[app][sub]";
  EXPECT_EQ(Text(LogTag(tag)), tag);
  EXPECT_EQ(LogTag(tag).text().data(), tag.data()) << "the tag is borrowed";
}

TEST(LogStream, PrintsIntegersInDecimal) {
  EXPECT_EQ(Text(-5, " ", 5u, " ", std::int16_t{-3}, " ", 7l), "-5 5 -3 7");
  EXPECT_EQ(Text(std::numeric_limits<long long>::min()), "-9223372036854775808");
  EXPECT_EQ(Text(std::numeric_limits<unsigned long long>::max()), "18446744073709551615");
}

TEST(LogStream, HonoursTheFormatFlagsForNumbers) {
  EXPECT_EQ(Text("0x", std::hex, std::setw(8), std::setfill('0'), 0x00FF00u), "0x0000ff00");
  EXPECT_EQ(Text(std::hex, -1), "ffffffff") << "the number's own width counts";
  EXPECT_EQ(Text(std::hex, 255, std::dec, 255), "ff255");
  EXPECT_EQ(Text(std::showpos, 5, std::noshowpos, 5), "+55");
  EXPECT_EQ(Text(std::oct, 8), "10");
  EXPECT_EQ(Text(std::setw(4), 12, 12), "  1212");
  EXPECT_EQ(Text(std::hex, Plain::kMinus), "ffffffff");
}

TEST(LogStream, FormatFlagsEndWithTheirLine) {
  Text(std::hex, std::setfill('*'), std::setprecision(1), std::showpos, std::setw(9));
  EXPECT_EQ(Text("", 255, std::setw(4), 255, 1.25, true), "255 2551.25true");
  EXPECT_EQ(Text(3.14159265), "3.14159");
}

TEST(LogStream, AStreamThatAPrinterBrokeIsWholeInTheNextLine) {
  Text(Breaking());
  EXPECT_EQ(Text(1.25), "1.25");
}

TEST(LogStream, TheFirstLineOfAThreadPrintsLikeEveryOther) {
  std::string first;
  std::thread([&first] { first = Text(true, std::setw(3), 1); }).join();
  EXPECT_EQ(first, "true  1");
}

TEST(LogStream, PrintsAnEnumerationByItsOwnPrinterOrElseAsItsNumber) {
  EXPECT_EQ(Text(Printed::kOne), "printed");
  EXPECT_EQ(Text(Plain::kMinus, Plain::kTwo), "-12");
  EXPECT_EQ(Text(Narrow::kSeven), "7");
  EXPECT_EQ(Text(kThree), "3");
}

TEST(LogStream, PrintsAnAtomicAsItsValue) {
  EXPECT_EQ(Text(std::atomic<int>(4), std::atomic<Printed>(Printed::kOne)), "4printed");
  EXPECT_EQ(Text(std::atomic<bool>(true)), "true");
}

TEST(LogStream, PrintsTruthValuesAndCharactersAsText) {
  EXPECT_EQ(Text(true, false, 'x'), "truefalsex");
  EXPECT_EQ(Text(std::uint8_t{'y'}), "y");
}

TEST(LogStream, PrintsEverythingElseThroughItsOstreamInsertion) {
  EXPECT_EQ(Text(Size{640, 360}, 1.5), "Size{640x360}1.5");
  const int value = 0;
  std::ostringstream address;
  address << static_cast<const void*>(&value);
  EXPECT_EQ(Text(static_cast<const void*>(&value)), address.str());
  EXPECT_EQ(Text(&value), address.str());
}

TEST(LogStream, OnlyNumbersAttachAFilter) {
  EXPECT_TRUE(AttachesAFilter(5));
  EXPECT_TRUE(AttachesAFilter(5ull));
  EXPECT_TRUE(AttachesAFilter(Plain::kTwo));
  EXPECT_TRUE(AttachesAFilter(Printed::kOne));
  EXPECT_TRUE(AttachesAFilter(std::atomic<Printed>(Printed::kOne)));
  EXPECT_TRUE(AttachesAFilter(std::atomic<int>(1)));
  EXPECT_FALSE(AttachesAFilter(true));
  EXPECT_FALSE(AttachesAFilter(std::atomic<bool>(true)));
  EXPECT_FALSE(AttachesAFilter('x'));
  EXPECT_FALSE(AttachesAFilter(1.5));
  EXPECT_FALSE(AttachesAFilter("text"));
  EXPECT_FALSE(AttachesAFilter(Size{1, 2}));
  EXPECT_FALSE(AttachesAFilter(std::setw(3)));
  EXPECT_FALSE(AttachesAFilter(static_cast<const void*>(nullptr)));
  EXPECT_FALSE(AttachesAFilter(LogTraceId(InstanceTrace(5))));
}

TEST(LogStream, ANumberAttachesAFilterHoweverItIsFormatted) {
  RecordingSink sink;
  SetLogValueFiltering(true);
  for (int i = 0; i < 2; ++i) {
    LogStream("file", 1, "Function", 0, nullptr) << std::hex << std::setw(8) << 5u;
  }
  SetLogValueFiltering(false);
  EXPECT_THAT(sink.texts(), ElementsAre("       5"));
}

TEST(LogStream, LinesMayNest) {
  RecordingSink sink;
  const auto inner = [] {
    LogStream("file", 2, "Inner", 0, nullptr) << "inner" << std::hex << 255;
    return 10;
  };
  LogStream("file", 1, "Outer", 0, nullptr) << "outer " << inner() << " end";
  LogStream("file", 3, "After", 0, nullptr) << 16;
  EXPECT_THAT(sink.texts(), ElementsAre("innerff", "outer 10 end", "16"));
}

TEST(LogStream, LinesMayEndInAnyOrderAndOnAnotherThread) {
  RecordingSink sink;
  auto first = std::make_unique<LogStream>("file", 1, "Function", 0, nullptr);
  auto second = std::make_unique<LogStream>("file", 2, "Function", 0, nullptr);
  *first << "first";
  *second << "second";
  first.reset();
  std::thread([&] { second.reset(); }).join();
  EXPECT_THAT(sink.texts(), ElementsAre("first", "second"));
}

struct WritesALineWhenItsThreadEnds {
  ~WritesALineWhenItsThreadEnds() { LogStream("file", 1, "Function", 0, nullptr) << "last words"; }
};

TEST(LogStream, MayBeUsedWhileItsThreadsObjectsAreDestroyed) {
  RecordingSink sink;
  std::thread([] {
    // Made before the thread's first line, so destroyed after what the first line leaves behind.
    thread_local const WritesALineWhenItsThreadEnds object;
    (void)&object;
    LogStream("file", 1, "Function", 0, nullptr) << "first";
  }).join();
  EXPECT_THAT(sink.texts(), ElementsAre("first", "last words"));
}

TEST(LogStream, DoesNotDependOnTheUsersLanguage) {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
  std::string text;
  std::thread([&] { text = Text(1000000, " ", std::setw(8), 1000000); }).join();
  std::locale::global(before);
  EXPECT_EQ(text, "1000000  1000000");
}

TEST(LogStream, ThreadsWriteWholeLines) {
  struct CountingSink : movra_logging::LogSink {
    void Send(const movra_logging::LogRecord& record) override {
      if (record.text == "abc123") ++whole;
      ++all;
    }
    std::atomic<int> whole = 0;
    std::atomic<int> all = 0;
  } sink;
  movra_logging::AddLogSink(&sink);
  const auto write = [] {
    for (int i = 0; i < 200; ++i) LogStream("file", 1, "Function", 0, nullptr) << "abc" << 123;
  };
  std::thread one(write);
  std::thread two(write);
  one.join();
  two.join();
  movra_logging::RemoveLogSink(&sink);
  EXPECT_EQ(sink.all, 400);
  EXPECT_EQ(sink.whole, 400);
}

}  // namespace
}  // namespace movra
