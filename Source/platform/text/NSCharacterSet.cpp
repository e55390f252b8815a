#include "platform/text/NSCharacterSet.h"

#include <algorithm>

#include <unicode/uniset.h>
#include <unicode/unistr.h>

#include "platform/text/UnicodeText.h"

struct NSCharacterSet::Storage {
    icu::UnicodeSet set;
};

NSCharacterSet::NSCharacterSet() : m_storage(std::make_shared<const Storage>()) {}

NSCharacterSet NSCharacterSet::fromPattern(const char* pattern) {
    auto storage = std::make_shared<Storage>();
    UErrorCode status = U_ZERO_ERROR;
    storage->set.applyPattern(icu::UnicodeString(pattern, -1, US_INV), status);
    // The patterns are this file's own constants; a failure would leave the set empty.
    if (U_FAILURE(status))
        storage->set.clear();
    storage->set.freeze();
    return NSCharacterSet(std::move(storage));
}

// The predefined sets are built once; they are frozen, so sharing them between threads is safe.
NSCharacterSet NSCharacterSet::decimalDigitCharacterSet() {
    static const NSCharacterSet set = fromPattern("[:Nd:]");
    return set;
}
NSCharacterSet NSCharacterSet::whitespaceCharacterSet() {
    static const NSCharacterSet set = fromPattern("[[:Zs:]\\u0009]");
    return set;
}
NSCharacterSet NSCharacterSet::whitespaceAndNewlineCharacterSet() {
    static const NSCharacterSet set = fromPattern("[[:Z:]\\u000A-\\u000D\\u0085\\u0009]");
    return set;
}
NSCharacterSet NSCharacterSet::newlineCharacterSet() {
    static const NSCharacterSet set = fromPattern("[\\u000A-\\u000D\\u0085\\u2028\\u2029]");
    return set;
}
NSCharacterSet NSCharacterSet::letterCharacterSet() {
    static const NSCharacterSet set = fromPattern("[[:L:][:M:]]");
    return set;
}
NSCharacterSet NSCharacterSet::lowercaseLetterCharacterSet() {
    static const NSCharacterSet set = fromPattern("[:Ll:]");
    return set;
}
NSCharacterSet NSCharacterSet::uppercaseLetterCharacterSet() {
    static const NSCharacterSet set = fromPattern("[[:Lu:][:Lt:]]");
    return set;
}
NSCharacterSet NSCharacterSet::alphanumericCharacterSet() {
    static const NSCharacterSet set = fromPattern("[[:L:][:M:][:N:]]");
    return set;
}
NSCharacterSet NSCharacterSet::punctuationCharacterSet() {
    static const NSCharacterSet set = fromPattern("[:P:]");
    return set;
}
NSCharacterSet NSCharacterSet::symbolCharacterSet() {
    static const NSCharacterSet set = fromPattern("[:S:]");
    return set;
}
NSCharacterSet NSCharacterSet::controlCharacterSet() {
    static const NSCharacterSet set = fromPattern("[[:Cc:][:Cf:]]");
    return set;
}

NSCharacterSet NSCharacterSet::characterSetWithCharactersInString(std::string_view characters) {
    auto storage = std::make_shared<Storage>();
    for (char32_t c : CodePointsFromUTF8(characters))
        storage->set.add(static_cast<UChar32>(c));
    storage->set.freeze();
    return NSCharacterSet(std::move(storage));
}

NSCharacterSet NSCharacterSet::characterSetWithRange(char32_t first, char32_t length) {
    auto storage = std::make_shared<Storage>();
    if (length > 0 && first <= 0x10FFFF)
        storage->set.add(static_cast<UChar32>(first),
                         static_cast<UChar32>(std::min<char32_t>(first + length - 1, 0x10FFFF)));
    storage->set.freeze();
    return NSCharacterSet(std::move(storage));
}

NSCharacterSet NSCharacterSet::invertedSet() const {
    auto storage = std::make_shared<Storage>();
    // Assignment would copy the frozen state too; adding keeps the new set open.
    storage->set.addAll(m_storage->set);
    storage->set.complement();
    storage->set.freeze();
    return NSCharacterSet(std::move(storage));
}

bool NSCharacterSet::longCharacterIsMember(char32_t character) const {
    return m_storage->set.contains(static_cast<UChar32>(character));
}

bool NSCharacterSet::isEmpty() const {
    return m_storage->set.isEmpty();
}
