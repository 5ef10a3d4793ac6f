#ifndef MOVRA_MEDIA_MAIN_QUEUE_OFF_THE_MAIN_QUEUE_FOR_TEST_H_
#define MOVRA_MEDIA_MAIN_QUEUE_OFF_THE_MAIN_QUEUE_FOR_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "logging/recording_sink_for_test.h"

namespace movra::media {

// An operation of a collaborator by its name.
template <class T>
using NamedOperation = std::pair<std::string, std::function<void(T&)>>;

// Calls each operation on a collaborator of its own: a call on the test's thread is told nothing
// of, two on another thread are told once. `whose` is the rest of the line behind "NAME of ".
template <class T, class Make>
void ExpectToldOffTheMainQueue(const std::vector<NamedOperation<T>>& operations, const Make& make,
                               const std::string& whose) {
  for (const auto& [name, call] : operations) {
    SCOPED_TRACE(name);
    const auto object = make();
    const movra_logging::RecordingSink log;
    const auto told = [&log] {
      std::vector<std::string> lines;
      for (const std::string& text : log.texts()) {
        if (text.find("off the main queue") != std::string::npos) lines.push_back(text);
      }
      return lines;
    };
    call(*object);
    EXPECT_THAT(told(), ::testing::IsEmpty());
    std::thread([&, &call = call] {
      call(*object);
      call(*object);
    }).join();
    EXPECT_THAT(told(), ::testing::ElementsAre(::testing::EndsWith(
                            name + " of " + whose + " was called off the main queue")));
  }
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_MAIN_QUEUE_OFF_THE_MAIN_QUEUE_FOR_TEST_H_
