#include "interface/NSString+LXStringTemplateImage.h"

namespace LXString {

std::shared_ptr<NSImage> templateImageWithFont(const std::string& text, std::shared_ptr<NSFont> font) {
    NSStringAttributes attributes{font ? std::move(font) : NSFont::systemFontOfSize(36.0), std::nullopt};
    NSSize size = NSStringSizeWithAttributes(text, attributes);
    // The handler holds the text and attributes for as long as the image lives.
    auto image = NSImage::imageWithSize(size, false, [text, attributes](NSRect) {
        NSStringDrawAtPoint(text, NSZeroPoint, attributes);
        return true;
    });
    if (image)
        image->setTemplate(true);
    return image;
}

} // namespace LXString
