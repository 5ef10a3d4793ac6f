#include "media/dynamic/imported_function.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "media/dynamic/cairo_api.h"

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
  loader.Open("libmovra-elsewhere.so.7");
  EXPECT_EQ(loader.error(), error);
}

TEST(ImportedFunction, AFunctionThatIsMissingIsNamed) {
  LibraryLoader loader;
  Cosine cosine;
  loader.Open("libm.so.6");
  loader.Bind("movra_nothing", cosine);
  EXPECT_FALSE(cosine.is_bound());
  const std::string error = loader.error();
  EXPECT_THAT(error, HasSubstr("movra_nothing"));
  loader.Bind("cos", cosine);
  EXPECT_FALSE(cosine.is_bound());
  EXPECT_EQ(loader.error(), error);
}

TEST(ImportedFunction, WithoutALibraryNothingIsBoundAndNothingIsWrong) {
  LibraryLoader loader;
  Cosine cosine;
  loader.Bind("cos", cosine);
  EXPECT_FALSE(cosine.is_bound());
  EXPECT_THAT(loader.error(), IsEmpty());
}

TEST(ImportedFunction, StaysBoundWhereABindingFails) {
  LibraryLoader loader;
  Cosine cosine;
  loader.Open("libm.so.6");
  loader.Bind("cos", cosine);
  loader.Bind("movra_nothing", cosine);
  EXPECT_TRUE(cosine.is_bound());
}

TEST(CairoApi, IsBoundWhenItIsLoaded) {
  ASSERT_EQ(LoadCairo(), "");
  EXPECT_STREQ(cairo_status_to_string(CAIRO_STATUS_NO_MEMORY), "out of memory");
  EXPECT_EQ(LoadCairo(), "");
}

}  // namespace
}  // namespace movra::media
