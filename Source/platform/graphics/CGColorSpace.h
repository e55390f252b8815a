#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/graphics/NSColor.h"

enum class CGColorSpaceModel : int {
    Unknown = -1,
    Monochrome = 0,
    RGB = 1,
    CMYK = 2,
    Pattern = 6,
};

/// Names of the spaces `CGColorSpaceCreateWithName` knows.
inline constexpr const char* kCGColorSpaceGenericRGB = "kCGColorSpaceGenericRGB";
inline constexpr const char* kCGColorSpaceGenericGray = "kCGColorSpaceGenericGray";
inline constexpr const char* kCGColorSpaceGenericGrayGamma2_2 = "kCGColorSpaceGenericGrayGamma2_2";
inline constexpr const char* kCGColorSpaceGenericCMYK = "kCGColorSpaceGenericCMYK";
inline constexpr const char* kCGColorSpaceSRGB = "kCGColorSpaceSRGB";

/// A colour space: a model with a number of components and a way to bring colours into
/// the device RGB that lxkit draws in. Calibrated and sRGB RGB are taken as the display's
/// RGB; the generic grey spaces (gamma 2.2) go through Little CMS to sRGB; CMYK, for
/// which Debian ships no generic profile, uses the plain complement formula
/// (1 - c)(1 - k). Device spaces convert without colour management.
class CGColorSpace : public std::enable_shared_from_this<CGColorSpace> {
public:
    CGColorSpaceModel model() const { return m_model; }
    const std::string& name() const { return m_name; }
    size_t numberOfComponents() const;
    bool isDevice() const { return m_device; }
    /// The base space of a pattern space, or null.
    const std::shared_ptr<const CGColorSpace>& baseSpace() const { return m_base; }

    /// A colour from `numberOfComponents()` components followed by alpha.
    NSColor colorWithComponents(const double* components) const;
    /// Converts `count` pixels of 8-bit components in this space (packed, no alpha) to
    /// 8-bit device RGB (three bytes a pixel).
    void convertToDeviceRGB(const uint8_t* source, uint8_t* rgb, size_t count) const;

    CGColorSpace(CGColorSpaceModel model, std::string name, bool device,
                 std::shared_ptr<const CGColorSpace> base = nullptr)
        : m_model(model), m_name(std::move(name)), m_device(device), m_base(std::move(base)) {}

private:
    CGColorSpaceModel m_model;
    std::string m_name;
    bool m_device;
    std::shared_ptr<const CGColorSpace> m_base;
};
using CGColorSpaceRef = std::shared_ptr<const CGColorSpace>;

/// Null for a name this layer does not know.
CGColorSpaceRef CGColorSpaceCreateWithName(std::string_view name);
CGColorSpaceRef CGColorSpaceCreateDeviceRGB();
CGColorSpaceRef CGColorSpaceCreateDeviceGray();
/// A space whose colours are patterns; `base` is null for coloured patterns.
CGColorSpaceRef CGColorSpaceCreatePattern(const CGColorSpace* base);
/// 0 for a null space; a pattern space counts its base's components.
size_t CGColorSpaceGetNumberOfComponents(const CGColorSpace* space);
CGColorSpaceModel CGColorSpaceGetModel(const CGColorSpace* space);
/// Shares a space someone else holds (`CGColorSpaceRetain`).
inline CGColorSpaceRef CGColorSpaceRetain(const CGColorSpace* space) {
    return space ? space->shared_from_this() : nullptr;
}

/// A grey level of the gamma-2.2 grey space as sRGB, through Little CMS.
double GenericGrayToSRGB(double white);
