#include <gtest/gtest.h>

#include "interface/NSImage+LXImage.h"
#include "interface/NSImage+LXImageBadge.h"
#include "interface/NSImage+LXImageIcon.h"
#include "interface/NSShadow+LXShadow.h"
#include "interface/NSString+LXStringTemplateImage.h"
#include "platform/graphics/NSAssertionHandler.h"
#include "platform/graphics/NSFont.h"
#include "platform/graphics/PixelTestSupport.h"

using namespace lxkit::test;

namespace {

/// A 20 x 20 template: a black 10 x 10 square in the middle (rows 5 to 14), transparent round it.
std::shared_ptr<NSImage> SquareTemplate() {
    auto image = makeImage(
        20, 20, [](int x, int row) { return x >= 5 && x < 15 && row >= 5 && row < 15 ? 0xff000000u : 0u; });
    image->setTemplate(true);
    return image;
}

TEST(ButtonImages, FourStatesTintTheSilhouetteOnly) {
    auto buttons = LXImage::buttonImagesForTemplate(*SquareTemplate());
    ASSERT_EQ(buttons.size(), 4u);
    struct Case {
        const char* key;
        uint32_t inside;
    } cases[] = {{"hud_normal", argb(255, 205, 205, 205)},
                 {"hud_normal_pressed", argb(255, 156, 156, 156)},
                 {"hud_on", argb(255, 204, 102, 0)},
                 {"hud_on_pressed", argb(255, 153, 77, 0)}};
    for (const Case& c : cases) {
        ASSERT_TRUE(buttons.count(c.key)) << c.key;
        const auto& reps = buttons[c.key]->representations();
        ASSERT_EQ(reps.size(), 1u);
        EXPECT_TRUE(ColoursNear(pixelAt(reps[0], 10, 10), c.inside, 2)) << c.key;
        EXPECT_EQ(pixelAt(reps[0], 2, 2), 0u) << c.key << " outside stays clear";
        EXPECT_EQ(pixelAt(reps[0], 17, 10), 0u) << c.key;
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
    auto square = SquareTemplate();
    auto draw = [&] { LXImage::drawTemplateInRect(*square, NSMakeRect(0, 0, 20, 20), NSColor::blueColor()); };
    auto canvas = drawnImage(NSMakeSize(20, 20), draw);
    EXPECT_EQ(pixelAt(*canvas, 10, 10), 0xff0000ffu);
    EXPECT_EQ(pixelAt(*canvas, 2, 2), 0u);
    square->setTemplate(false);
    EXPECT_EQ(pixelAt(*drawnImage(NSMakeSize(20, 20), draw), 10, 10), 0u);
}

TEST(TemplateWithShadows, ShadowsFallOnePointBelowOutsideOrInsideTheShape) {
    NSColor black = NSColor::blackColor();
    auto shadow = LXShadow::shadowWithColor(&black, NSMakeSize(0, -1), 0);
    auto plain = LXImage::imageForTemplateWithColor(*SquareTemplate(), NSColor::redColor(), nullptr, nullptr);
    auto drop =
        LXImage::imageForTemplateWithColor(*SquareTemplate(), NSColor::redColor(), nullptr, shadow.get());
    auto inner =
        LXImage::imageForTemplateWithColor(*SquareTemplate(), NSColor::redColor(), shadow.get(), nullptr);
    ASSERT_TRUE(plain && drop && inner);
    const uint32_t red = 0xffff0000u, dark = 0xff000000u;
    // The square covers rows 5 to 14; one point below (rows run downwards) is row 15.
    EXPECT_EQ(pixelAt(*plain, 10, 5), red);
    EXPECT_EQ(pixelAt(*plain, 10, 15), 0u);
    EXPECT_EQ(pixelAt(*drop, 10, 10), red) << "the fill covers the shadow inside";
    EXPECT_EQ(pixelAt(*drop, 10, 15), dark) << "hard black copy one point below";
    for (auto [x, row] : {std::pair{10, 16}, {10, 4}, {4, 10}, {15, 10}})
        EXPECT_EQ(pixelAt(*drop, x, row), 0u) << x << ", " << row;
    EXPECT_EQ(pixelAt(*inner, 10, 5), dark) << "the top row inside is in shadow";
    EXPECT_EQ(pixelAt(*inner, 10, 6), red);
    EXPECT_EQ(pixelAt(*inner, 10, 3), 0u);
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
    EXPECT_EQ(handler->m_reports[0],
              "imageForTemplateWithColor:innerShadow:dropShadow:|NSImage+LXImage.cpp|251|"
              "-[NSBitmapImageRep CGImage] returned NULL");
}

TEST(Badge, RimAndPillWidthsFollowTheText) {
    auto seven = LXImage::imageWithBadgeForNumber(7);
    auto many = LXImage::imageWithBadgeForNumber(1234);
    ASSERT_TRUE(seven && many);
    auto textWidth = [](const char* text) {
        return NSStringSizeWithAttributes(text, {NSFont::fontWithName("Helvetica", 12), std::nullopt}).width;
    };
    EXPECT_EQ(seven->size().height, many->size().height);
    EXPECT_DOUBLE_EQ(seven->size().width, textWidth("7") + 18);
    EXPECT_DOUBLE_EQ(many->size().width, textWidth("1234") + 18);

    for (const auto& badge : {seven, many}) {
        const NSBitmapImageRep& rep = badge->bitmap();
        int middle = rep.pixelsHigh() / 2, width = rep.pixelsWide();
        // Along the middle row: a faint shadow edge, a white rim of 2 points, the red
        // pill, and the rim again on the right.
        std::vector<int> white, red;
        for (int x = 0; x < width; ++x) {
            uint32_t word = pixelAt(rep, x, middle);
            if (word == 0xffffffffu)
                white.push_back(x);
            if (alphaOf(word) == 255 && redOf(word) > 200 && greenOf(word) < 80)
                red.push_back(x);
        }
        ASSERT_FALSE(white.empty() || red.empty());
        EXPECT_LT(alphaOf(pixelAt(rep, 0, middle)), 64u) << "outside the outer pill only the shadow's edge";
        EXPECT_NEAR(white.front(), 2, 1);
        EXPECT_NEAR(red.front() - white.front(), 2, 1);
        EXPECT_NEAR(white.back() - red.back(), 2, 1);
        EXPECT_NEAR(width - 1 - white.back(), 2, 1);
        EXPECT_NEAR(red.back() - red.front() + 1, width - 8, 1.5);
    }
}

TEST(Icons, CachedPerTypeAndGenericForUnknownTypes) {
    std::string png = "png";
    auto first = LXImage::iconForFileType(&png);
    ASSERT_TRUE(first);
    EXPECT_EQ(first, LXImage::iconForFileType(&png));
    EXPECT_EQ(first->size(), NSMakeSize(512, 512));

    std::string unknown = "no-such-extension-xyz";
    std::string generic = "'docu'";
    auto unknownIcon = LXImage::iconForFileType(&unknown);
    auto genericIcon = LXImage::iconForFileType(&generic);
    ASSERT_TRUE(unknownIcon && genericIcon);
    EXPECT_NE(unknownIcon, genericIcon) << "cached under the type asked for";
    EXPECT_EQ(unknownIcon, LXImage::iconForFileType(&unknown));
    EXPECT_EQ(pixelsOf(*unknownIcon), pixelsOf(*genericIcon)) << "the generic document picture";
    EXPECT_NE(pixelsOf(*first), pixelsOf(*genericIcon));
    EXPECT_FALSE(LXImage::iconForFileType(nullptr));
}

} // namespace
