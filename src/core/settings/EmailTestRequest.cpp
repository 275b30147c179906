#include "core/settings/EmailTestRequest.h"

#include <utility>

#include "core/archive/KeyedArchive.h"
#include "core/presentation/DateFormat.h"

namespace velmora {

namespace {

std::string replaceAll(std::string text, std::string_view placeholder, std::string_view value) {
    std::string result;
    std::size_t from = 0;
    for (std::size_t at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, from)) {
        result.append(text, from, at - from).append(value);
        from = at + placeholder.size();
    }
    result.append(text, from);
    return result;
}

double secondsSince1970(std::chrono::system_clock::time_point instant) {
    return std::chrono::duration<double>(instant.time_since_epoch()).count();
}

} // namespace

EmailTestRequest::EmailTestRequest(std::vector<std::string> recipients,
                                   const std::optional<Dictionary>& settings,
                                   std::string_view displayFormat,
                                   std::chrono::system_clock::time_point now)
    : m_recipients(std::move(recipients))
    , m_date(DateFormat(displayFormat).format(secondsSince1970(now))) {
    m_subject = filledTemplate(settings, "actionsFormatSubject");
    m_body = filledTemplate(settings, "actionsFormatBody");
}

std::optional<std::string>
EmailTestRequest::filledTemplate(const std::optional<Dictionary>& settings,
                                 std::string_view key) const {
    const Value* stored = settings ? settings->find(key) : nullptr;
    const std::string* text = stored ? stored->asString() : nullptr;
    if (text == nullptr) {
        return std::nullopt;
    }
    return fill(*text);
}

std::string EmailTestRequest::fill(std::string_view text) const {
    std::string filled(text);
    filled = replaceAll(std::move(filled), "$host", kHost);
    filled = replaceAll(std::move(filled), "$date", m_date);
    filled = replaceAll(std::move(filled), "$priority", kPriority);
    return replaceAll(std::move(filled), "$message", kMessage);
}

Dictionary EmailTestRequest::dictionary() const {
    Array recipients(m_recipients.begin(), m_recipients.end());
    Dictionary request{{"Settings", "email"}, {"Recipients", std::move(recipients)}};
    if (!m_subject) {
        return request;
    }
    request.set("Subject", *m_subject);
    if (!m_body) {
        return request;
    }
    request.set("Body", *m_body);
    // The console never asks for an HTML mail.
    request.set("Html", false);
    return request;
}

std::vector<std::uint8_t> EmailTestRequest::archive() const {
    return keyed_archive::encode(Value(dictionary()));
}

} // namespace velmora
