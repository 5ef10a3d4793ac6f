#include "gtest/gtest.h"
#include "video/platform.h"

namespace movra::video {
namespace {

TEST(IsMetalAvailable, NeverOnLinux) { EXPECT_FALSE(IsMetalAvailable()); }

}  // namespace
}  // namespace movra::video
