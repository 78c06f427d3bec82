#include "startfailure.h"

#include <algorithm>

// Not by a regular expression: it would not match in a text that is no valid UTF-16.
static bool breaksLine(QChar character)
{
    const QChar::Category category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line
           || category == QChar::Separator_Paragraph;
}

QString StartFailure::line() const
{
    QString line = text;
    std::replace_if(line.begin(), line.end(), &breaksLine, QLatin1Char(' '));
    return line;
}
