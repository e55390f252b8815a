#include "platform/media/LanguageCodes.h"

#include <cctype>
#include <string>

#include "platform/media/QTTrack.h"

namespace {

struct Language {
    int16_t code;
    const char* iso6391;
    const char* bibliographic;
    const char* terminological;
};

// The classic codes of the Script Manager; Flemish (34) has no code of its own in
// ISO 639 and is reached from no text. Chinese goes to the traditional code, which is
// the first of the two that carry it.
constexpr Language kLanguages[] = {
    {0, "en", "eng", "eng"},   {1, "fr", "fre", "fra"},   {2, "de", "ger", "deu"},
    {3, "it", "ita", "ita"},   {4, "nl", "dut", "nld"},   {5, "sv", "swe", "swe"},
    {6, "es", "spa", "spa"},   {7, "da", "dan", "dan"},   {8, "pt", "por", "por"},
    {9, "no", "nor", "nor"},   {9, "nb", "nob", "nob"},   {9, "nn", "nno", "nno"},
    {10, "he", "heb", "heb"},  {11, "ja", "jpn", "jpn"},  {12, "ar", "ara", "ara"},
    {13, "fi", "fin", "fin"},  {14, "el", "gre", "ell"},  {15, "is", "ice", "isl"},
    {16, "mt", "mlt", "mlt"},  {17, "tr", "tur", "tur"},  {18, "hr", "hrv", "hrv"},
    {19, "zh", "chi", "zho"},  {20, "ur", "urd", "urd"},  {21, "hi", "hin", "hin"},
    {22, "th", "tha", "tha"},  {23, "ko", "kor", "kor"},  {24, "lt", "lit", "lit"},
    {25, "pl", "pol", "pol"},  {26, "hu", "hun", "hun"},  {27, "et", "est", "est"},
    {28, "lv", "lav", "lav"},  {29, "se", "sme", "sme"},  {30, "fo", "fao", "fao"},
    {31, "fa", "per", "fas"},  {32, "ru", "rus", "rus"},  {35, "ga", "gle", "gle"},
    {36, "sq", "alb", "sqi"},  {37, "ro", "rum", "ron"},  {38, "cs", "cze", "ces"},
    {39, "sk", "slo", "slk"},  {40, "sl", "slv", "slv"},  {41, "yi", "yid", "yid"},
    {42, "sr", "srp", "srp"},  {43, "mk", "mac", "mkd"},  {44, "bg", "bul", "bul"},
    {45, "uk", "ukr", "ukr"},  {46, "be", "bel", "bel"},  {47, "uz", "uzb", "uzb"},
    {48, "kk", "kaz", "kaz"},  {49, "az", "aze", "aze"},  {51, "hy", "arm", "hye"},
    {52, "ka", "geo", "kat"},  {53, "ro", "mol", "mol"},  {54, "ky", "kir", "kir"},
    {55, "tg", "tgk", "tgk"},  {56, "tk", "tuk", "tuk"},  {57, "mn", "mon", "mon"},
    {59, "ps", "pus", "pus"},  {60, "ku", "kur", "kur"},  {61, "ks", "kas", "kas"},
    {62, "sd", "snd", "snd"},  {63, "bo", "tib", "bod"},  {64, "ne", "nep", "nep"},
    {65, "sa", "san", "san"},  {66, "mr", "mar", "mar"},  {67, "bn", "ben", "ben"},
    {68, "as", "asm", "asm"},  {69, "gu", "guj", "guj"},  {70, "pa", "pan", "pan"},
    {71, "or", "ori", "ori"},  {72, "ml", "mal", "mal"},  {73, "kn", "kan", "kan"},
    {74, "ta", "tam", "tam"},  {75, "te", "tel", "tel"},  {76, "si", "sin", "sin"},
    {77, "my", "bur", "mya"},  {78, "km", "khm", "khm"},  {79, "lo", "lao", "lao"},
    {80, "vi", "vie", "vie"},  {81, "id", "ind", "ind"},  {82, "tl", "tgl", "tgl"},
    {83, "ms", "may", "msa"},  {85, "am", "amh", "amh"},  {86, "ti", "tir", "tir"},
    {87, "om", "orm", "orm"},  {88, "so", "som", "som"},  {89, "sw", "swa", "swa"},
    {90, "rw", "kin", "kin"},  {91, "rn", "run", "run"},  {92, "ny", "nya", "nya"},
    {93, "mg", "mlg", "mlg"},  {94, "eo", "epo", "epo"},  {128, "cy", "wel", "cym"},
    {129, "eu", "baq", "eus"}, {130, "ca", "cat", "cat"}, {131, "la", "lat", "lat"},
    {132, "qu", "que", "que"}, {133, "gn", "grn", "grn"}, {134, "ay", "aym", "aym"},
    {135, "tt", "tat", "tat"}, {136, "ug", "uig", "uig"}, {137, "dz", "dzo", "dzo"},
    {138, "jv", "jav", "jav"}, {139, "su", "sun", "sun"}, {140, "gl", "glg", "glg"},
    {141, "af", "afr", "afr"}, {142, "br", "bre", "bre"}, {144, "gd", "gla", "gla"},
    {145, "gv", "glv", "glv"}, {147, "to", "ton", "ton"}, {148, "el", "grc", "grc"},
    {149, "kl", "kal", "kal"},
};

} // namespace

std::optional<int64_t> ClassicLanguageCodeForISO639(std::string_view code) {
    std::string lower;
    for (char c : code)
        lower.push_back(char(std::tolower(static_cast<unsigned char>(c))));
    if (lower == "und")
        return QTLanguageUnspecified;
    if (lower.size() != 2 && lower.size() != 3)
        return std::nullopt;
    for (const auto& language : kLanguages) {
        if (lower.size() == 2 ? lower == language.iso6391
                              : (lower == language.bibliographic || lower == language.terminological))
            return language.code;
    }
    return std::nullopt;
}
