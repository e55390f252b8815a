#include "platform/graphics/GaussianBlur.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

// One box pass of width 2r+1 over `count` samples `step` apart, with zeros beyond the
// ends (a shadow fades out past the surface's edge rather than smearing its border).
void BoxPass(uint8_t* data, int count, int step, int r, std::vector<uint8_t>& line) {
    line.resize(size_t(count));
    for (int i = 0; i < count; ++i)
        line[size_t(i)] = data[size_t(i) * size_t(step)];
    int width = 2 * r + 1;
    int sum = 0;
    for (int i = 0; i <= std::min(r, count - 1); ++i)
        sum += line[size_t(i)];
    for (int i = 0; i < count; ++i) {
        data[size_t(i) * size_t(step)] = uint8_t((sum + width / 2) / width);
        int enter = i + r + 1;
        int leave = i - r;
        if (enter < count)
            sum += line[size_t(enter)];
        if (leave >= 0)
            sum -= line[size_t(leave)];
    }
}

} // namespace

void BlurAlphaSurface(cairo_surface_t* surface, double radius) {
    if (!(radius >= 0.5) || cairo_image_surface_get_format(surface) != CAIRO_FORMAT_A8)
        return;
    cairo_surface_flush(surface);
    uint8_t* data = cairo_image_surface_get_data(surface);
    int width = cairo_image_surface_get_width(surface);
    int height = cairo_image_surface_get_height(surface);
    int stride = cairo_image_surface_get_stride(surface);
    // Three boxes of width w have the variance of a Gaussian when 3 (w² - 1) / 12 = σ².
    double sigma = radius / 2;
    int r = std::max(1, int(std::lround((std::sqrt(4 * sigma * sigma + 1) - 1) / 2)));
    std::vector<uint8_t> line;
    for (int pass = 0; pass < 3; ++pass) {
        for (int y = 0; y < height; ++y)
            BoxPass(data + size_t(y) * size_t(stride), width, 1, r, line);
        for (int x = 0; x < width; ++x)
            BoxPass(data + x, height, stride, r, line);
    }
    cairo_surface_mark_dirty(surface);
}
