#include "media/capture/source_id.h"

#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(SourceId, IsAnAddressAndOptions) {
  const SourceId id = ParseSourceId("/home/ann/a talk.mp4?loop&start=5s&note=a=b");
  EXPECT_EQ(id.address, "/home/ann/a talk.mp4");
  EXPECT_THAT(id.options, ElementsAre(SourceOption{"loop", std::nullopt},
                                      SourceOption{"start", "5s"}, SourceOption{"note", "a=b"}));
}

TEST(SourceId, MayHaveNeither) {
  EXPECT_EQ(ParseSourceId(""), SourceId());
  EXPECT_EQ(ParseSourceId("a.mp4"), (SourceId{"a.mp4", {}}));
  EXPECT_THAT(ParseSourceId("?frames=9").address, IsEmpty());
}

TEST(SourceId, AnOptionWithoutANameIsOneToo) {
  EXPECT_THAT(ParseSourceId("a?").options, ElementsAre(SourceOption{"", std::nullopt}));
  EXPECT_THAT(ParseSourceId("a?b&&=").options,
              ElementsAre(SourceOption{"b", std::nullopt}, SourceOption{"", std::nullopt},
                          SourceOption{"", ""}));
}

TEST(SourceId, APercentSignAndTwoDigitsAreAByte) {
  EXPECT_EQ(ParseSourceId("who%3F%20%c3%bc.mp4").address, "who? \xc3\xbc.mp4");
  EXPECT_EQ(ParseSourceId("a?b=%26%25").options.front().value, "&%");
}

TEST(SourceId, AnyOtherPercentSignStandsForItself) {
  for (const char* const name : {"100%.mp4", "%", "%2", "%zz", "%-1", "%+1", "% 1", "a%4"}) {
    EXPECT_EQ(ParseSourceId(name).address, name);
  }
}

TEST(SourceId, EveryNameHasAnAddress) {
  std::string all;
  for (int c = 1; c < 256; ++c) all += static_cast<char>(c);
  for (const std::string& name : {std::string("who?.mp4"), std::string("100%25.mp4"),
                                  std::string("a&b=c.mp4"), std::string("??%3F"), all}) {
    const SourceId id = ParseSourceId(SourceAddressOf(name));
    EXPECT_EQ(id.address, name);
    EXPECT_THAT(id.options, IsEmpty());
  }
  EXPECT_EQ(SourceAddressOf("/a b/c&d.mp4"), "/a b/c&d.mp4");
}

TEST(SourceId, TakesOptionsBehindThoseThatItHas) {
  std::string id = WithSourceOption("a.mp4", "loop");
  EXPECT_EQ(id, "a.mp4?loop");
  id = WithSourceOption(id, "note", "50% & more");
  EXPECT_EQ(id, "a.mp4?loop&note=50%25 %26 more");
  EXPECT_EQ(ParseSourceId(id).options.back(), (SourceOption{"note", "50% & more"}));
}

}  // namespace
}  // namespace movra::media
