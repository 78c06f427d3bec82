#pragma once

#include <QString>

#include <optional>
#include <string_view>

/**
 * The file name of the last line that is a Content-Disposition; none if no line is.
 *
 * - Lines end with LF, and white space around them is no part of them. A line is a Content-Disposition if it
 *   holds that word, case included, anywhere before its first colon.
 * - The name is what stands, as UTF-8, between "filename=" and the next "filename=", the next colon or the
 *   end of the line, less one double quote at its start and one at its end. It is deliberately cut nowhere
 *   else, so that parameters behind it stay in it.
 * - A line with no colon or no "filename=" has an empty name.
 */
[[nodiscard]] std::optional<QString> dispositionFileName(std::string_view lines);
