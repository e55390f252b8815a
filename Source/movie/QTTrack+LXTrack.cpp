#include <vector>

#include "movie/QTTrack+LXTrack.h"

namespace {

/// Filled on first use and kept; callers are on one thread.
const std::vector<std::string>* g_languageNames = nullptr;

const std::vector<std::string>& LanguageNames() {
    if (!g_languageNames) {
        // Indexed by the classic code; 19 (traditional) and 33 (simplified) are both Chinese.
        g_languageNames = new std::vector<std::string>{
            "English", "French",     "German",    "Italian",    "Dutch",    "Swedish",   "Spanish",
            "Danish",  "Portuguese", "Norwegian", "Hebrew",     "Japanese", "Arabic",    "Finnish",
            "Greek",   "Icelandic",  "Maltese",   "Turkish",    "Croatian", "Chinese",   "Urdu",
            "Hindi",   "Thai",       "Korean",    "Lithuanian", "Polish",   "Hungarian", "Estonian",
            "Latvian", "Sami",       "Faroese",   "Persian",    "Russian",  "Chinese",   "Flemish",
            "Irish",   "Albanian",   "Romanian",  "Czech",      "Slovak",   "Slovenian", "Yiddish",
            "Serbian", "Macedonian", "Bulgarian", "Ukrainian"};
    }
    return *g_languageNames;
}

} // namespace

namespace LXTrack {

std::optional<std::string> language(const QTTrack& track) {
    const auto& names = LanguageNames();
    auto code = track.languageCode();
    if (!code)
        return std::nullopt;
    auto narrow = int32_t(*code);
    if (narrow < 0 || size_t(narrow) >= names.size() || names[size_t(narrow)].empty())
        return std::nullopt;
    return names[size_t(narrow)];
}

} // namespace LXTrack
