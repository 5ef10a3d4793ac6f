// Pictures in double precision, for a reference that is only straightforward.

#ifndef MOVRA_MEDIA_FRAME_GRID_FOR_TEST_H_
#define MOVRA_MEDIA_FRAME_GRID_FOR_TEST_H_

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <vector>

namespace movra::media {

struct Grid {
  int w = 0;
  int h = 0;
  std::vector<double> at;

  double operator()(int x, int y) const { return at[static_cast<std::size_t>(y * w + x)]; }
};

inline Grid MakeGrid(int w, int h, const std::function<double(int, int)>& value) {
  Grid grid{w, h, {}};
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) grid.at.push_back(value(x, y));
  }
  return grid;
}

// A scene with hard edges, and detail whose strength falls with its frequency as in photographs.
inline Grid Scene(int w, int h) {
  return MakeGrid(w, h, [](int x, int y) {
    double value = 120 + 30 * std::sin(x * 0.011 + y * 0.007);
    for (int octave = 1; octave <= 6; ++octave) {
      const double f = 0.02 * std::pow(2.0, octave);
      value += 50.0 / std::pow(2.0, octave) * std::sin(f * (x * 0.8 + y * 0.33 * octave)) *
               std::cos(f * y * 0.6);
    }
    if ((x / 90 + y / 70) % 5 == 0) value = 230;
    return std::clamp(std::round(value), 0.0, 255.0);
  });
}

// One row or column of a separable resampling with the filter widened for shrinking.
inline double Sample(int count, int target_count, int index, double radius,
                     const std::function<double(double)>& kernel,
                     const std::function<double(int)>& source) {
  const double ratio = static_cast<double>(count) / target_count;
  const double widen = std::max(1.0, ratio);
  const double center = (index + 0.5) * ratio - 0.5;
  double sum = 0;
  double weights = 0;
  for (int i = static_cast<int>(std::floor(center - radius * widen));
       i <= static_cast<int>(std::ceil(center + radius * widen)); ++i) {
    const double weight = kernel((i - center) / widen);
    sum += weight * source(std::clamp(i, 0, count - 1));
    weights += weight;
  }
  return sum / weights;
}

inline Grid Resample(const Grid& source, int w, int h, double radius,
                     const std::function<double(double)>& kernel) {
  const Grid rows = MakeGrid(w, source.h, [&](int x, int y) {
    return Sample(source.w, w, x, radius, kernel, [&](int i) { return source(i, y); });
  });
  return MakeGrid(w, h, [&](int x, int y) {
    return Sample(rows.h, h, y, radius, kernel, [&](int i) { return rows(x, i); });
  });
}

inline double Triangle(double x) { return std::max(0.0, 1 - std::abs(x)); }

inline double Psnr(const Grid& a, const Grid& b) {
  double error = 0;
  for (std::size_t i = 0; i < a.at.size(); ++i) {
    const double d =
        std::round(std::clamp(a.at[i], 0.0, 255.0)) - std::round(std::clamp(b.at[i], 0.0, 255.0));
    error += d * d;
  }
  if (error == 0) return 100;
  return 10 * std::log10(255 * 255 * static_cast<double>(a.at.size()) / error);
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_GRID_FOR_TEST_H_
