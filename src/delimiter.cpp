#include "delimiter.h"

#include <algorithm>

namespace {

struct Attempt
{
    std::size_t matched; ///< bytes of the text that fit
    std::size_t end; ///< offset of the byte that does not, or behind the last
};

Attempt attempt(std::string_view body, std::size_t from, std::string_view text)
{
    const std::size_t first = body.find(text.front(), from);
    if (first == std::string_view::npos)
        return {0, body.size()};
    const std::string_view rest = body.substr(first);
    const auto differing = std::mismatch(text.begin(), text.end(), rest.begin(), rest.end());
    const auto matched = static_cast<std::size_t>(differing.first - text.begin());
    return {matched, first + matched};
}

} // namespace

Delimiter findDelimiter(std::string_view body, std::size_t from, std::string_view line)
{
    while (from < body.size()) {
        const auto [matched, end] = attempt(body, from, line);
        if (matched == line.size())
            return {Delimiter::Kind::Inner, end};
        if (matched + 2 == line.size() && body.substr(end, 2) == "--")
            return {Delimiter::Kind::Closing, end + 2};
        from = end + 1;
    }
    return {Delimiter::Kind::None, body.size()};
}

std::size_t findHeaderEnd(std::string_view body, std::size_t from)
{
    constexpr std::string_view emptyLine = "\r\n\r\n";
    while (from < body.size()) {
        const auto [matched, end] = attempt(body, from, emptyLine);
        if (matched == emptyLine.size())
            return end;
        from = end + 1;
    }
    return body.size();
}
