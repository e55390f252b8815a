#include <gtest/gtest.h>

#include <cstring>

#include "interface/NSImage+LXImage.h"
#include "interface/NSImage+LXImageBadge.h"
#include "interface/NSImage+LXImageIcon.h"
#include "interface/NSShadow+LXShadow.h"
#include "interface/NSString+LXStringTemplateImage.h"
#include "platform/graphics/NSAssertionHandler.h"
#include "platform/graphics/NSBezierPath.h"
#include "platform/graphics/NSFont.h"

namespace {

uint32_t Pixel(const NSBitmapImageRep& rep, int x, int row) {
    uint32_t word;
    std::memcpy(&word, rep.bitmapData() + size_t(row) * size_t(rep.bytesPerRow()) + size_t(x) * 4, 4);
    return word;
}

/// A 20 x 20 template: a black 10 x 10 square in the middle (rows 5 to 14), transparent round it.
std::shared_ptr<NSImage> SquareTemplate() {
    auto image = NSImage::imageWithSize(NSMakeSize(20, 20));
    image->lockFocus();
    NSColor::blackColor().set();
    NSBezierPath::fillRect(NSMakeRect(5, 5, 10, 10));
    image->unlockFocus();
    image->setTemplate(true);
    return image;
}

TEST(ButtonImages, FourStatesTintTheSilhouetteOnly) {
    auto buttons = LXImage::buttonImagesForTemplate(*SquareTemplate());
    ASSERT_EQ(buttons.size(), 4u);
    struct Case {
        const char* key;
        int red, green, blue;
    } cases[] = {{"hud_normal", 205, 205, 205}, {"hud_normal_pressed", 156, 156, 156},
                 {"hud_on", 204, 102, 0},       {"hud_on_pressed", 153, 77, 0}};
    for (const Case& c : cases) {
        ASSERT_TRUE(buttons.count(c.key)) << c.key;
        const auto& reps = buttons[c.key]->representations();
        ASSERT_EQ(reps.size(), 1u);
        uint32_t inside = Pixel(reps[0], 10, 10);
        EXPECT_EQ(inside >> 24, 255u) << c.key;
        EXPECT_NEAR(int((inside >> 16) & 0xff), c.red, 2) << c.key;
        EXPECT_NEAR(int((inside >> 8) & 0xff), c.green, 2) << c.key;
        EXPECT_NEAR(int(inside & 0xff), c.blue, 2) << c.key;
        EXPECT_EQ(Pixel(reps[0], 2, 2), 0u) << c.key << " outside stays clear";
        EXPECT_EQ(Pixel(reps[0], 17, 10), 0u) << c.key;
    }
}

TEST(ButtonImages, TextTemplateGetsOneAndTwoTimesRepresentations) {
    auto text = LXString::templateImageWithFont("Play", nullptr);
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->isTemplate());
    auto buttons = LXImage::buttonImagesForTemplate(*text);
    ASSERT_EQ(buttons.size(), 4u);
    const auto& reps = buttons["hud_on"]->representations();
    ASSERT_EQ(reps.size(), 2u);
    EXPECT_EQ(reps[0].pixelsWide(), int(text->size().width));
    EXPECT_EQ(reps[1].pixelsWide(), int(text->size().width * 2));
    EXPECT_EQ(LXString::templateImageWithFont("", nullptr)->size().width, 0.0);
}

TEST(DrawTemplate, OnlyTemplatesDrawAndOnlyWhereOpaque) {
    auto canvas = NSImage::imageWithSize(NSMakeSize(20, 20));
    auto square = SquareTemplate();
    canvas->lockFocus();
    LXImage::drawTemplateInRect(*square, NSMakeRect(0, 0, 20, 20), NSColor::blueColor());
    canvas->unlockFocus();
    EXPECT_EQ(Pixel(canvas->bitmap(), 10, 10), 0xff0000ffu);
    EXPECT_EQ(Pixel(canvas->bitmap(), 2, 2), 0u);

    square->setTemplate(false);
    auto untouched = NSImage::imageWithSize(NSMakeSize(20, 20));
    untouched->lockFocus();
    LXImage::drawTemplateInRect(*square, NSMakeRect(0, 0, 20, 20), NSColor::blueColor());
    untouched->unlockFocus();
    EXPECT_EQ(Pixel(untouched->bitmap(), 10, 10), 0u);
}

