#pragma once

#include <memory>
#include <string_view>

/// An immutable set of Unicode code points with Foundation's predefined sets. Copies
/// share the set.
class NSCharacterSet {
  public:
    /// The empty set.
    NSCharacterSet();

    /// General category Nd.
    static NSCharacterSet decimalDigitCharacterSet();
    /// General category Zs and CHARACTER TABULATION.
    static NSCharacterSet whitespaceCharacterSet();
    /// General category Z, U+000A to U+000D and U+0085.
    static NSCharacterSet whitespaceAndNewlineCharacterSet();
    /// U+000A to U+000D, U+0085, U+2028 and U+2029.
    static NSCharacterSet newlineCharacterSet();
    /// General categories L and M.
    static NSCharacterSet letterCharacterSet();
    /// General category Ll.
    static NSCharacterSet lowercaseLetterCharacterSet();
    /// General categories Lu and Lt.
    static NSCharacterSet uppercaseLetterCharacterSet();
    /// General categories L, M and N.
    static NSCharacterSet alphanumericCharacterSet();
    /// General category P.
    static NSCharacterSet punctuationCharacterSet();
    /// General category S.
    static NSCharacterSet symbolCharacterSet();
    /// General categories Cc and Cf.
    static NSCharacterSet controlCharacterSet();
    /// Every character of the UTF-8 text.
    static NSCharacterSet characterSetWithCharactersInString(std::string_view characters);
    /// The code points first to first + length - 1.
    static NSCharacterSet characterSetWithRange(char32_t first, char32_t length);

    NSCharacterSet invertedSet() const;
    bool longCharacterIsMember(char32_t character) const;
    bool isEmpty() const;

  private:
    struct Storage;
    explicit NSCharacterSet(std::shared_ptr<const Storage> storage) : m_storage(std::move(storage)) {}
    static NSCharacterSet fromPattern(const char* pattern);

    std::shared_ptr<const Storage> m_storage;
};
