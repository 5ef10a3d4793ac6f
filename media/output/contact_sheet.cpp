#include "media/output/contact_sheet.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "media/dynamic/cairo_api.h"
#include "media/frame/convert_frame.h"
#include "media/frame/frame_pool.h"
#include "media/frame/scale_frame.h"
#include "media/output/still_reader.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;
using video::PixelFrame;
using video::Size;

constexpr int kColumns = 4;
constexpr Size kLargestPicture{320, 240};
constexpr int kMargin = 20;
constexpr int kGap = 12;
constexpr int kTitleHeight = 30;
constexpr int kTimeHeight = 24;

struct CairoDeleter {
  void operator()(cairo_t* context) const { cairo_destroy(context); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using CairoPtr = std::unique_ptr<cairo_t, CairoDeleter>;
using SurfacePtr = std::unique_ptr<cairo_surface_t, CairoDeleter>;

struct Row {
  std::string title;
  Size size;                  // Of its pictures on the sheet.
  std::vector<Still> stills;  // In that size and in Cairo's format, with the columns' times.

  [[nodiscard]] int width() const { return kColumns * (size.width + kGap) - kGap; }
  [[nodiscard]] int height() const { return kTitleHeight + size.height + kTimeHeight; }
};

// As large as fits, whatever the size of the video: so streams of one shape can be compared.
Size PictureSize(const Size& shape) {
  const double scale = std::min(static_cast<double>(kLargestPicture.width) / shape.width,
                                static_cast<double>(kLargestPicture.height) / shape.height);
  const auto side = [scale](int length) {
    return std::max(2, static_cast<int>(std::lround(length * scale / 2)) * 2);
  };
  return {side(shape.width), side(shape.height)};
}

// Scaled before it is converted, because the smaller picture is cheaper to convert.
PixelFrame Fitted(const PixelFrame& frame, const Size& size, FramePool& pool) {
  const PixelFrame scalable = ConvertFrame(frame, ScalableFormat(frame.info().format), pool);
  return ConvertFrame(ScaleFrame(scalable, size, pool), video::PixelFormat::kBGRA, pool);
}

// The video's picture at each of the moments; they are settled by the first one that is read.
std::vector<Still> ReadColumns(const ContactSheetRow& video, std::vector<nanoseconds>& moments,
                               std::string* error) {
  const StillSource source{video.path, video.frames, video.duration};
  if (moments.empty()) {
    std::vector<Still> stills = ReadStills(source, kColumns, error);
    moments.reserve(stills.size());
    for (Still& still : stills) moments.push_back(still.time += video.begin);
    return stills;
  }
  std::vector<nanoseconds> times;
  times.reserve(moments.size());
  for (const nanoseconds moment : moments) times.push_back(moment - video.begin);
  std::vector<Still> stills = ReadStillsAt(source, times, error);
  for (std::size_t i = 0; i < stills.size(); ++i) stills[i].time = moments[i];
  return stills;
}

bool ReadRows(const std::vector<ContactSheetRow>& videos, std::vector<Row>& rows,
              std::string* error) {
  FramePool pool;
  std::vector<nanoseconds> moments;
  for (const ContactSheetRow& video : videos) {
    Row row{video.title, {}, ReadColumns(video, moments, error)};
    if (row.stills.empty()) {
      *error = "'" + video.path + "': " + *error;
      return false;
    }
    row.size = PictureSize(row.stills.front().frame.info().size);
    for (Still& still : row.stills) still.frame = Fitted(still.frame, row.size, pool);
    rows.push_back(std::move(row));
  }
  return true;
}

void SetColor(cairo_t* context, unsigned rgb) {
  cairo_set_source_rgb(context, (rgb >> 16 & 0xFF) / 255.0, (rgb >> 8 & 0xFF) / 255.0,
                       (rgb & 0xFF) / 255.0);
}

void DrawText(cairo_t* context, double x, double y, const std::string& text) {
  cairo_move_to(context, x, y);
  cairo_show_text(context, text.c_str());
}

void DrawPicture(cairo_t* context, double x, double y, const PixelFrame& frame) {
  const video::PixelFrameInfo& info = frame.info();
  // Cairo only reads from a surface that is used as a source.
  auto* const samples = const_cast<unsigned char*>(info.planes[0].data);
  const SurfacePtr surface(cairo_image_surface_create_for_data(
      samples, CAIRO_FORMAT_RGB24, info.size.width, info.size.height, info.planes[0].stride));
  cairo_set_source_surface(context, surface.get(), x, y);
  cairo_paint(context);
}

std::string TimeText(nanoseconds time) {
  const double seconds = std::chrono::duration<double>(time).count();
  char text[48];
  std::snprintf(text, sizeof text, "%d:%05.2f", static_cast<int>(seconds / 60),
                std::fmod(seconds, 60.0));
  return text;
}

void DrawRow(cairo_t* context, int top, const Row& row) {
  cairo_select_font_face(context, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
  cairo_set_font_size(context, 16);
  SetColor(context, 0xF2F4F8);
  DrawText(context, kMargin, top + 18, row.title);
  cairo_select_font_face(context, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(context, 13);
  for (std::size_t i = 0; i < row.stills.size(); ++i) {
    const int x = kMargin + static_cast<int>(i) * (row.size.width + kGap);
    DrawPicture(context, x, top + kTitleHeight, row.stills[i].frame);
    SetColor(context, 0x9AA4B2);
    DrawText(context, x, top + kTitleHeight + row.size.height + 17, TimeText(row.stills[i].time));
  }
}

}  // namespace

bool WriteContactSheet(const std::vector<ContactSheetRow>& videos, const std::string& sheet_path,
                       std::string* error) {
  *error = LoadCairo();
  if (!error->empty()) return false;
  std::vector<Row> rows;
  if (!ReadRows(videos, rows, error)) return false;
  int width = 0;
  int height = 2 * kMargin - kGap;
  for (const Row& row : rows) {
    width = std::max(width, 2 * kMargin + row.width());
    height += row.height() + kGap;
  }
  const SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
  const CairoPtr context(cairo_create(surface.get()));
  SetColor(context.get(), 0x1B1E24);
  cairo_paint(context.get());
  int top = kMargin;
  for (const Row& row : rows) {
    DrawRow(context.get(), top, row);
    top += row.height() + kGap;
  }
  const cairo_status_t status = cairo_surface_write_to_png(surface.get(), sheet_path.c_str());
  if (status == CAIRO_STATUS_SUCCESS) return true;
  *error = "'" + sheet_path + "': " + cairo_status_to_string(status);
  std::remove(sheet_path.c_str());
  return false;
}

}  // namespace movra::media
