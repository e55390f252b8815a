#pragma once

#include <string>
#include <utility>
#include <variant>

/// The cause of a failure inside the platform layer, in words for a person (lower-case,
/// no full stop). At the surface that the system describes, failures flatten to neutral
/// answers; the command-line tools print the cause.
struct Error {
    std::string message;
};

template <typename T>
class [[nodiscard]] ErrorOr {
public:
    ErrorOr(T value) : m_value(std::in_place_index<0>, std::move(value)) {}
    ErrorOr(Error error) : m_value(std::in_place_index<1>, std::move(error)) {}

    bool isError() const { return m_value.index() == 1; }
    explicit operator bool() const { return !isError(); }
    T& value() { return std::get<0>(m_value); }
    const T& value() const { return std::get<0>(m_value); }
    T releaseValue() { return std::move(std::get<0>(m_value)); }
    const Error& error() const { return std::get<1>(m_value); }

private:
    std::variant<T, Error> m_value;
};

inline Error makeError(std::string message) { return Error{std::move(message)}; }
