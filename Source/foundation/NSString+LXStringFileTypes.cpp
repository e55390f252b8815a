#include <glib.h>

#include "foundation/NSString+LXStringFileTypes.h"
#include "foundation/NSString+LXStringPaths.h"
#include "platform/files/ContentType.h"
#include "platform/files/GIFImage.h"
#include "platform/files/MovieProbe.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/files/UTType.h"

namespace {

enum class TypeStringForm { None, Code, Identifier, Extension };

TypeStringForm formOf(const std::string& typeString) {
    if (typeString.empty())
        return TypeStringForm::None;
    if (typeString.front() == '\'')
        return TypeStringForm::Code;
    if (typeString.find('.') != std::string::npos)
        return TypeStringForm::Identifier;
    return TypeStringForm::Extension;
}

std::string jpgForJpeg(std::string tag) {
    return tag == "jpeg" ? "jpg" : tag;
}

// The characters from `first` up to `first + count` of a UTF-8 text, counted as
// characters, not bytes.
std::string characters(const std::string& text, long first, long count) {
    const char* start = g_utf8_offset_to_pointer(text.c_str(), first);
    const char* end = g_utf8_offset_to_pointer(start, count);
    return std::string(start, end);
}

} // namespace

namespace LXString {

std::optional<std::string> typeStringWithOSType(uint32_t code) {
    const auto fourCharacters = UTCreateStringForOSType(code);
    if (!fourCharacters)
        return std::nullopt;
    return "'" + *fourCharacters + "'";
}

uint32_t OSType(const std::string& typeString) {
    if (!g_utf8_validate(typeString.data(), static_cast<gssize>(typeString.size()), nullptr))
        return 0;
    if (NSStringCharacterCount(typeString) != 6 || typeString.front() != '\'')
        return 0;
    return UTGetOSTypeFromString(characters(typeString, 1, 4));
}

std::optional<std::string> fileTypeIdentifier(const std::string& typeString) {
    switch (formOf(typeString)) {
    case TypeStringForm::None:
        return std::nullopt;
    case TypeStringForm::Code:
        // The quoted string is the tag on purpose: a code form names a type only through
        // its dynamic identifier.
        return UTTypeCreatePreferredIdentifierForTag(UTTagClass::OSType, typeString, std::nullopt);
    case TypeStringForm::Identifier:
        return typeString;
    case TypeStringForm::Extension:
        break;
    }
    return UTTypeCreatePreferredIdentifierForTag(UTTagClass::FilenameExtension, typeString, std::nullopt);
}

std::optional<std::string> fileTypeExtension(const std::string& typeString) {
    switch (formOf(typeString)) {
    case TypeStringForm::None:
    case TypeStringForm::Code:
        return std::nullopt;
    case TypeStringForm::Identifier:
        if (auto extension = UTTypeCopyPreferredTagWithClass(typeString, UTTagClass::FilenameExtension))
            return jpgForJpeg(std::move(*extension));
        return std::nullopt;
    case TypeStringForm::Extension:
        break;
    }
    return typeString;
}

std::optional<std::string> fileTypeTag(const std::string& typeString) {
    switch (formOf(typeString)) {
    case TypeStringForm::None:
        return std::nullopt;
    case TypeStringForm::Code:
        return typeString;
    case TypeStringForm::Identifier:
        if (const auto extension = UTTypeCopyPreferredTagWithClass(typeString, UTTagClass::FilenameExtension))
            return jpgForJpeg(NSStringLowercase(*extension));
        if (auto code = UTTypeCopyPreferredTagWithClass(typeString, UTTagClass::OSType))
            return jpgForJpeg(std::move(*code));
        return std::nullopt;
    case TypeStringForm::Extension:
        break;
    }
    return jpgForJpeg(NSStringLowercase(typeString));
}

std::optional<std::string> fileTypeDescription(const std::string& typeString) {
    const auto identifier = fileTypeIdentifier(typeString);
    if (!identifier)
        return std::nullopt;
    return UTTypeCopyDescription(*identifier);
}

std::optional<std::string> pathExtensionOrType(const std::string& path) {
    // A path always has an extension answer, "" included, so the workspace's type query
    // that stands behind it is never needed for a string receiver.
    return NSPathExtension(path);
}

std::optional<std::string> fileContentIdentifier(const std::string& path) {
    FSRef ref;
    if (!getFSRef(path, &ref))
        return std::nullopt;
    std::optional<std::string> contentType = LSCopyItemContentType(ref.path);
    if (!contentType)
        return std::nullopt;
    if (*contentType != kUTTypeData)
        return contentType;
    // A named file of unknown kind is taken at its word; only a nameless one is read.
    if (!NSPathExtension(path).empty())
        return contentType;
    const auto source = CGImageSourceTypeAtPath(ref.path);
    if (!source)
        return contentType;
    contentType = source->type;
    if (!contentType) {
        if (!QTMovieCanInitWithPath(ref.path))
            return std::nullopt;
        const auto extension = pathExtensionOrType(path);
        return extension ? fileTypeIdentifier(*extension) : std::nullopt;
    }
    return contentType;
}

bool isAnimatedGIFAtPath(const std::string& path) {
    const auto extensionOrType = pathExtensionOrType(path);
    if (!extensionOrType || NSStringLowercase(*extensionOrType).find("gif") == std::string::npos)
        return false;
    const auto count = GIFImageCount(path, 2);
    return count && *count > 1;
}

} // namespace LXString