TEST(TemplateWithShadows, DropShadowFallsOnePointBelowOutsideTheShapeOnly) {
    NSColor black = NSColor::blackColor();
    auto drop = LXShadow::shadowWithColor(&black, NSMakeSize(0, -1), 0);
    auto plain = LXImage::imageForTemplateWithColor(*SquareTemplate(), NSColor::redColor(), nullptr, nullptr);
    auto shadowed = LXImage::imageForTemplateWithColor(*SquareTemplate(), NSColor::redColor(), nullptr, drop.get());
    ASSERT_TRUE(plain && shadowed);
    const NSBitmapImageRep& p = plain->representations().at(0);
    const NSBitmapImageRep& s = shadowed->representations().at(0);
    // The square covers rows 5..14; one point below (y down in rows) is row 15.
    EXPECT_EQ(Pixel(p, 10, 10), 0xffff0000u);
    EXPECT_EQ(Pixel(s, 10, 10), 0xffff0000u) << "the fill covers the shadow inside";
    EXPECT_EQ(Pixel(p, 10, 15), 0u);
    EXPECT_EQ(Pixel(s, 10, 15), 0xff000000u) << "hard black copy one point below";
    EXPECT_EQ(Pixel(s, 10, 16), 0u);
    EXPECT_EQ(Pixel(s, 10, 4), 0u) << "nothing above";
    EXPECT_EQ(Pixel(s, 4, 10), 0u);
    EXPECT_EQ(Pixel(s, 15, 10), 0u);
}

TEST(TemplateWithShadows, InnerShadowDarkensTheTopEdgeInside) {
    NSColor black = NSColor::blackColor();
    auto inner = LXShadow::shadowWithColor(&black, NSMakeSize(0, -1), 0);
    auto image = LXImage::imageForTemplateWithColor(*SquareTemplate(), NSColor::redColor(), inner.get(), nullptr);
    const NSBitmapImageRep& rep = image->representations().at(0);
    EXPECT_EQ(Pixel(rep, 10, 5), 0xff000000u) << "the top row inside is in shadow";
    EXPECT_EQ(Pixel(rep, 10, 6), 0xffff0000u);
    EXPECT_EQ(Pixel(rep, 10, 3), 0u);
}

class RecordingHandler : public NSAssertionHandler {
public:
    void handleFailureInMethod(const std::string& method, const void*, const std::string& file, int line,
                               const std::string& description) override {
        m_reports.push_back(method + "|" + file + "|" + std::to_string(line) + "|" + description);
    }
    std::vector<std::string> m_reports;
};

TEST(TemplateWithShadows, ImageWithoutBitmapsIsReportedThroughTheAssertionHandler) {
    auto text = LXString::templateImageWithFont("A", nullptr);
    EXPECT_THROW(LXImage::imageForTemplateWithColor(*text, NSColor::redColor(), nullptr, nullptr),
                 NSInternalInconsistencyException);
    auto handler = std::make_shared<RecordingHandler>();
    NSAssertionHandler::setCurrentHandler(handler);
    EXPECT_FALSE(LXImage::imageForTemplateWithColor(*text, NSColor::redColor(), nullptr, nullptr));
    NSAssertionHandler::setCurrentHandler(nullptr);
    ASSERT_EQ(handler->m_reports.size(), 1u);
    EXPECT_EQ(handler->m_reports[0], "imageForTemplateWithColor:innerShadow:dropShadow:|NSImage+LXImage.cpp|251|"
                                     "-[NSBitmapImageRep CGImage] returned NULL");
}

