#pragma once

#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>

namespace lxkit::test {

/// Runs the body in the given gettext language (LANGUAGE) on the C.UTF-8 locale, which
/// every glibc system has, and restores the environment afterwards. gettext honours
/// LANGUAGE for any locale but plain "C", so no generated locale is needed; the
/// setlocale call also makes gettext drop what it has cached.
class LanguageScope {
  public:
    explicit LanguageScope(const char* language) {
        save("LC_ALL", m_lcAll);
        save("LANGUAGE", m_language);
        setenv("LC_ALL", "C.UTF-8", 1);
        if (language)
            setenv("LANGUAGE", language, 1);
        else
            unsetenv("LANGUAGE");
        std::setlocale(LC_ALL, "");
    }
    ~LanguageScope() {
        restore("LC_ALL", m_lcAll);
        restore("LANGUAGE", m_language);
        std::setlocale(LC_ALL, "");
    }
    LanguageScope(const LanguageScope&) = delete;
    LanguageScope& operator=(const LanguageScope&) = delete;

  private:
    static void save(const char* name, std::optional<std::string>& slot) {
        if (const char* value = std::getenv(name))
            slot = value;
    }
    static void restore(const char* name, const std::optional<std::string>& slot) {
        if (slot)
            setenv(name, slot->c_str(), 1);
        else
            unsetenv(name);
    }

    std::optional<std::string> m_lcAll;
    std::optional<std::string> m_language;
};

} // namespace lxkit::test
