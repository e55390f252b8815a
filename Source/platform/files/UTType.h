#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// A classic four-character file type code, big-endian packed; 0 means no code.
using OSType = uint32_t;

/// The tag classes by which the type registry names a type besides its identifier.
enum class UTTagClass {
    FilenameExtension,
    MIMEType,
    OSType,
};

/// The type registry: uniform type identifiers with their extensions, MIME types and
/// four-character codes, loaded once from lxkit's own table. Tags that the table does not
/// know get a dynamic identifier beginning "dyn." that carries the tag, so it converts
/// back. Identifiers and extensions compare without regard to ASCII case.

/// The identifier preferred for a tag; never nothing for a non-empty tag (an unknown
/// tag gives a dynamic identifier). `conformingTo` narrows the choice when given.
std::optional<std::string>
UTTypeCreatePreferredIdentifierForTag(UTTagClass tagClass, std::string_view tag,
                                      std::optional<std::string_view> conformingTo);
/// The first tag of a class that a type lists, or nothing.
std::optional<std::string> UTTypeCopyPreferredTagWithClass(std::string_view identifier, UTTagClass tagClass);
/// The type's description in the user's language, from shared-mime-info, or nothing.
std::optional<std::string> UTTypeCopyDescription(std::string_view identifier);
/// True when the type is `conformsTo` or descends from it.
bool UTTypeConformsTo(std::string_view identifier, std::string_view conformsTo);
bool UTTypeIsDynamic(std::string_view identifier);
/// The identifier for a content type as GIO reports it (a MIME type on this system).
std::optional<std::string> UTTypeIdentifierForContentType(std::string_view contentType);

/// The four characters of a code, or nothing for 0. Bytes map to the characters
/// U+0000 to U+00FF.
std::optional<std::string> UTCreateStringForOSType(OSType code);
/// The code of exactly four characters (each at most U+00FF), else 0.
OSType UTGetOSTypeFromString(std::string_view fourCharacters);

/// Identifiers the platform answers with.
inline constexpr const char* kUTTypeData = "public.data";
inline constexpr const char* kUTTypeImage = "public.image";
inline constexpr const char* kUTTypeFolder = "public.folder";
