#include "platform/files/GIFImage.h"

#include <memory>

#include <gif_lib.h>

namespace {

struct GifCloser {
    void operator()(GifFileType* gif) const {
        int error = 0;
        DGifCloseFile(gif, &error);
    }
};

// Steps over one image's compressed data without decoding it.
bool skipImageData(GifFileType* gif) {
    int codeSize = 0;
    GifByteType* block = nullptr;
    if (DGifGetCode(gif, &codeSize, &block) == GIF_ERROR)
        return false;
    while (block) {
        if (DGifGetCodeNext(gif, &block) == GIF_ERROR)
            return false;
    }
    return true;
}

bool skipExtension(GifFileType* gif) {
    int code = 0;
    GifByteType* block = nullptr;
    if (DGifGetExtension(gif, &code, &block) == GIF_ERROR)
        return false;
    while (block) {
        if (DGifGetExtensionNext(gif, &block) == GIF_ERROR)
            return false;
    }
    return true;
}

} // namespace

std::optional<size_t> GIFImageCount(const std::string& path, size_t enough) {
    int error = 0;
    std::unique_ptr<GifFileType, GifCloser> gif(DGifOpenFileName(path.c_str(), &error));
    if (!gif)
        return std::nullopt;
    size_t count = 0;
    while (count < enough) {
        GifRecordType record = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(gif.get(), &record) == GIF_ERROR)
            break;
        if (record == TERMINATE_RECORD_TYPE)
            break;
        if (record == EXTENSION_RECORD_TYPE) {
            if (!skipExtension(gif.get()))
                break;
            continue;
        }
        if (record != IMAGE_DESC_RECORD_TYPE)
            continue;
        // A truncated image still counts, as a decoder shows what arrived of it.
        if (DGifGetImageDesc(gif.get()) == GIF_ERROR)
            break;
        ++count;
        if (!skipImageData(gif.get()))
            break;
    }
    return count;
}
