#pragma once

#include <cstddef>
#include <string_view>

/**
 * What ends the content of a part of a multipart body.
 *
 * Both searches look at each byte once, and go on behind a byte that does not fit. That is deliberate: the
 * byte is not tried again as a first one, so that "CR CR LF CR LF" does not end a header, nor does "---X"
 * hold the delimiter "--X".
 */
struct Delimiter
{
    enum class Kind {
        None, ///< the body ends first
        Inner, ///< the line, CR LF included
        Closing ///< the line with two dashes in place of its CR LF
    };

    Kind kind;
    std::size_t end; ///< offset behind it
};

/// The first at or behind `from`. The `line` ends with CR LF; one that is CR LF alone is never closing.
[[nodiscard]] Delimiter findDelimiter(std::string_view body, std::size_t from, std::string_view line);

/// The offset behind the first CR LF CR LF at or behind `from`; the end of the body if there is none.
[[nodiscard]] std::size_t findHeaderEnd(std::string_view body, std::size_t from);
