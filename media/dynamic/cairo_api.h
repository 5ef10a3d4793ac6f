#ifndef MOVRA_MEDIA_DYNAMIC_CAIRO_API_H_
#define MOVRA_MEDIA_DYNAMIC_CAIRO_API_H_

#include <cairo.h>

#include <string>

#include "media/dynamic/imported_function.h"

// Cairo's functions as the sources in media/ call them: by their own names, bound when LoadCairo
// has loaded the library. It brings fonts and a window system along, which only a drawing needs. A
// function that is not listed here does not link.

#define MOVRA_CAIRO_FUNCTIONS(X)         \
  X(cairo_create)                        \
  X(cairo_destroy)                       \
  X(cairo_image_surface_create)          \
  X(cairo_image_surface_create_for_data) \
  X(cairo_move_to)                       \
  X(cairo_paint)                         \
  X(cairo_select_font_face)              \
  X(cairo_set_font_size)                 \
  X(cairo_set_source_rgb)                \
  X(cairo_set_source_surface)            \
  X(cairo_show_text)                     \
  X(cairo_status_to_string)              \
  X(cairo_surface_destroy)               \
  X(cairo_surface_write_to_png)

namespace movra::media {

// NOLINTNEXTLINE(bugprone-macro-parentheses): a name that is declared stands in none.
#define MOVRA_IMPORT(name) inline ImportedFunction<decltype(::name)> name;
MOVRA_CAIRO_FUNCTIONS(MOVRA_IMPORT)
#undef MOVRA_IMPORT

// Loads Cairo. To be called before any of the functions above; all calls but the process's first
// only repeat its answer: why that failed, for people, or empty. Any thread.
[[nodiscard]] std::string LoadCairo();

}  // namespace movra::media

#endif  // MOVRA_MEDIA_DYNAMIC_CAIRO_API_H_
