#include "platform/graphics/CGColorSpace.h"

#include <algorithm>
#include <cmath>
#include <mutex>

#include <lcms2.h>

namespace {

struct ProfileDeleter {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct TransformDeleter {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
using Profile = std::unique_ptr<void, ProfileDeleter>;
using Transform = std::unique_ptr<void, TransformDeleter>;

/// The one transform from the gamma-2.2 grey space to sRGB, in doubles, made once.
cmsHTRANSFORM GrayToSRGB() {
    static Transform transform = [] {
        Transform result;
        cmsToneCurve* gamma = cmsBuildGamma(nullptr, 2.2);
        if (!gamma)
            return result;
        Profile gray(cmsCreateGrayProfile(cmsD50_xyY(), gamma));
        cmsFreeToneCurve(gamma);
        Profile srgb(cmsCreate_sRGBProfile());
        if (gray && srgb)
            result.reset(cmsCreateTransform(gray.get(), TYPE_GRAY_DBL, srgb.get(), TYPE_RGB_DBL,
                                            INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOCACHE));
        return result;
    }();
    return transform.get();
}

double Clamp01(double value) {
    return std::isnan(value) ? 0.0 : std::clamp(value, 0.0, 1.0);
}

// Debian has no generic CMYK profile to hand, so CMYK converts by the complement rule.
void CMYKToRGB(double c, double m, double y, double k, double rgb[3]) {
    rgb[0] = (1 - c) * (1 - k);
    rgb[1] = (1 - m) * (1 - k);
    rgb[2] = (1 - y) * (1 - k);
}

} // namespace

double GenericGrayToSRGB(double white) {
    white = Clamp01(white);
    cmsHTRANSFORM transform = GrayToSRGB();
    if (!transform)
        return white;
    static std::mutex mutex; // a transform with a cache is not safe across threads
    double rgb[3] = {white, white, white};
    std::lock_guard lock(mutex);
    cmsDoTransform(transform, &white, rgb, 1);
    return Clamp01(rgb[1]);
}

size_t CGColorSpace::numberOfComponents() const {
    switch (m_model) {
    case CGColorSpaceModel::Monochrome:
        return 1;
    case CGColorSpaceModel::RGB:
        return 3;
    case CGColorSpaceModel::CMYK:
        return 4;
    case CGColorSpaceModel::Pattern:
        return m_base ? m_base->numberOfComponents() : 0;
    case CGColorSpaceModel::Unknown:
        break;
    }
    return 0;
}

NSColor CGColorSpace::colorWithComponents(const double* c) const {
    switch (m_model) {
    case CGColorSpaceModel::Monochrome: {
        double white = m_device ? c[0] : GenericGrayToSRGB(c[0]);
        return NSColor::colorWithDeviceRed(white, white, white, c[1]);
    }
    case CGColorSpaceModel::RGB:
        return NSColor::colorWithDeviceRed(c[0], c[1], c[2], c[3]);
    case CGColorSpaceModel::CMYK: {
        double rgb[3];
        CMYKToRGB(Clamp01(c[0]), Clamp01(c[1]), Clamp01(c[2]), Clamp01(c[3]), rgb);
        return NSColor::colorWithDeviceRed(rgb[0], rgb[1], rgb[2], c[4]);
    }
    case CGColorSpaceModel::Pattern:
    case CGColorSpaceModel::Unknown:
        break;
    }
    return NSColor::clearColor();
}

void CGColorSpace::convertToDeviceRGB(const uint8_t* source, uint8_t* rgb, size_t count) const {
    switch (m_model) {
    case CGColorSpaceModel::Monochrome: {
        uint8_t table[256];
        for (int level = 0; level < 256; ++level)
            table[level] = m_device ? uint8_t(level) : uint8_t(std::lround(GenericGrayToSRGB(level / 255.0) * 255));
        for (size_t i = 0; i < count; ++i)
            rgb[3 * i] = rgb[3 * i + 1] = rgb[3 * i + 2] = table[source[i]];
        return;
    }
    case CGColorSpaceModel::RGB:
        std::copy(source, source + 3 * count, rgb);
        return;
    case CGColorSpaceModel::CMYK:
        for (size_t i = 0; i < count; ++i) {
            double out[3];
            const uint8_t* p = source + 4 * i;
            CMYKToRGB(p[0] / 255.0, p[1] / 255.0, p[2] / 255.0, p[3] / 255.0, out);
            for (int j = 0; j < 3; ++j)
                rgb[3 * i + size_t(j)] = uint8_t(std::lround(out[j] * 255));
        }
        return;
    case CGColorSpaceModel::Pattern:
    case CGColorSpaceModel::Unknown:
        std::fill(rgb, rgb + 3 * count, 0);
        return;
    }
}

CGColorSpaceRef CGColorSpaceCreateWithName(std::string_view name) {
    if (name == kCGColorSpaceGenericRGB || name == kCGColorSpaceSRGB)
        return std::make_shared<CGColorSpace>(CGColorSpaceModel::RGB, std::string(name), false);
    if (name == kCGColorSpaceGenericGray || name == kCGColorSpaceGenericGrayGamma2_2)
        return std::make_shared<CGColorSpace>(CGColorSpaceModel::Monochrome, std::string(name), false);
    if (name == kCGColorSpaceGenericCMYK)
        return std::make_shared<CGColorSpace>(CGColorSpaceModel::CMYK, std::string(name), false);
    return nullptr;
}

CGColorSpaceRef CGColorSpaceCreateDeviceRGB() {
    return std::make_shared<CGColorSpace>(CGColorSpaceModel::RGB, "kCGColorSpaceDeviceRGB", true);
}

CGColorSpaceRef CGColorSpaceCreateDeviceGray() {
    return std::make_shared<CGColorSpace>(CGColorSpaceModel::Monochrome, "kCGColorSpaceDeviceGray", true);
}

CGColorSpaceRef CGColorSpaceCreatePattern(const CGColorSpace* base) {
    return std::make_shared<CGColorSpace>(CGColorSpaceModel::Pattern, "kCGColorSpacePattern", false,
                                          CGColorSpaceRetain(base));
}

size_t CGColorSpaceGetNumberOfComponents(const CGColorSpace* space) {
    return space ? space->numberOfComponents() : 0;
}

CGColorSpaceModel CGColorSpaceGetModel(const CGColorSpace* space) {
    return space ? space->model() : CGColorSpaceModel::Unknown;
}
