#include "media/screen/x11_image.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <cstring>

namespace movra::media {
namespace {

constexpr std::uint32_t kAllPlanes = 0xFFFFFFFF;
// What is shared grows in steps, so that a window that is being resized needs no new memory each
// time.
constexpr std::size_t kStep = std::size_t{1} << 20U;

}  // namespace

X11Image::~X11Image() { Unshare(); }

bool X11Image::Get(xcb_drawable_t drawable, const video::Region& part) {
  canvas_ = {};
  const auto bytes =
      static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height) * 4;
  if (bytes == 0) return false;
  const bool has_it = Share(bytes) ? GetShared(drawable, part) : GetCopied(drawable, part);
  if (has_it) {
    canvas_.stride = part.width * 4;
    canvas_.size = {part.width, part.height};
  }
  return has_it;
}

bool X11Image::Share(std::size_t bytes) {
  if (shared_ != nullptr && bytes <= shared_bytes_) return true;
  Unshare();
  if (cannot_share_ || !connection_.has_shm()) return false;
  cannot_share_ = true;  // Unless all of this works, nothing will another time.
  const std::size_t rounded = (bytes + kStep - 1) / kStep * kStep;
  const int id = shmget(IPC_PRIVATE, rounded, IPC_CREAT | 0600);
  if (id < 0) return false;
  void* const memory = shmat(id, nullptr, 0);
  const bool is_mapped = memory != reinterpret_cast<void*>(-1);
  segment_ = xcb_generate_id(connection_.xcb());
  const bool is_attached =
      is_mapped && connection_.Check(xcb_shm_attach_checked(connection_.xcb(), segment_,
                                                            static_cast<std::uint32_t>(id), 0));
  // From here on the memory goes with whoever uses it last, however that ends.
  shmctl(id, IPC_RMID, nullptr);
  if (!is_attached) {
    if (is_mapped) shmdt(memory);
    return false;
  }
  shared_ = static_cast<std::uint8_t*>(memory);
  shared_bytes_ = rounded;
  cannot_share_ = false;
  return true;
}

void X11Image::Unshare() {
  if (shared_ == nullptr) return;
  connection_.Check(xcb_shm_detach_checked(connection_.xcb(), segment_));
  shmdt(shared_);
  shared_ = nullptr;
  shared_bytes_ = 0;
}

bool X11Image::GetShared(xcb_drawable_t drawable, const video::Region& part) {
  const auto reply = connection_.Ask(
      xcb_shm_get_image_reply,
      xcb_shm_get_image(connection_.xcb(), drawable, static_cast<std::int16_t>(part.x),
                        static_cast<std::int16_t>(part.y), static_cast<std::uint16_t>(part.width),
                        static_cast<std::uint16_t>(part.height), kAllPlanes,
                        XCB_IMAGE_FORMAT_Z_PIXMAP, segment_, 0));
  canvas_.data = shared_;
  return reply != nullptr && reply->depth >= 24;
}

bool X11Image::GetCopied(xcb_drawable_t drawable, const video::Region& part) {
  const auto reply = connection_.Ask(
      xcb_get_image_reply,
      xcb_get_image(connection_.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable,
                    static_cast<std::int16_t>(part.x), static_cast<std::int16_t>(part.y),
                    static_cast<std::uint16_t>(part.width), static_cast<std::uint16_t>(part.height),
                    kAllPlanes));
  if (reply == nullptr || reply->depth < 24) return false;
  const auto bytes = static_cast<std::size_t>(xcb_get_image_data_length(reply.get()));
  copied_.resize(bytes);
  std::memcpy(copied_.data(), xcb_get_image_data(reply.get()), bytes);
  canvas_.data = copied_.data();
  return bytes >= static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height) * 4;
}

}  // namespace movra::media
