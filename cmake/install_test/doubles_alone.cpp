// Prints what a producer does on the doubles. No test framework is needed for that.

#include <cstdio>

#include "testing/environment.h"
#include "video/producer/video_producer2_impl.h"

int main() {
  movra::testing::Environment env;
  const auto producer = std::make_shared<movra::video::VideoProducer2Impl>(
      movra::video::VideoContext(movra::InstanceTrace(1), ""), nullptr,
      movra::video::VideoStreamType::kBig);
  producer->Initialize();
  producer->StartEncoder(movra::video::VideoStreamType::kBig, {.width = 640, .height = 360}, {});
  for (const std::string& entry : env.journal().Take()) std::puts(entry.c_str());
}
