#include "platform/text/Localization.h"

#include <cstdlib>
#include <libintl.h>
#include <mutex>

#ifndef LXKIT_LOCALE_DIR
#define LXKIT_LOCALE_DIR "/usr/share/locale"
#endif

namespace {

std::once_flag g_bound;

void bindOnce() {
    std::call_once(g_bound, [] {
        const char* folder = std::getenv("LXKIT_LOCALEDIR");
        bindtextdomain(LXTextDomain, folder && *folder ? folder : LXKIT_LOCALE_DIR);
        bind_textdomain_codeset(LXTextDomain, "UTF-8");
    });
}

} // namespace

std::string LXLocalizedString(const char* english) {
    bindOnce();
    return dgettext(LXTextDomain, english);
}

void LXSetLocalizationDirectory(const std::string& folder) {
    bindOnce();
    bindtextdomain(LXTextDomain, folder.c_str());
}
