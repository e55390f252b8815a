#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/files/UTType.h"
#include "platform/files/UTTypeTable.h"

namespace {

std::optional<std::string> identifierFor(UTTagClass tagClass, const char* tag) {
    return UTTypeCreatePreferredIdentifierForTag(tagClass, tag, std::nullopt);
}

struct TypeRow {
    const char* identifier;
    const char* extension;
    const char* mimeType;
    std::optional<std::string> code;
};

TEST(UTTypeRegistry, ConvertsCommonTypesBothWays) {
    const TypeRow rows[] = {
        {"public.jpeg", "jpeg", "image/jpeg", "JPEG"},
        {"public.png", "png", "image/png", "PNGf"},
        {"com.compuserve.gif", "gif", "image/gif", "GIFf"},
        {"public.tiff", "tiff", "image/tiff", "TIFF"},
        {"public.heic", "heic", "image/heic", std::nullopt},
        {"com.microsoft.bmp", "bmp", "image/bmp", "BMP "},
        {"public.mpeg-4", "mp4", "video/mp4", "mpg4"},
        {"com.apple.quicktime-movie", "mov", "video/quicktime", "MooV"},
        {"org.matroska.mkv", "mkv", "video/x-matroska", std::nullopt},
        {"public.mp3", "mp3", "audio/mpeg", "MPG3"},
        {"public.plain-text", "txt", "text/plain", "TEXT"},
        {"com.adobe.pdf", "pdf", "application/pdf", "PDF "},
    };
    for (const TypeRow& row : rows) {
        SCOPED_TRACE(row.identifier);
        EXPECT_EQ(identifierFor(UTTagClass::FilenameExtension, row.extension), row.identifier);
        EXPECT_EQ(identifierFor(UTTagClass::MIMEType, row.mimeType), row.identifier);
        EXPECT_EQ(UTTypeCopyPreferredTagWithClass(row.identifier, UTTagClass::FilenameExtension),
                  row.extension);
        EXPECT_EQ(UTTypeCopyPreferredTagWithClass(row.identifier, UTTagClass::MIMEType), row.mimeType);
        EXPECT_EQ(UTTypeCopyPreferredTagWithClass(row.identifier, UTTagClass::OSType), row.code);
        if (row.code) {
            EXPECT_EQ(identifierFor(UTTagClass::OSType, row.code->c_str()), row.identifier);
        }
    }
}

TEST(UTTypeRegistry, MatchesExtensionsAndIdentifiersWithoutCaseButCodesExactly) {
    EXPECT_EQ(identifierFor(UTTagClass::FilenameExtension, "JPG"), "public.jpeg");
    EXPECT_EQ(identifierFor(UTTagClass::MIMEType, "IMAGE/PNG"), "public.png");
    EXPECT_EQ(UTTypeCopyPreferredTagWithClass("Public.PNG", UTTagClass::FilenameExtension), "png");
    EXPECT_TRUE(UTTypeIsDynamic(*identifierFor(UTTagClass::OSType, "jpeg")));
}

TEST(UTTypeRegistry, UnknownTagsGetDynamicIdentifiersThatConvertBack) {
    const std::pair<UTTagClass, std::string> tags[] = {
        {UTTagClass::FilenameExtension, "XyZ"},
        {UTTagClass::FilenameExtension, "a"},
        {UTTagClass::MIMEType, "application/x-lxkit-test"},
        {UTTagClass::OSType, "'TEXT'"},
        {UTTagClass::OSType, "\xC3\xA9t\xC3\xA9"},
    };
    for (const auto& [tagClass, tag] : tags) {
        SCOPED_TRACE(tag);
        const auto identifier = UTTypeCreatePreferredIdentifierForTag(tagClass, tag, std::nullopt);
        ASSERT_TRUE(identifier);
        EXPECT_TRUE(UTTypeIsDynamic(*identifier)) << *identifier;
        EXPECT_EQ(identifier->find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789."), std::string::npos);
        EXPECT_EQ(UTTypeCopyPreferredTagWithClass(*identifier, tagClass), tag);
        // A dynamic type carries only the tag it was made from.
        const UTTagClass other =
            tagClass == UTTagClass::MIMEType ? UTTagClass::FilenameExtension : UTTagClass::MIMEType;
        EXPECT_EQ(UTTypeCopyPreferredTagWithClass(*identifier, other), std::nullopt);
        EXPECT_TRUE(UTTypeConformsTo(*identifier, "public.data"));
        EXPECT_FALSE(UTTypeConformsTo(*identifier, "public.image"));
    }
    EXPECT_EQ(identifierFor(UTTagClass::FilenameExtension, ""), std::nullopt);
    EXPECT_FALSE(UTTypeIsDynamic("dyn.q!!"));
    EXPECT_FALSE(UTTypeIsDynamic("public.dyn"));
}

TEST(UTTypeRegistry, FollowsConformance) {
    EXPECT_TRUE(UTTypeConformsTo("public.jpeg", "public.image"));
    EXPECT_TRUE(UTTypeConformsTo("public.jpeg", "public.data"));
    EXPECT_TRUE(UTTypeConformsTo("public.jpeg", "public.item"));
    EXPECT_TRUE(UTTypeConformsTo("public.mpeg-4-audio", "public.audio"));
    EXPECT_TRUE(UTTypeConformsTo("com.apple.m4v-video", "public.movie"));
    EXPECT_FALSE(UTTypeConformsTo("public.movie", "public.mpeg-4"));
    EXPECT_FALSE(UTTypeConformsTo("public.folder", "public.data"));
    EXPECT_FALSE(UTTypeConformsTo("org.example.unknown", "public.data"));
    // A narrowed lookup skips the earlier row for a shared tag.
    EXPECT_EQ(identifierFor(UTTagClass::MIMEType, "video/mp4"), "public.mpeg-4");
    EXPECT_EQ(UTTypeCreatePreferredIdentifierForTag(UTTagClass::MIMEType, "video/mp4",
                                                    std::string_view("com.apple.m4v-video")),
              "com.apple.m4v-video");
}

std::vector<std::string> split(const char* list) {
    std::vector<std::string> items;
    std::istringstream in(list);
    for (std::string item; std::getline(in, item, ',');)
        items.push_back(item);
    return items;
}

// The table is data typed by hand: check that it hangs together.
TEST(UTTypeTable, IsConsistent) {
    std::set<std::string> identifiers;
    for (size_t row = 0; row < kUTTypeTableSize; ++row)
        EXPECT_TRUE(identifiers.insert(kUTTypeTable[row].identifier).second) << kUTTypeTable[row].identifier;
    for (size_t row = 0; row < kUTTypeTableSize; ++row) {
        const UTTypeRecord& record = kUTTypeTable[row];
        SCOPED_TRACE(record.identifier);
        for (const std::string& parent : split(record.conformsTo))
            EXPECT_TRUE(identifiers.count(parent)) << parent;
        for (const std::string& code : split(record.osTypes))
            EXPECT_EQ(code.size(), 4u) << code;
        // Every type's preferred extension leads to a type that lists it.
        if (const auto extension =
                UTTypeCopyPreferredTagWithClass(record.identifier, UTTagClass::FilenameExtension)) {
            const auto owner = identifierFor(UTTagClass::FilenameExtension, extension->c_str());
            ASSERT_TRUE(owner);
            EXPECT_FALSE(UTTypeIsDynamic(*owner));
        }
    }
}

TEST(UTTypeDescription, ComesFromSharedMimeInfo) {
    for (const char* identifier : {"public.png", "public.folder", "org.matroska.mkv"}) {
        SCOPED_TRACE(identifier);
        const auto description = UTTypeCopyDescription(identifier);
        ASSERT_TRUE(description);
        EXPECT_FALSE(description->empty());
        // GIO's made-up text for a type it does not know names the MIME type.
        EXPECT_EQ(description->find('/'), std::string::npos);
    }
    // Known to shared-mime-info but not to the table: described through the dynamic tag.
    EXPECT_TRUE(UTTypeCopyDescription(*identifierFor(UTTagClass::FilenameExtension, "xcf")));
    EXPECT_EQ(UTTypeCopyDescription(*identifierFor(UTTagClass::FilenameExtension, "lxkitunknown")),
              std::nullopt);
    EXPECT_EQ(UTTypeCopyDescription(*identifierFor(UTTagClass::MIMEType, "image/x-lxkit-none")),
              std::nullopt);
    EXPECT_EQ(UTTypeCopyDescription("public.item"), std::nullopt);
}

TEST(UTTypeContentTypes, MapGIOTypesAndAliases) {
    EXPECT_EQ(UTTypeIdentifierForContentType("image/png"), "public.png");
    EXPECT_EQ(UTTypeIdentifierForContentType("application/octet-stream"), "public.data");
    EXPECT_EQ(UTTypeIdentifierForContentType("image/x-MS-bmp"), "com.microsoft.bmp");
    const std::string unknown = UTTypeIdentifierForContentType("application/x-lxkit-test").value_or("");
    EXPECT_EQ(UTTypeCopyPreferredTagWithClass(unknown, UTTagClass::MIMEType), "application/x-lxkit-test");
    EXPECT_EQ(UTTypeIdentifierForContentType(""), std::nullopt);
}

TEST(OSTypeStrings, PackFourCharactersBigEndian) {
    EXPECT_EQ(UTCreateStringForOSType(0x50444620), "PDF ");
    EXPECT_EQ(UTGetOSTypeFromString("TEX"), 0u);
    EXPECT_EQ(UTGetOSTypeFromString("TEXTX"), 0u);
    // Bytes above 0x7F travel as the characters U+0080 to U+00FF.
    EXPECT_EQ(UTCreateStringForOSType(0xA9616263), "\u00A9abc");
}

} // namespace
