// The list of what can be shared, on a real X server with a window manager.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "media/frame/platform_objects.h"
#include "media/screen/screen_for_test.h"

namespace movra::media {
namespace {

using video::IScreenSharing;
using video::ScreenSourceInfo;
using video::Size;

constexpr std::uint32_t kRed = 0xC02020;
constexpr std::uint32_t kBlue = 0x2020C0;

class SourceList : public ScreenTest {
 protected:
  // The source of that number; null if it is not listed.
  static ScreenSourceInfo Find(long id, const Size& thumbnail = {}, const Size& icon = {}) {
    for (const ScreenSourceInfo& source : IScreenSharing::GetSourceList(thumbnail, icon)) {
      if (source->id == id) return source;
    }
    return nullptr;
  }
};

TEST_F(SourceList, HoldsMonitorsFirstAndThenTheWindowsOfApplications) {
  const TestWindow first(*desktop_, {{10, 40, 120, 90}, kRed, "Erstes Fenster \u00e4\u00f6", true});
  const TestWindow second(*desktop_, {{200, 40, 100, 70}, kBlue, "Second", true});
  std::vector<ScreenSourceInfo> sources;
  ASSERT_TRUE(WaitFor([&] {
    sources = IScreenSharing::GetSourceList({}, {});
    return sources.size() == 3;
  }));
  EXPECT_EQ(sources[0]->kind, 0);
  EXPECT_EQ(sources[0]->title, "screen");
  EXPECT_EQ(sources[0]->size, (Size{640, 480}));
  EXPECT_EQ(sources[0]->thumbnail, nullptr);
  const ScreenSourceInfo one = Find(first.id());
  ASSERT_NE(one, nullptr);
  EXPECT_EQ(one->kind, 1);
  EXPECT_EQ(one->title, "Erstes Fenster \u00e4\u00f6");
  EXPECT_EQ(one->size, (Size{120, 90}));
  EXPECT_FALSE(one->minimised);
}

TEST_F(SourceList, ThumbnailsKeepTheShapeAndShowCoveredWindowsWhole) {
  desktop_->PaintBackground(kBlue);
  const TestWindow window(*desktop_, {{10, 40, 120, 90}, kRed, "Covered", true});
  const TestWindow above(*desktop_, {{0, 0, 300, 300}, kBlue});
  ScreenSourceInfo source;
  ASSERT_TRUE(WaitFor([&] {
    source = Find(window.id(), {40, 40}, {});
    return source != nullptr && source->thumbnail != nullptr;
  }));
  const video::PixelFrame& picture = source->thumbnail->frame();
  EXPECT_EQ(picture.info().size, (Size{40, 30}));
  EXPECT_TRUE(IsLike(ColorAt(picture, 5, 5), kRed));
  EXPECT_TRUE(IsLike(ColorAt(picture, 35, 25), kRed));
  const auto sources = IScreenSharing::GetSourceList({64, 64}, {});
  ASSERT_NE(sources[0]->thumbnail, nullptr);
  EXPECT_EQ(sources[0]->thumbnail->frame().info().size, (Size{64, 48}));
}

TEST_F(SourceList, AMinimisedWindowIsListedAsOne) {
  TestWindow window(*desktop_, {{10, 40, 120, 90}, kRed, "Away", true});
  window.Minimise();
  ScreenSourceInfo source;
  ASSERT_TRUE(WaitFor([&] {
    source = Find(window.id(), {40, 40}, {});
    return source != nullptr && source->minimised;
  }));
  EXPECT_EQ(source->thumbnail, nullptr);
  EXPECT_EQ(source->title, "Away");
}

TEST_F(SourceList, TheIconIsTheOneThatFitsBest) {
  const TestWindow window(*desktop_, {{10, 40, 120, 90}, kRed, "Icon", true});
  std::vector<std::uint32_t> icons;
  for (const std::uint32_t side : {16U, 32U, 48U}) {
    icons.insert(icons.end(), {side, side});
    icons.insert(icons.end(), side * side, 0xFF000000U + side);
  }
  X11Connection& connection = desktop_->connection();
  ASSERT_TRUE(connection.Check(xcb_change_property_checked(
      connection.xcb(), XCB_PROP_MODE_REPLACE, window.id(), connection.Atom("_NET_WM_ICON"),
      XCB_ATOM_CARDINAL, 32, static_cast<std::uint32_t>(icons.size()), icons.data())));
  const auto color_of = [&](const Size& box) {
    const ScreenSourceInfo source = Find(window.id(), {}, box);
    if (source == nullptr || source->icon == nullptr) return 0U;
    EXPECT_LE(source->icon->frame().info().size.width, box.width);
    return ColorAt(source->icon->frame(), 3, 3);
  };
  ASSERT_TRUE(WaitFor([&] { return Find(window.id()) != nullptr; }));
  EXPECT_EQ(color_of({16, 16}), 16U);
  EXPECT_EQ(color_of({24, 24}), 32U);
  EXPECT_EQ(color_of({256, 256}), 48U);
}

TEST_F(SourceList, ABrokenIconIsNone) {
  const TestWindow window(*desktop_, {{10, 40, 120, 90}, kRed, "Icon", true});
  const std::array<std::uint32_t, 4> icon{0x10000, 0x10000, 1, 2};
  X11Connection& connection = desktop_->connection();
  ASSERT_TRUE(connection.Check(xcb_change_property_checked(
      connection.xcb(), XCB_PROP_MODE_REPLACE, window.id(), connection.Atom("_NET_WM_ICON"),
      XCB_ATOM_CARDINAL, 32, icon.size(), icon.data())));
  ASSERT_TRUE(WaitFor([&] { return Find(window.id()) != nullptr; }));
  EXPECT_EQ(Find(window.id(), {}, {32, 32})->icon, nullptr);
}

}  // namespace
}  // namespace movra::media
