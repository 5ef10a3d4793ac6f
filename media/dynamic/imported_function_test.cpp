#include "media/dynamic/imported_function.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace movra::media {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

using Cosine = ImportedFunction<double(double)>;

TEST(ImportedFunction, IsCalledLikeTheFunctionThatItStandsFor) {
  LibraryLoader loader;
  Cosine cosine;
  EXPECT_FALSE(cosine.is_bound());
  loader.Open("libm.so.6");
  loader.Bind("cos", cosine);
  ASSERT_THAT(loader.error(), IsEmpty());
  EXPECT_TRUE(cosine.is_bound());
  EXPECT_DOUBLE_EQ(cosine(1.5), std::cos(1.5));
}

TEST(ImportedFunction, ALibraryThatIsMissingIsNamedAndBindsNothing) {
  LibraryLoader loader;
  Cosine cosine;
  loader.Open("libmovra-nowhere.so.7");
  const std::string error = loader.error();
  EXPECT_THAT(error, HasSubstr("libmovra-nowhere.so.7"));
  loader.Open("libm.so.6");
  loader.Bind("cos", cosine);
  EXPECT_FALSE(cosine.is_bound());
  EXPECT_EQ(loader.error(), error);
}

TEST(ImportedFunction, AFunctionThatIsMissingIsNamed) {
  LibraryLoader loader;
  Cosine cosine;
  loader.Open("libm.so.6");
  loader.Bind("movra_nothing", cosine);
  EXPECT_FALSE(cosine.is_bound());
  EXPECT_THAT(loader.error(), HasSubstr("movra_nothing"));
}

}  // namespace
}  // namespace movra::media
