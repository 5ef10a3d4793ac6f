#ifndef MOVRA_MEDIA_DYNAMIC_XCB_API_H_
#define MOVRA_MEDIA_DYNAMIC_XCB_API_H_

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/shape.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <string>

#include "media/dynamic/imported_function.h"

// The functions of XCB and its extensions as the sources in media/ call them: by their own names,
// bound when LoadXcb has loaded the libraries. A machine without a desktop need not have them. A
// function that is not listed here does not link.
//
// The objects that describe extensions (xcb_shm_id and the like) are data and stay behind;
// extensions are asked for by name.

#define MOVRA_XCB_FUNCTIONS(X)            \
  X(xcb_connect)                          \
  X(xcb_connection_has_error)             \
  X(xcb_disconnect)                       \
  X(xcb_flush)                            \
  X(xcb_generate_id)                      \
  X(xcb_get_file_descriptor)              \
  X(xcb_get_setup)                        \
  X(xcb_poll_for_event)                   \
  X(xcb_request_check)                    \
  X(xcb_screen_next)                      \
  X(xcb_setup_pixmap_formats)             \
  X(xcb_setup_pixmap_formats_length)      \
  X(xcb_setup_roots_iterator)             \
  X(xcb_change_window_attributes_checked) \
  X(xcb_clear_area_checked)               \
  X(xcb_configure_window_checked)         \
  X(xcb_create_window_checked)            \
  X(xcb_destroy_window_checked)           \
  X(xcb_free_pixmap_checked)              \
  X(xcb_get_atom_name)                    \
  X(xcb_get_atom_name_name)               \
  X(xcb_get_atom_name_name_length)        \
  X(xcb_get_atom_name_reply)              \
  X(xcb_get_geometry)                     \
  X(xcb_get_geometry_reply)               \
  X(xcb_get_image)                        \
  X(xcb_get_image_data)                   \
  X(xcb_get_image_data_length)            \
  X(xcb_get_image_reply)                  \
  X(xcb_get_property)                     \
  X(xcb_get_property_reply)               \
  X(xcb_get_property_value)               \
  X(xcb_get_property_value_length)        \
  X(xcb_get_window_attributes)            \
  X(xcb_get_window_attributes_reply)      \
  X(xcb_grab_server_checked)              \
  X(xcb_intern_atom)                      \
  X(xcb_intern_atom_reply)                \
  X(xcb_map_window_checked)               \
  X(xcb_query_extension)                  \
  X(xcb_query_extension_reply)            \
  X(xcb_query_tree)                       \
  X(xcb_query_tree_children)              \
  X(xcb_query_tree_children_length)       \
  X(xcb_query_tree_reply)                 \
  X(xcb_send_event_checked)               \
  X(xcb_translate_coordinates)            \
  X(xcb_translate_coordinates_reply)      \
  X(xcb_ungrab_server_checked)

#define MOVRA_XCB_SHM_FUNCTIONS(X) \
  X(xcb_shm_attach_checked)        \
  X(xcb_shm_detach_checked)        \
  X(xcb_shm_get_image)             \
  X(xcb_shm_get_image_reply)       \
  X(xcb_shm_query_version)         \
  X(xcb_shm_query_version_reply)

#define MOVRA_XCB_COMPOSITE_FUNCTIONS(X)       \
  X(xcb_composite_name_window_pixmap_checked)  \
  X(xcb_composite_query_version)               \
  X(xcb_composite_query_version_reply)         \
  X(xcb_composite_redirect_subwindows_checked) \
  X(xcb_composite_redirect_window_checked)     \
  X(xcb_composite_unredirect_subwindows_checked)

#define MOVRA_XCB_DAMAGE_FUNCTIONS(X) \
  X(xcb_damage_create_checked)        \
  X(xcb_damage_destroy_checked)       \
  X(xcb_damage_query_version)         \
  X(xcb_damage_query_version_reply)   \
  X(xcb_damage_subtract_checked)

#define MOVRA_XCB_XFIXES_FUNCTIONS(X)         \
  X(xcb_xfixes_get_cursor_image)              \
  X(xcb_xfixes_get_cursor_image_cursor_image) \
  X(xcb_xfixes_get_cursor_image_reply)        \
  X(xcb_xfixes_query_version)                 \
  X(xcb_xfixes_query_version_reply)

#define MOVRA_XCB_RANDR_FUNCTIONS(X)          \
  X(xcb_randr_get_monitors)                   \
  X(xcb_randr_get_monitors_monitors_iterator) \
  X(xcb_randr_get_monitors_reply)             \
  X(xcb_randr_monitor_info_next)              \
  X(xcb_randr_query_version)                  \
  X(xcb_randr_query_version_reply)            \
  X(xcb_randr_select_input_checked)

#define MOVRA_XCB_SHAPE_FUNCTIONS(X)            \
  X(xcb_shape_get_rectangles)                   \
  X(xcb_shape_get_rectangles_rectangles)        \
  X(xcb_shape_get_rectangles_rectangles_length) \
  X(xcb_shape_get_rectangles_reply)             \
  X(xcb_shape_query_version)                    \
  X(xcb_shape_query_version_reply)              \
  X(xcb_shape_rectangles_checked)               \
  X(xcb_shape_select_input_checked)

namespace movra::media {

// NOLINTNEXTLINE(bugprone-macro-parentheses): a name that is declared stands in none.
#define MOVRA_IMPORT(name) inline ImportedFunction<decltype(::name)> name;
MOVRA_XCB_FUNCTIONS(MOVRA_IMPORT)
MOVRA_XCB_SHM_FUNCTIONS(MOVRA_IMPORT)
MOVRA_XCB_COMPOSITE_FUNCTIONS(MOVRA_IMPORT)
MOVRA_XCB_DAMAGE_FUNCTIONS(MOVRA_IMPORT)
MOVRA_XCB_XFIXES_FUNCTIONS(MOVRA_IMPORT)
MOVRA_XCB_RANDR_FUNCTIONS(MOVRA_IMPORT)
MOVRA_XCB_SHAPE_FUNCTIONS(MOVRA_IMPORT)
#undef MOVRA_IMPORT

// Loads XCB with its extensions. To be called before any of the functions above; all calls but the
// process's first only repeat its answer: why that failed, for people, or empty. Any thread.
[[nodiscard]] std::string LoadXcb();

}  // namespace movra::media

#endif  // MOVRA_MEDIA_DYNAMIC_XCB_API_H_
