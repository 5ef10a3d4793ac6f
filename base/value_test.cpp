#include "base/value.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

namespace movra_base {
namespace {

static_assert(!std::is_constructible_v<Value, void*>, "a pointer is not a truth value");
static_assert(!std::is_convertible_v<int, Value>);

TEST(Value, IsNullAtFirst) {
  const Value value;
  EXPECT_TRUE(value.is_null());
  EXPECT_EQ(value.type(), Value::Type::kNull);
  EXPECT_EQ(value.GetIf<bool>(), nullptr);
}

TEST(Value, KnowsTheKindOfWhatItWasMadeOf) {
  EXPECT_EQ(Value(true).type(), Value::Type::kBool);
  EXPECT_EQ(Value(1).type(), Value::Type::kInteger);
  EXPECT_EQ(Value(1u).type(), Value::Type::kInteger);
  EXPECT_EQ(Value(1ll).type(), Value::Type::kInteger);
  EXPECT_EQ(Value(1.0).type(), Value::Type::kDouble);
  EXPECT_EQ(Value(1.0f).type(), Value::Type::kDouble);
  EXPECT_EQ(Value("text").type(), Value::Type::kString);
  EXPECT_EQ(Value(std::string("text")).type(), Value::Type::kString);
  EXPECT_FALSE(Value(0).is_null());
}

TEST(Value, GivesItsValueAsItsOwnKindOnly) {
  const Value value(-12);
  ASSERT_NE(value.GetIf<std::int64_t>(), nullptr);
  EXPECT_EQ(*value.GetIf<std::int64_t>(), -12);
  EXPECT_EQ(value.GetIf<double>(), nullptr);
  EXPECT_EQ(*Value(true).GetIf<bool>(), true);
  EXPECT_EQ(*Value(0.5).GetIf<double>(), 0.5);
  EXPECT_EQ(*Value("text").GetIf<std::string>(), "text");
}

TEST(Value, PrintsEveryKind) {
  EXPECT_EQ(Value().ToString(), "null");
  EXPECT_EQ(Value(true).ToString(), "true");
  EXPECT_EQ(Value(false).ToString(), "false");
  EXPECT_EQ(Value(std::numeric_limits<std::int64_t>::min()).ToString(), "-9223372036854775808");
  EXPECT_EQ(Value(0.1).ToString(), "0.1");
  EXPECT_EQ(Value(-std::numeric_limits<double>::denorm_min()).ToString(), "-5e-324");
  EXPECT_EQ(Value("text").ToString(), "text");
  EXPECT_EQ(Value("").ToString(), "");
}

TEST(Value, IsEqualToTheSameValueOfTheSameKind) {
  EXPECT_EQ(Value(), Value());
  EXPECT_EQ(Value(5), Value(5ll));
  EXPECT_EQ(Value("a"), Value(std::string("a")));
  EXPECT_NE(Value(5), Value(6));
  EXPECT_NE(Value(1), Value(1.0));
  EXPECT_NE(Value(1), Value(true));
  EXPECT_NE(Value(), Value(""));
}

TEST(Value, CopiesIndependently) {
  Value original("text");
  const Value copy = original;
  original = Value(1);
  EXPECT_EQ(copy, Value("text"));
}

}  // namespace
}  // namespace movra_base
