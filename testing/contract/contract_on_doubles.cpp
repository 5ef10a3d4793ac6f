// Linked with a contract suite, runs it on the doubles: their factories need a world.

#include <gtest/gtest.h>

#include <optional>

#include "testing/world.h"

namespace movra::testing {
namespace {

class WorldForContracts : public ::testing::Environment {
 public:
  void SetUp() override { world_.emplace(); }
  void TearDown() override { world_.reset(); }

 private:
  std::optional<World> world_;
};

const ::testing::Environment* const kWorld =
    ::testing::AddGlobalTestEnvironment(new WorldForContracts);

}  // namespace
}  // namespace movra::testing
