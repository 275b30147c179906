#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/archive/Value.h"

namespace velmora {

// The "email" command that asks the server to send one test mail through the configured mail
// server, with the configured subject and body templates filled with fixed test values. The
// console sends no mail itself: it writes this request into the command pipe.
//
// The request's entries come in a fixed order (Settings, Recipients, Subject, Body, Html) and
// end at the first missing value: without a subject template the request holds only Settings
// and Recipients, without a body template it stops after Subject. A template is missing when
// there are no settings at all (the no-file defaults do not apply here), when the settings
// lack its key, or when the key holds something other than text.
class EmailTestRequest {
public:
    static constexpr std::string_view kHost = "127.0.0.1";
    static constexpr std::string_view kPriority = "Local7.Debug";
    static constexpr std::string_view kMessage = "Kestrix Velmora - Test message";

    // "$date" is `now` written in the display format (see DateFormat: "" is the locale's short
    // date and medium time).
    EmailTestRequest(std::vector<std::string> recipients, const std::optional<Dictionary>& settings,
                     std::string_view displayFormat, std::chrono::system_clock::time_point now);

    const std::string& date() const { return m_date; }
    const std::optional<std::string>& subject() const { return m_subject; }
    const std::optional<std::string>& body() const { return m_body; }

    // Replaces every "$host", then every "$date", then "$priority", then "$message" by the test
    // values, as plain text and in that order: a value that holds a later placeholder has it
    // replaced too.
    std::string fill(std::string_view text) const;

    Dictionary dictionary() const;
    // The keyed archive of dictionary(), as written into the pipe.
    std::vector<std::uint8_t> archive() const;

private:
    std::vector<std::string> m_recipients;
    std::string m_date;
    std::optional<std::string> m_subject;
    std::optional<std::string> m_body;

    std::optional<std::string> filledTemplate(const std::optional<Dictionary>& settings,
                                              std::string_view key) const;
};

} // namespace velmora
