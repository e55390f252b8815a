#include "imaging/CheckerboardPattern.h"

#include "imaging/ColorSpaces.h"

namespace {

// Both made on first use, together, and kept for the life of the process.
CGColorRef g_white;
CGColorRef g_blue;

} // namespace

CGColorRef CreateBackgroundPatternColorWithTransform(NSAffineTransformStruct transform) {
    CGPatternCallbacks callbacks{0, DrawCheckerboardPattern, nullptr};
    CGPatternRef pattern = CGPatternCreate(nullptr, NSMakeRect(0, 0, 32, 32), transform, 32, 32,
                                           CGPatternTiling::ConstantSpacing, true, &callbacks);
    if (!pattern)
        return nullptr;
    CGColorSpaceRef space = CGColorSpaceCreatePattern(nullptr);
    if (!space)
        return nullptr;
    const double alpha = 1.0;
    return CGColorCreateWithPattern(space.get(), std::move(pattern), &alpha);
}

void DrawCheckerboardPattern(void*, CGContextRef context) {
    if (!g_white || !g_blue) {
        const CGColorSpace* space = GetCalibratedRGBColorSpace();
        if (!space)
            return;
        g_white = CGColorCreate(space, kWhiteComponents);
        g_blue = CGColorCreate(space, kBlueComponents);
    }
    CGContextSetFillColorWithColor(context, g_white.get());
    CGContextFillRect(context, NSMakeRect(0, 0, 16, 16));
    CGContextFillRect(context, NSMakeRect(16, 16, 16, 16));
    CGContextSetFillColorWithColor(context, g_blue.get());
    CGContextFillRect(context, NSMakeRect(0, 16, 16, 16));
    CGContextFillRect(context, NSMakeRect(16, 0, 16, 16));
}
