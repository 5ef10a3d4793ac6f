#include "app/source_words.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace movra::app {
namespace {

using ::testing::HasSubstr;

SourceWords Place(const std::string& place) {
  SourceWords words;
  words.place = place;
  words.has_place = true;
  return words;
}

SourceWords Id(const std::string& id) {
  SourceWords words;
  words.id = id;
  words.has_id = true;
  return words;
}

SourceWords Starting(SourceWords words, const std::string& start) {
  words.start = start;
  words.has_start = true;
  return words;
}

std::string IdOf(const SourceWords& words) {
  const auto result = ReadSource(words);
  const Failure* const failure = FailureOf(result);
  return failure != nullptr ? "FAILED: " + failure->text : ValueOf(result);
}

Failure FailureOfWords(const SourceWords& words) {
  const auto result = ReadSource(words);
  const Failure* const failure = FailureOf(result);
  return failure != nullptr ? *failure : Failure{ExitCode::kSuccess, ValueOf(result)};
}

TEST(SourceWords, WithoutAWordItIsTheTestPicture) { EXPECT_EQ(IdOf({}), "test:"); }

TEST(SourceWords, APlainNameIsAFile) {
  EXPECT_EQ(IdOf(Place("talk.mp4")), "file:talk.mp4");
  EXPECT_EQ(IdOf(Place("/a b/who?.mp4")), "file:/a b/who%3F.mp4");
  EXPECT_EQ(IdOf(Place("100%25.mp4")), "file:100%2525.mp4");
  EXPECT_EQ(IdOf(Place("webcam")), "file:webcam");
  EXPECT_EQ(IdOf(Place("-")), "file:/dev/stdin");
}

TEST(SourceWords, WhatBeginsLikeAnIdIsOneUnlessThereIsAPathBefore) {
  EXPECT_EQ(IdOf(Place("test:?rate=25")), "test:?rate=25");
  EXPECT_EQ(IdOf(Place("/dev/video0")), "/dev/video0");
  EXPECT_EQ(IdOf(Place("file:a.mp4?loop")), "file:a.mp4?loop");
  EXPECT_EQ(IdOf(Place("./test:")), "file:./test:");
}

TEST(SourceWords, AnIdIsTakenAsItIs) {
  EXPECT_EQ(IdOf(Id("webcam")), "webcam");
  EXPECT_EQ(IdOf(Id("-")), "-");
  EXPECT_EQ(IdOf(Id("file:who?.mp4")), "file:who?.mp4");
}

TEST(SourceWords, WhatIsAskedOfAFileGoesIntoItsId) {
  SourceWords words = Place("who?.mp4");
  words.loop = true;
  words.realtime = true;
  EXPECT_EQ(IdOf(Starting(words, "1m30.5s")), "file:who%3F.mp4?loop&realtime&start=90.5s");
  EXPECT_EQ(IdOf(Starting(Id("file:a.mp4?loop"), "0s")), "file:a.mp4?loop&start=0s");
  words = Place("a.mp4");
  words.once = words.fast = true;
  EXPECT_EQ(IdOf(words), "file:a.mp4");
}

TEST(SourceWords, ALiveSourceIsInRealTimeAnyway) {
  SourceWords words = Id("/dev/video0");
  words.realtime = words.once = true;
  EXPECT_EQ(IdOf(words), "/dev/video0");
}

TEST(SourceWords, AnIdThatNobodyKnowsStaysAsItIsToBeToldLater) {
  SourceWords words = Starting(Id("webcam"), "5s");
  words.loop = words.fast = true;
  EXPECT_EQ(IdOf(words), "webcam");
}

TEST(SourceWords, SaysWhatExcludesWhat) {
  SourceWords both = Id("test:");
  both.place = "a.mp4";
  both.has_place = true;
  SourceWords loop = Id("file:a.mp4?loop");
  loop.once = true;
  SourceWords fast = Id("file:a.mp4?realtime");
  fast.fast = true;
  SourceWords live = Id("test:");
  live.loop = true;
  struct Case {
    SourceWords words;
    const char* text;
  };
  for (const Case& c :
       {Case{both, "--source test: and 'a.mp4' are two sources; leave one out"},
        Case{loop, "--once and the loop of 'file:a.mp4?loop' exclude each other"},
        Case{fast, "--fast and the realtime of 'file:a.mp4?realtime' exclude each other"},
        Case{Starting(Id("file:a.mp4?start=1s"), "2s"), "--start and the start of"},
        Case{live, "--loop is for video files; 'test:' is live"},
        Case{Starting(Id("/dev/video0"), "2s"), "--start is for video files; '/dev/video0'"}}) {
    const Failure failure = FailureOfWords(c.words);
    EXPECT_EQ(failure.code, ExitCode::kContradiction) << c.text;
    EXPECT_THAT(failure.text, HasSubstr(c.text));
  }
}

TEST(SourceWords, ReadsTheStartAsATime) {
  EXPECT_EQ(FailureOfWords(Starting(Place("a.mp4"), "5")).code, ExitCode::kMalformed);
  EXPECT_THAT(FailureOfWords(Starting(Place("a.mp4"), "5")).text,
              HasSubstr("--start: '5' is not a time"));
  EXPECT_EQ(FailureOfWords(Starting(Place("a.mp4"), "1001h")).code, ExitCode::kOutOfRange);
}

TEST(SourceWords, AnEmptyNameIsNone) {
  EXPECT_EQ(FailureOfWords(Place("")).code, ExitCode::kUnknownCamera);
  EXPECT_EQ(FailureOfWords(Id("")).text,
            "--source: the name is empty; use a video file, test:, file:PATH, /dev/videoN, "
            "screen:NAME or window:TITLE");
}

}  // namespace
}  // namespace movra::app
