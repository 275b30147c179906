#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace velmora {

enum class ErrorCode {
    NotFound,    // the file or entry does not exist
    Io,          // the operating system refused a read or write
    Corrupt,     // bytes that do not decode
    Invalid,     // input that decodes but breaks a rule (wrong type, unknown key)
    Unsupported, // a well-formed construct the engine does not handle
    Changed,     // the files changed under the work, which done again may succeed
};

struct Error {
    ErrorCode code;
    std::string message;
};

// The engine reports failures as values: a Result holds either a T or an Error, never throws.
template <typename T>
class [[nodiscard]] Result {
public:
    Result(T value)
        : m_state(std::in_place_index<0>, std::move(value)) {}
    Result(Error error)
        : m_state(std::in_place_index<1>, std::move(error)) {}

    bool ok() const noexcept { return m_state.index() == 0; }
    explicit operator bool() const noexcept { return ok(); }

    T& value() & { return std::get<0>(m_state); }
    const T& value() const& { return std::get<0>(m_state); }
    T&& value() && { return std::get<0>(std::move(m_state)); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }

    const Error& error() const { return std::get<1>(m_state); }

private:
    std::variant<T, Error> m_state;
};

template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Error error)
        : m_error(std::move(error)) {}

    bool ok() const noexcept { return !m_error.has_value(); }
    explicit operator bool() const noexcept { return ok(); }
    const Error& error() const { return *m_error; }

private:
    std::optional<Error> m_error;
};

using Status = Result<void>;

} // namespace velmora
