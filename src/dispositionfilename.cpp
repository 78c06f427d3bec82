#include "dispositionfilename.h"

#include <QByteArrayMatcher>

#include <algorithm>

using std::string_view;

static QString fileNameOf(string_view line)
{
    constexpr string_view parameter = "filename=";
    line = line.substr(0, line.find_last_not_of(" \t\n\v\f\r") + 1);
    const std::size_t colon = line.find(':');
    if (colon == string_view::npos)
        return {};
    line.remove_prefix(colon + 1);
    const string_view value = line.substr(0, line.find(':'));
    const std::size_t begin = value.find(parameter);
    if (begin == string_view::npos)
        return {};
    const std::size_t end = std::min(value.find(parameter, begin + parameter.size()), value.size());
    // With the word in front of it, since the decoder drops a byte order mark, but only at the very start.
    QString name = QString::fromUtf8(value.data() + begin, static_cast<int>(end - begin));
    name.remove(0, static_cast<int>(parameter.size()));
    if (name.startsWith(QLatin1Char('"')))
        name.remove(0, 1);
    if (name.endsWith(QLatin1Char('"')))
        name.chop(1);
    return name;
}

// Boyer-Moore, since a plain search stops at every C.
static std::size_t findField(string_view text, std::size_t from)
{
    static constexpr auto matcher = qMakeStaticByteArrayMatcher("Content-Disposition");
    const int found = matcher.indexIn(text.data(), static_cast<int>(text.size()), static_cast<int>(from));
    return found < 0 ? string_view::npos : static_cast<std::size_t>(found);
}

std::optional<QString> dispositionFileName(string_view lines)
{
    std::optional<string_view> last;
    std::size_t found = findField(lines, 0);
    while (found != string_view::npos) {
        const std::size_t begin = lines.rfind('\n', found) + 1; // 0 if there is none
        const std::size_t end = std::min(lines.find('\n', found), lines.size());
        if (lines.substr(begin, found - begin).find(':') == string_view::npos)
            last = lines.substr(begin, end - begin);
        found = findField(lines, end);
    }
    if (!last)
        return std::nullopt;
    return fileNameOf(*last);
}
