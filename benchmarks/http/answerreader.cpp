#include "answerreader.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <stdexcept>

namespace {

constexpr std::string_view headEnd = "\r\n\r\n";

template <typename Number>
Number numberAt(std::string_view text)
{
    Number number{};
    if (std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc()) {
        throw std::runtime_error("an answer with a number missing");
    }
    return number;
}

bool equalNames(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    });
}

std::size_t contentLength(std::string_view head)
{
    constexpr std::string_view name = "\r\ncontent-length:";
    for (std::size_t line = head.find("\r\n"); line != std::string_view::npos;
         line = head.find("\r\n", line + 2)) {
        if (equalNames(head.substr(line, name.size()), name)) {
            const std::string_view value = head.substr(line + name.size());
            return numberAt<std::size_t>(value.substr(std::min(value.find_first_not_of(' '), value.size())));
        }
    }
    throw std::runtime_error("an answer without Content-Length");
}

} // namespace

bool AnswerReader::feed(std::string_view bytes)
{
    if (!m_inBody) {
        const std::size_t before = m_head.size();
        m_head.append(bytes);
        const std::size_t end = m_head.find(headEnd, before - std::min(before, headEnd.size() - 1));
        if (end == std::string::npos) {
            return false;
        }
        const std::size_t headSize = end + headEnd.size();
        readHead(std::string_view(m_head).substr(0, headSize));
        bytes.remove_prefix(headSize - before);
        m_head.clear();
        m_inBody = true;
    }
    if (bytes.size() > m_missingBody) {
        throw std::runtime_error("bytes behind the end of an answer");
    }
    m_missingBody -= bytes.size();
    m_inBody = m_missingBody != 0;
    return !m_inBody;
}

void AnswerReader::readHead(std::string_view head)
{
    constexpr std::string_view version = "HTTP/1.1 ";
    if (head.substr(0, version.size()) != version) {
        throw std::runtime_error("not an HTTP/1.1 answer");
    }
    m_status = numberAt<int>(head.substr(version.size()));
    m_missingBody = m_status == 204 || m_status == 304 ? 0 : contentLength(head);
}
