#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Foundation's path arithmetic on slash-separated strings. None of these touch the disk.

/// The components of a path: a leading "/" is a component of its own, repeated slashes
/// count once, and a trailing slash gives a final "/" component.
std::vector<std::string> NSPathComponents(std::string_view path);
/// Joins components again; a first component "/" gives an absolute path.
std::string NSPathWithComponents(const std::vector<std::string>& components);
/// The last component, trailing slashes ignored ("/" for the root).
std::string NSLastPathComponent(std::string_view path);
/// The text after the last point of the last component, "" when there is none. A point
/// that starts the component marks a hidden name, not an extension.
std::string NSPathExtension(std::string_view path);
/// The path without its extension and that extension's point.
std::string NSStringByDeletingPathExtension(std::string_view path);
/// The path with its last component removed ("/" stays "/", a lone name gives "").
std::string NSStringByDeletingLastPathComponent(std::string_view path);
/// Joins a component to a path with exactly one slash between them.
std::string NSStringByAppendingPathComponent(std::string_view path, std::string_view component);
/// The user's home folder: $HOME when it names an absolute path (read on every call, so
/// a changed environment counts), else the password database's entry.
std::string NSHomeDirectory();
/// "~" and "~/…" become the user's home folder; other paths stay as they are.
std::string NSStringByExpandingTildeInPath(std::string_view path);
/// The path made absolute against the working folder, with "." and ".." components and
/// repeated slashes removed, without consulting the disk.
std::string NSStandardizedAbsolutePath(std::string_view path);

/// True when `path` is `folder` or lies below it (component-wise, not by text prefix).
bool NSPathIsInside(std::string_view path, std::string_view folder);

/// The number of Unicode characters in a UTF-8 text.
size_t NSStringCharacterCount(std::string_view text);
/// Unicode lower case of a UTF-8 text.
std::string NSStringLowercase(std::string_view text);
