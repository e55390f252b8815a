#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// The classic numeric language code (0 English, 1 French, 2 German…) for an ISO 639
/// code as containers store it: two letters (639-1), or three in either the
/// bibliographic or the terminological form of 639-2 ("ger" and "deu"); case does not
/// matter. "und" gives `QTLanguageUnspecified`; codes without a classic number give
/// nothing.
std::optional<int64_t> ClassicLanguageCodeForISO639(std::string_view code);