TEST(Badge, RimAndPillWidthsFollowTheText) {
    auto seven = LXImage::imageWithBadgeForNumber(7);
    auto many = LXImage::imageWithBadgeForNumber(1234);
    ASSERT_TRUE(seven && many);
    EXPECT_EQ(seven->size().height, many->size().height);
    double sevenText = NSStringSizeWithAttributes("7", {NSFont::fontWithName("Helvetica", 12), std::nullopt}).width;
    double manyText = NSStringSizeWithAttributes("1234", {NSFont::fontWithName("Helvetica", 12), std::nullopt}).width;
    EXPECT_DOUBLE_EQ(many->size().width - seven->size().width, manyText - sevenText);
    EXPECT_DOUBLE_EQ(seven->size().width, sevenText + 18);

    for (const auto& badge : {seven, many}) {
        const NSBitmapImageRep& rep = badge->bitmap();
        int middle = rep.pixelsHigh() / 2;
        // Along the middle row: a faint shadow edge, a white rim of 2 points, the red
        // pill, and the rim again on the right.
        auto red = [](uint32_t w) { return ((w >> 16) & 0xff) > 200 && ((w >> 8) & 0xff) < 80 && (w >> 24) == 255; };
        auto white = [](uint32_t w) { return (w & 0xffffff) == 0xffffff && (w >> 24) == 255; };
        int width = rep.pixelsWide();
        int firstWhite = -1, firstRed = -1, lastRed = -1, lastWhite = -1;
        for (int x = 0; x < width; ++x) {
            uint32_t w = Pixel(rep, x, middle);
            if (white(w) && firstWhite < 0)
                firstWhite = x;
            if (white(w))
                lastWhite = x;
            if (red(w) && firstRed < 0)
                firstRed = x;
            if (red(w))
                lastRed = x;
        }
        EXPECT_LT(Pixel(rep, 0, middle) >> 24, 64u) << "outside the outer pill only the shadow's edge";
        EXPECT_NEAR(firstWhite, 2, 1);
        EXPECT_NEAR(firstRed - firstWhite, 2, 1);
        EXPECT_NEAR(lastWhite - lastRed, 2, 1);
        EXPECT_NEAR(width - 1 - lastWhite, 2, 1);
        EXPECT_NEAR(lastRed - firstRed + 1, width - 8, 1.5);
    }
}

TEST(Icons, CachedPerTypeAndGenericForUnknownTypes) {
    std::string png = "png";
    auto first = LXImage::iconForFileType(&png);
    ASSERT_TRUE(first);
    EXPECT_EQ(first, LXImage::iconForFileType(&png));
    EXPECT_EQ(first->size().width, 512.0);
    EXPECT_EQ(first->size().height, 512.0);

    std::string unknown = "no-such-extension-xyz";
    std::string generic = "'docu'";
    auto unknownIcon = LXImage::iconForFileType(&unknown);
    auto genericIcon = LXImage::iconForFileType(&generic);
    ASSERT_TRUE(unknownIcon && genericIcon);
    EXPECT_NE(unknownIcon, genericIcon) << "cached under the type asked for";
    EXPECT_EQ(unknownIcon, LXImage::iconForFileType(&unknown));
    EXPECT_EQ(unknownIcon->size().width, 512.0);
    auto samePixels = [](const NSImage& a, const NSImage& b) {
        const NSBitmapImageRep& x = a.bitmap();
        const NSBitmapImageRep& y = b.bitmap();
        return x.pixelSize() == y.pixelSize() &&
               std::memcmp(x.bitmapData(), y.bitmapData(), size_t(x.bytesPerRow()) * size_t(x.pixelsHigh())) == 0;
    };
    EXPECT_TRUE(samePixels(*unknownIcon, *genericIcon)) << "the generic document picture";
    EXPECT_FALSE(samePixels(*first, *genericIcon));
    EXPECT_FALSE(LXImage::iconForFileType(nullptr));
}

} // namespace
