// The picture. Two lines of heavy upright letters that fill the screen's width, because the operator reads them from
// the other side of the line. Slants move one column each few rows and the rest is rectangles and four kinds of
// corners: clean at full resolution, and few enough different rows to pack into less than 2 kB.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "amt/amt-screen/banner-data.h"
#include "amt/amt-screen/make-banner.h"

namespace {

constexpr std::uint8_t WHITE = 0xFF;  // both bytes of a pixel
constexpr std::uint8_t BLACK = 0x00;

struct box {
  int x;
  int y;
  int width;
  int height;
};

struct corner {
  int width;
  int height;
};

class canvas {
 public:
  canvas() : m_pixels(std::size_t{BANNER_WIDTH} * BANNER_HEIGHT * 2, BLACK) {}

  const std::vector<std::uint8_t>& pixels() const { return m_pixels; }

  void fill_row(int x, int y, int width, std::uint8_t colour) {
    const std::size_t first = (static_cast<std::size_t>(y) * BANNER_WIDTH + static_cast<std::size_t>(x)) * 2;
    for (std::size_t at = first; at < first + static_cast<std::size_t>(width) * 2; ++at) m_pixels.at(at) = colour;
  }

  void fill(const box& area, std::uint8_t colour = WHITE) {
    for (int row = 0; row < area.height; ++row) fill_row(area.x, area.y + row, area.width, colour);
  }

  // A stroke whose row moves by one column (step: -1 left, 1 right) each `rows_per_step` rows.
  void fill_slant(const box& start, int step, int rows_per_step) {
    for (int row = 0; row < start.height; ++row) {
      fill_row(start.x + step * (row / rows_per_step), start.y + row, start.width, WHITE);
    }
  }

  // A box with elliptic corners, on the right side or on both.
  void fill_rounded(const box& area, const corner& round, bool is_left_round, std::uint8_t colour) {
    for (int row = 0; row < area.height; ++row) {
      const int cut = corner_cut(row, area.height, round);
      const int left = is_left_round ? cut : 0;
      fill_row(area.x + left, area.y + row, area.width - left - cut, colour);
    }
  }

 private:
  // How many pixels of a row lie outside the corner's ellipse. Counted in half pixels, so that centres are integers.
  static int corner_cut(int row, int height, const corner& round) {
    const int from_edge = row < height / 2 ? row : height - 1 - row;
    if (from_edge >= round.height) return 0;
    const std::int64_t a = std::int64_t{2} * round.width;
    const std::int64_t b = std::int64_t{2} * round.height;
    const std::int64_t dy = b - (2 * from_edge + 1);
    int cut = 0;
    for (; cut < round.width; ++cut) {
      const std::int64_t dx = a - (2 * cut + 1);
      if (dx * dx * b * b + dy * dy * a * a <= a * a * b * b) break;
    }
    return cut;
  }

  std::vector<std::uint8_t> m_pixels;
};

// The area is the letter's; `stroke` is the width of its upright strokes and the height of the level ones.

void draw_a(canvas& to, const box& area, int stroke) {
  constexpr int ROWS_PER_STEP = 4;
  const int top = area.x + (area.height - 1) / ROWS_PER_STEP;
  to.fill_slant({top, area.y, stroke, area.height}, -1, ROWS_PER_STEP);
  to.fill_slant({top, area.y, stroke, area.height}, 1, ROWS_PER_STEP);
  const int middle = area.x + area.width / 2;
  to.fill({middle - stroke, area.y + area.height * 5 / 8, 2 * stroke, stroke * 7 / 8});
}

void draw_m(canvas& to, const box& area, int stroke) {
  constexpr int ROWS_PER_STEP = 3;
  const int depth = (area.width - stroke) / 2 * ROWS_PER_STEP;  // where the slants meet
  to.fill({area.x, area.y, stroke, area.height});
  to.fill({area.x + area.width - stroke, area.y, stroke, area.height});
  to.fill_slant({area.x, area.y, stroke, depth}, 1, ROWS_PER_STEP);
  to.fill_slant({area.x + area.width - stroke, area.y, stroke, depth}, -1, ROWS_PER_STEP);
}

void draw_t(canvas& to, const box& area, int stroke) {
  to.fill({area.x, area.y, area.width, stroke});
  to.fill({area.x + (area.width - stroke) / 2, area.y, stroke, area.height});
}

void draw_ring(canvas& to, const box& area, int stroke, const corner& round, bool is_left_round) {
  const box hole{area.x + stroke, area.y + stroke, area.width - 2 * stroke, area.height - 2 * stroke};
  to.fill_rounded(area, round, is_left_round, WHITE);
  to.fill_rounded(hole, {round.width - stroke, round.height - stroke}, is_left_round, BLACK);
}

void draw_e(canvas& to, const box& area, int stroke) {
  to.fill({area.x, area.y, stroke, area.height});
  to.fill({area.x, area.y, area.width, stroke});
  to.fill({area.x, area.y + (area.height - stroke) / 2, area.width * 7 / 8, stroke});
  to.fill({area.x, area.y + area.height - stroke, area.width, stroke});
}

}  // namespace

std::vector<std::uint8_t> draw_banner() {
  canvas to;
  draw_a(to, {8, 20, 106, 160}, 28);
  draw_m(to, {122, 20, 108, 160}, 28);
  draw_t(to, {244, 20, 94, 160}, 28);
  draw_m(to, {8, 210, 96, 160}, 24);
  draw_ring(to, {116, 210, 76, 160}, 24, {37, 37}, true);
  draw_ring(to, {204, 210, 70, 160}, 24, {37, 37}, false);
  draw_e(to, {286, 210, 52, 160}, 24);
  return to.pixels();
}
