// Gives every test of a program one desktop.

#include <gtest/gtest.h>

#include <memory>

#include "media/screen/x11_desktop_for_test.h"

namespace movra::media {
namespace {

class WithDesktop final : public ::testing::Environment {
 public:
  void SetUp() override {
    desktop_ = std::make_unique<X11Desktop>();
    ASSERT_TRUE(desktop_->is_there());
  }
  void TearDown() override { desktop_.reset(); }

 private:
  std::unique_ptr<X11Desktop> desktop_;
};

[[maybe_unused]] const ::testing::Environment* const kDesktop =
    ::testing::AddGlobalTestEnvironment(new WithDesktop);

}  // namespace
}  // namespace movra::media
