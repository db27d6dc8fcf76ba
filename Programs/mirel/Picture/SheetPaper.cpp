#include <Programs/mirel/Picture/SheetPaper.h>

#include <glm/glm.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace mirel {

namespace {

constexpr int kSteps = 4;  // for each side of a pixel of an arrow

bool IsDark(const glm::vec3& color) {
  return 0.3F * color.r + 0.59F * color.g + 0.11F * color.b < 0.4F;
}

// How much of the pixel at `place` lies between two coordinates.
double CoverBetween(double low, double high, int place) {
  return std::clamp(std::min(high, place + 1.0) - std::max(low, static_cast<double>(place)), 0.0, 1.0);
}

}  // namespace

SheetPaper::SheetPaper(int width, int height, PictureOptions::Background ground, const glm::vec3& color)
    : picture_(width, height) {
  const bool isClear = ground == PictureOptions::Background::kNone;
  ink_ = !isClear && IsDark(color) ? 255 : 0;
  if (isClear) {
    return;
  }
  for (std::size_t i = 0; i < picture_.pixels.size(); ++i) {
    picture_.pixels[i] =
        i % 4 == 3 ? 255 : static_cast<std::uint8_t>(std::lround(color[static_cast<int>(i % 4)] * 255.0F));
  }
}

void SheetPaper::Ink(int x, int y, double cover) {
  if (x < 0 || y < 0 || x >= picture_.width || y >= picture_.height || cover <= 0.0) {
    return;
  }
  std::uint8_t* const pixel = picture_.GetPixel(x, y);
  const double before = pixel[3] / 255.0 * (1.0 - cover), alpha = before + cover;
  for (int i = 0; i < 3; ++i) {
    pixel[i] = static_cast<std::uint8_t>(std::lround((pixel[i] * before + ink_ * cover) / alpha));
  }
  pixel[3] = static_cast<std::uint8_t>(std::lround(alpha * 255.0));
}

void SheetPaper::DrawLine(const glm::dvec2& from, const glm::dvec2& to, double width) {
  const glm::dvec2 low = glm::min(from, to) - width / 2, high = glm::max(from, to) + width / 2;
  const int right = std::min(picture_.width, static_cast<int>(std::ceil(high.x))),
            bottom = std::min(picture_.height, static_cast<int>(std::ceil(high.y)));
  for (int y = std::max(0, static_cast<int>(low.y)); y < bottom; ++y) {
    for (int x = std::max(0, static_cast<int>(low.x)); x < right; ++x) {
      Ink(x, y, CoverBetween(low.x, high.x, x) * CoverBetween(low.y, high.y, y));
    }
  }
}

void SheetPaper::DrawArrow(const glm::dvec2& tip, const glm::dvec2& direction, double length) {
  constexpr double kSlope = 0.25;  // half the width by the length
  const int reach = static_cast<int>(std::ceil(length)) + 1;
  const glm::ivec2 middle(tip);
  for (int y = middle.y - reach; y <= middle.y + reach; ++y) {
    for (int x = middle.x - reach; x <= middle.x + reach; ++x) {
      int inside = 0;
      for (int i = 0; i < kSteps * kSteps; ++i) {
        const glm::dvec2 point(x + (i % kSteps + 0.5) / kSteps, y + (i / kSteps + 0.5) / kSteps);
        const glm::dvec2 back = tip - point;
        const double along = glm::dot(back, direction);
        const double aside = std::abs(back.x * direction.y - back.y * direction.x);
        inside += along >= 0.0 && along <= length && aside <= along * kSlope ? 1 : 0;
      }
      Ink(x, y, static_cast<double>(inside) / (kSteps * kSteps));
    }
  }
}

void SheetPaper::DrawText(const TextImage& text, int left, int top) {
  for (int y = 0; y < text.height; ++y) {
    for (int x = 0; x < text.width; ++x) {
      Ink(left + x, top + y, text.cover[static_cast<std::size_t>(y * text.width + x)] / 255.0);
    }
  }
}

void SheetPaper::DrawTextUpwards(const TextImage& text, int left, int top) {
  for (int y = 0; y < text.height; ++y) {
    for (int x = 0; x < text.width; ++x) {
      Ink(left + y, top + text.width - 1 - x,
          text.cover[static_cast<std::size_t>(y * text.width + x)] / 255.0);
    }
  }
}

void SheetPaper::DrawPicture(const Picture& picture, int left, int top) {
  const int rows = std::min(picture.height, picture_.height - top),
            columns = std::min(picture.width, picture_.width - left);
  for (int y = 0; y < rows; ++y) {
    std::memcpy(picture_.GetPixel(left, top + y), picture.GetPixel(0, y),
                4 * static_cast<std::size_t>(columns));
  }
}

}  // namespace mirel
