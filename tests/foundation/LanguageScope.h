#pragma once

#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>

namespace lxkit::test {

/// Sets (or, for null, removes) one environment variable until the object goes. A locale
/// variable asks for the locale to be re-read both times, which also makes gettext drop
/// what it has cached.
class EnvironmentScope {
public:
    EnvironmentScope(const char* name, const char* value, bool rereadLocale = false)
        : m_name(name), m_rereadLocale(rereadLocale) {
        if (const char* old = std::getenv(name))
            m_old = old;
        set(value);
    }
    ~EnvironmentScope() { set(m_old ? m_old->c_str() : nullptr); }
    EnvironmentScope(const EnvironmentScope&) = delete;
    EnvironmentScope& operator=(const EnvironmentScope&) = delete;

private:
    void set(const char* value) {
        value ? setenv(m_name, value, 1) : unsetenv(m_name);
        if (m_rereadLocale)
            std::setlocale(LC_ALL, "");
    }
    const char* m_name;
    bool m_rereadLocale;
    std::optional<std::string> m_old;
};

/// Runs the body in the given gettext language (LANGUAGE) on the C.UTF-8 locale, which
/// every glibc system has. gettext honours LANGUAGE for any locale but plain "C", so no
/// generated locale is needed.
struct LanguageScope {
    explicit LanguageScope(const char* language) : m_language("LANGUAGE", language, true) {}
    EnvironmentScope m_locale{"LC_ALL", "C.UTF-8", true};
    EnvironmentScope m_language;
};

} // namespace lxkit::test
