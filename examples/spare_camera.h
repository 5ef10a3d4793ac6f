// A piece of an application, to show how such pieces are tested: spare_camera_test.cpp beside it
// tests it on doubles, spare_camera_real_test.cpp with the real parts.

#ifndef MOVRA_EXAMPLES_SPARE_CAMERA_H_
#define MOVRA_EXAMPLES_SPARE_CAMERA_H_

#include <memory>
#include <string>

#include "base/once_callback.h"
#include "video/producer/video_producer2.h"

// Starts the camera, and the spare one in its place where it cannot be started. On the main queue.
inline void StartWithSpare(const std::shared_ptr<movra::video::IVideoProducer2>& producer,
                           const std::string& camera, const std::string& spare) {
  const std::weak_ptr<movra::video::IVideoProducer2> weak = producer;
  producer->StartCapture({.camera_id = camera},
                         movra_base::BindOnce([weak, spare](int error_code, int) {
                           const auto still_there = weak.lock();
                           if (error_code == 0 || still_there == nullptr) return;
                           still_there->StopCapture({});  // It counts as capturing until then.
                           still_there->StartCapture({.camera_id = spare}, {});
                         }));
}

#endif  // MOVRA_EXAMPLES_SPARE_CAMERA_H_
