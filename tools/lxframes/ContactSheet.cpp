#include "ContactSheet.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "imaging/CheckerboardPattern.h"
#include "imaging/NSImage+LXImageEncoding.h"
#include "interface/NSImage+LXImageBadge.h"
#include "platform/graphics/CGContext.h"
#include "platform/graphics/NSBezierPath.h"
#include "platform/graphics/NSFont.h"

namespace {

constexpr double kCellWidth = 160;
constexpr double kMargin = 12;
constexpr double kCaptionHeight = 20;
constexpr int kMaxColumns = 4;

} // namespace

std::optional<NSData> MakeContactSheet(const std::vector<ContactSheetFrame>& frames) {
    std::vector<std::pair<std::shared_ptr<NSImage>, std::string>> pictures;
    for (const ContactSheetFrame& frame : frames) {
        if (auto bitmap = NSBitmapImageRep::initWithData(frame.png))
            pictures.emplace_back(NSImage::imageWithBitmap(std::move(*bitmap)), frame.time);
    }
    if (pictures.empty())
        return std::nullopt;

    // Every cell has the first frame's aspect ratio; frames of another shape fit inside.
    NSSize first = pictures.front().first->size();
    double cellHeight = std::round(kCellWidth * first.height / first.width);
    auto badge = LXImage::imageWithBadgeForNumber(int32_t(pictures.size()));
    double header = badge ? badge->size().height + kMargin : kMargin;
    int columns = std::min<int>(kMaxColumns, int(pictures.size()));
    int rows = (int(pictures.size()) + columns - 1) / columns;
    NSSize size = NSMakeSize(kMargin + columns * (kCellWidth + kMargin),
                             header + rows * (cellHeight + kCaptionHeight + kMargin));
    auto sheet = NSImage::imageWithSize(size);
    if (!sheet)
        return std::nullopt;

    sheet->lockFocus();
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    if (CGColorRef checkerboard = CreateBackgroundPatternColorWithTransform(NSAffineTransformStruct{})) {
        CGContextSetFillColorWithColor(context, checkerboard.get());
        CGContextFillRect(context, NSMakeRect(0, 0, size.width, size.height));
    }
    NSStringAttributes caption{NSFont::fontWithName("Helvetica", 12.0), NSColor::blackColor()};
    for (size_t i = 0; i < pictures.size(); ++i) {
        const auto& [picture, time] = pictures[i];
        int row = int(i) / columns, column = int(i) % columns;
        double cellX = kMargin + column * (kCellWidth + kMargin);
        double cellTop = size.height - header - row * (cellHeight + kCaptionHeight + kMargin);
        NSRect cell = NSMakeRect(cellX, cellTop - cellHeight, kCellWidth, cellHeight);
        NSSize own = picture->size();
        double scale = std::min(cell.size.width / own.width, cell.size.height / own.height);
        NSSize fitted = NSMakeSize(own.width * scale, own.height * scale);
        NSRect target = NSMakeRect(cell.origin.x + (cell.size.width - fitted.width) / 2,
                                   cell.origin.y + (cell.size.height - fitted.height) / 2, fitted.width, fitted.height);
        picture->drawInRect(target, NSZeroRect, NSCompositingOperation::SourceOver, 1.0);
        NSSize textSize = NSStringSizeWithAttributes(time, caption);
        NSStringDrawAtPoint(time,
                            NSMakePoint(cellX + (kCellWidth - textSize.width) / 2,
                                        cell.origin.y - kCaptionHeight + (kCaptionHeight - textSize.height) / 2),
                            caption);
    }
    if (badge) {
        NSSize badgeSize = badge->size();
        badge->drawInRect(NSMakeRect(size.width - kMargin - badgeSize.width, size.height - kMargin / 2 - badgeSize.height,
                                     badgeSize.width, badgeSize.height),
                          NSZeroRect, NSCompositingOperation::SourceOver, 1.0);
    }
    sheet->unlockFocus();
    return LXImage::PNGRepresentation(*sheet);
}
