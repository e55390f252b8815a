#include "imaging/ColorSpaces.h"

namespace {

/// A lazily filled slot: a failed creation leaves it empty, to be tried again.
template <typename Create>
const CGColorSpace* CachedSpace(CGColorSpaceRef& slot, Create create) {
    if (!slot)
        slot = create();
    return slot.get();
}

} // namespace

const CGColorSpace* GetCalibratedRGBColorSpace() {
    static CGColorSpaceRef slot;
    return CachedSpace(slot, [] { return CGColorSpaceCreateWithName(kCGColorSpaceGenericRGB); });
}

const CGColorSpace* GetCalibratedGrayColorSpace() {
    static CGColorSpaceRef slot;
    return CachedSpace(slot, [] { return CGColorSpaceCreateWithName(kCGColorSpaceGenericGray); });
}

const CGColorSpace* GetCalibratedCMYKColorSpace() {
    static CGColorSpaceRef slot;
    return CachedSpace(slot, [] { return CGColorSpaceCreateWithName(kCGColorSpaceGenericCMYK); });
}

const CGColorSpace* GetDeviceRGBColorSpace() {
    static CGColorSpaceRef slot;
    return CachedSpace(slot, [] { return CGColorSpaceCreateDeviceRGB(); });
}

const CGColorSpace* GetDeviceGrayColorSpace() {
    static CGColorSpaceRef slot;
    return CachedSpace(slot, [] { return CGColorSpaceCreateDeviceGray(); });
}

const CGColorSpace* GetColorSpaceForImage(const CGImage* image, bool ignoreOwnSpace, uint32_t kinds) {
    size_t components = 0;
    const CGColorSpace* own = nullptr;
    if (!ignoreOwnSpace) {
        own = CGImageGetColorSpace(image);
        if (own)
            components = CGColorSpaceGetNumberOfComponents(own);
    }
    if (components == 3)
        return own;
    bool allowsCMYK = kinds & kColorSpaceAllowCMYK;
    bool allowsGray = kinds & kColorSpaceAllowGray;
    if (allowsCMYK && components == 4)
        return own;
    if (allowsGray && components == 1)
        return own;
    bool noAlpha = CGImageGetAlphaInfo(image) == CGImageAlphaInfo::None;
    if (allowsCMYK && CGImageGetBitsPerPixel(image) == 32 && CGImageGetBitsPerComponent(image) == 8 && noAlpha)
        return GetCalibratedCMYKColorSpace();
    // Only an image whose own space counts is taken as grey by its pixel size.
    if (!ignoreOwnSpace && allowsGray && CGImageGetBitsPerPixel(image) == 8 &&
        CGImageGetBitsPerComponent(image) == 8 && noAlpha)
        return GetCalibratedGrayColorSpace();
    return GetCalibratedRGBColorSpace();
}
