#include "media/dynamic/cairo_api.h"

namespace movra::media {
namespace {

std::string Load() {
  LibraryLoader loader;
  loader.Open("libcairo.so.2");
#define MOVRA_BIND(name) loader.Bind(#name, name);
  MOVRA_CAIRO_FUNCTIONS(MOVRA_BIND)
#undef MOVRA_BIND
  return loader.error();
}

}  // namespace

std::string LoadCairo() {
  static const std::string error = Load();
  return error;
}

}  // namespace movra::media
