#include "app/operations_reference.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace movra::app {
namespace {

TEST(OperationsReference, IsThePageInTheDocumentation) {
  std::ifstream file(MOVRA_OPERATIONS_REFERENCE);
  std::ostringstream page;
  page << file.rdbuf();
  const std::string expected = OperationsReference();
  if (page.str() == expected) return;
  const std::string made = ::testing::TempDir() + "operations.md";
  std::ofstream(made) << expected;
  ADD_FAILURE() << "the table has changed; look at the difference and take it over:\n  cp " << made
                << " " << MOVRA_OPERATIONS_REFERENCE;
}

}  // namespace
}  // namespace movra::app
