#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The text of one request that is sent again and again. Where its body holds "00000000", each sending has a
/// number of its own there, so that each is a change.
class Request final
{
public:
    Request(std::string_view method, std::uint16_t port, std::string_view path, std::string_view body = {},
            std::string_view type = {});

    /// The text to send next, valid until the next call.
    [[nodiscard]] std::string_view next();

private:
    std::string m_text;
    std::size_t m_number;
    std::uint32_t m_sent = 0;
};
