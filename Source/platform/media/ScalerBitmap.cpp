#include "platform/media/ScalerBitmap.h"

#include <algorithm>

namespace {

const cairo_user_data_key_t kFrameKey = {};

void FreeFrame(void* frame) {
    FrameHandle owned(static_cast<AVFrame*>(frame));
}

} // namespace

FrameHandle ScalerFrame(PixelSize size) {
    if (!PixelSizeForPointSize(NSMakeSize(size.width, size.height)))
        return nullptr;
    FrameHandle frame(av_frame_alloc());
    if (!frame)
        return nullptr;
    frame->width = size.width;
    frame->height = size.height;
    frame->format = AV_PIX_FMT_BGRA;
    // Alignment 0: FFmpeg picks what its fastest code on this machine needs, and pads
    // the end of the buffer as its writers expect.
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        return nullptr;
    return frame;
}

std::optional<NSBitmapImageRep> BitmapForScaler(PixelSize size) {
    FrameHandle frame = ScalerFrame(size);
    if (!frame)
        return std::nullopt;
    // BGRA in memory is Cairo's ARGB32 on little-endian machines, the only ones FFmpeg's
    // BGRA is used on here; rows of any multiple of four bytes suit Cairo.
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "BGRA is ARGB32 only on little-endian machines");
    CairoSurface surface(cairo_image_surface_create_for_data(frame->data[0], CAIRO_FORMAT_ARGB32, size.width,
                                                             size.height, frame->linesize[0]));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        return std::nullopt;
    if (cairo_surface_set_user_data(surface.get(), &kFrameKey, frame.get(), &FreeFrame) !=
        CAIRO_STATUS_SUCCESS)
        return std::nullopt;
    // The surface owns the frame from here on and frees it with its last reference.
    frame.release();
    // Image surfaces made over given memory are not cleared: start transparent as any
    // new bitmap does.
    cairo_surface_flush(surface.get());
    auto* pixels = cairo_image_surface_get_data(surface.get());
    std::fill(pixels, pixels + size_t(cairo_image_surface_get_stride(surface.get())) * size_t(size.height),
              0);
    return NSBitmapImageRep::bitmapWithSurface(std::move(surface));
}
