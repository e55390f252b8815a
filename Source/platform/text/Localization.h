#pragma once

#include <string>

/// The user-visible words of lxkit live in the gettext text domain "lxkit", with the
/// English text as the message id; an untranslated word comes back as it stands.
inline constexpr const char* LXTextDomain = "lxkit";

/// The word in the user's language (`localizedStringForKey:value:table:` of the main
/// bundle). The catalogue folder is bound on first use: $LXKIT_LOCALEDIR when set, else
/// the build's or installation's share/locale.
std::string LXLocalizedString(const char* english);

/// Points the lookup at another catalogue folder (tests use the build's).
void LXSetLocalizationDirectory(const std::string& folder);
