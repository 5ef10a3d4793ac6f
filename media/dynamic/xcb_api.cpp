#include "media/dynamic/xcb_api.h"

namespace movra::media {
namespace {

std::string Load() {
  LibraryLoader loader;
#define MOVRA_BIND(name) loader.Bind(#name, name);
  loader.Open("libxcb.so.1");
  MOVRA_XCB_FUNCTIONS(MOVRA_BIND)
  loader.Open("libxcb-shm.so.0");
  MOVRA_XCB_SHM_FUNCTIONS(MOVRA_BIND)
  loader.Open("libxcb-composite.so.0");
  MOVRA_XCB_COMPOSITE_FUNCTIONS(MOVRA_BIND)
  loader.Open("libxcb-damage.so.0");
  MOVRA_XCB_DAMAGE_FUNCTIONS(MOVRA_BIND)
  loader.Open("libxcb-xfixes.so.0");
  MOVRA_XCB_XFIXES_FUNCTIONS(MOVRA_BIND)
  loader.Open("libxcb-randr.so.0");
  MOVRA_XCB_RANDR_FUNCTIONS(MOVRA_BIND)
  loader.Open("libxcb-shape.so.0");
  MOVRA_XCB_SHAPE_FUNCTIONS(MOVRA_BIND)
#undef MOVRA_BIND
  return loader.error();
}

}  // namespace

std::string LoadXcb() {
  static const std::string error = Load();
  return error;
}

}  // namespace movra::media
