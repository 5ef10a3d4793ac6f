#include "app/last_words.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace movra::app {
namespace {

// Throws on a thread of its own, where nobody catches, in the process of a death test.
void EndBy(const std::function<void()>& thrower) {
  InstallLastWords();
  std::thread(thrower).join();
}

TEST(LastWords, NoMemoryIsSaidAndHasItsCode) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(EndBy([] { throw std::bad_alloc(); }), testing::ExitedWithCode(33),
              "^movra-producer: there is not enough memory\n$");
}

TEST(LastWords, NoThreadIsSaidAndHasTheSameCode) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto error = std::make_error_code(std::errc::resource_unavailable_try_again);
  EXPECT_EXIT(EndBy([&] { throw std::system_error(error); }), testing::ExitedWithCode(33),
              "^movra-producer: no more threads can be started\n$");
}

TEST(LastWords, WhateverElseIsAnErrorOfTheProgram) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto other = std::make_error_code(std::errc::io_error);
  EXPECT_EXIT(EndBy([&] { throw std::system_error(other); }), testing::ExitedWithCode(1),
              "should not happen: .*Input/output error\n$");
  EXPECT_EXIT(EndBy([] { throw std::logic_error("seven is odd"); }), testing::ExitedWithCode(1),
              "should not happen: seven is odd\n$");
  EXPECT_EXIT(EndBy([] { throw 7; }), testing::ExitedWithCode(1), "should not happen\n$");
  EXPECT_EXIT(EndBy([] { std::terminate(); }), testing::ExitedWithCode(1), "should not happen\n$");
}

}  // namespace
}  // namespace movra::app
