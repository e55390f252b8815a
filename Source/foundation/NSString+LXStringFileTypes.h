#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// Naming file types. A type string names a type in one of three forms, told apart in
/// this order: code form ("'TEXT'", a four-character code in apostrophes, recognised by
/// the first apostrophe alone), identifier form (anything else holding a point, as
/// "public.jpeg"), and extension form (anything else, as "jpg"). The empty string names
/// no type.
namespace LXString {

/// The code in code form ("'TEXT'"), or nothing for a code of 0.
std::optional<std::string> typeStringWithOSType(uint32_t code);

/// The code of a six-character string that starts with an apostrophe, taken from the
/// four characters after it (the closing apostrophe is not checked); 0 otherwise.
uint32_t OSType(const std::string& typeString);

/// The type string in identifier form; unknown tags give a "dyn." identifier.
std::optional<std::string> fileTypeIdentifier(const std::string& typeString);

/// The type string in extension form: an extension unchanged, an identifier's preferred
/// extension ("jpeg" given as "jpg"), nothing for code form.
std::optional<std::string> fileTypeExtension(const std::string& typeString);

/// A short tag: the lower-case extension, the code form itself, or an identifier's bare
/// four-character code when it has no extension; "jpeg" always comes out as "jpg".
std::optional<std::string> fileTypeTag(const std::string& typeString);

/// The type's description in the user's language, or nothing.
std::optional<std::string> fileTypeDescription(const std::string& typeString);

/// The path's extension ("" when it has none).
std::optional<std::string> pathExtensionOrType(const std::string& path);

/// The identifier of what the file holds: the type its name gives, and for an unknown
/// file without an extension the image type its first bytes show.
std::optional<std::string> fileContentIdentifier(const std::string& path);

/// True when the file is a GIF (by extension) with more than one frame.
bool isAnimatedGIFAtPath(const std::string& path);

} // namespace LXString
