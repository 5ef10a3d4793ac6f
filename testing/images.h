// The images and views of tests: names, and nothing to look at.

#ifndef MOVRA_TESTING_IMAGES_H_
#define MOVRA_TESTING_IMAGES_H_

#include <memory>
#include <string>
#include <utility>

#include "testing/named.h"
#include "video/objc_wrapper.h"

namespace movra::video {

template <>
class ObjcWrapper<NSImage> : public movra::testing::Named {
 public:
  using Named::Named;
};

template <>
class ObjcWrapper<NSView> : public movra::testing::Named {
 public:
  using Named::Named;
};

}  // namespace movra::video

namespace movra::testing {

using Image = video::ObjcWrapper<NSImage>;
using View = video::ObjcWrapper<NSView>;

[[nodiscard]] inline std::shared_ptr<Image> MakeImage(std::string name) {
  return std::make_shared<Image>(std::move(name));
}
[[nodiscard]] inline std::shared_ptr<View> MakeView(std::string name) {
  return std::make_shared<View>(std::move(name));
}

}  // namespace movra::testing

#endif  // MOVRA_TESTING_IMAGES_H_
