#include "startfailure.h"

#include <QRegularExpression>

QString StartFailure::line() const
{
    static const QRegularExpression controls(QStringLiteral(R"([\p{Cc}\p{Zl}\p{Zp}])"));
    return QString(text).replace(controls, QStringLiteral(" "));
}
