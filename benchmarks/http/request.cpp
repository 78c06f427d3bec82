#include "request.h"

namespace {

constexpr std::string_view numberPlace = "00000000";

}

Request::Request(std::string_view method, std::uint16_t port, std::string_view path, std::string_view body,
                 std::string_view type)
{
    m_text.append(method).append(" ").append(path).append(" HTTP/1.1\r\nHost: 127.0.0.1:");
    m_text.append(std::to_string(port)).append("\r\n");
    if (!body.empty()) {
        m_text.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n");
    }
    if (!type.empty()) {
        m_text.append("Content-Type: ").append(type).append("\r\n");
    }
    m_text.append("\r\n");
    m_number = body.find(numberPlace);
    if (m_number != std::string_view::npos) {
        m_number += m_text.size();
    }
    m_text.append(body);
}

std::string_view Request::next()
{
    if (m_number != std::string::npos) {
        std::uint32_t rest = ++m_sent;
        for (std::size_t digit = m_number + numberPlace.size(); digit-- > m_number; rest /= 10) {
            m_text[digit] = static_cast<char>('0' + rest % 10);
        }
    }
    return m_text;
}
