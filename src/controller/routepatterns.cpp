#include "routepatterns.h"

namespace routepatterns {

QRegularExpression contextRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/context\/?$)"));
    return expression;
}

QRegularExpression contextInstanceRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/context\/([a-zA-Z0-9]+)\/?$)"));
    return expression;
}

QRegularExpression contextInstanceEventRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/context\/([a-zA-Z0-9]+)\/event\/?$)"));
    return expression;
}

QRegularExpression contextInstanceFileRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/context\/([a-zA-Z0-9]+)\/file\/?$)"));
    return expression;
}

QRegularExpression contextInstanceFileWithNameRegularExpression()
{
    static const QRegularExpression expression(
        QStringLiteral(R"(^\/context\/([a-zA-Z0-9]+)\/file\/([a-zA-Z0-9_\-\.%]+)\/?$)"));
    return expression;
}

QRegularExpression contextActionFormRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/context\/([a-zA-Z0-9]+)\/?\$form$)"));
    return expression;
}

QRegularExpression contextCredentialsRegularExpression()
{
    static const QRegularExpression expression(
        QStringLiteral(R"(^\/context\/([a-zA-Z0-9]+)\/credentials\/?$)"));
    return expression;
}

QRegularExpression messageEventRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/message\/event$)"));
    return expression;
}

QRegularExpression messageRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/message$)"));
    return expression;
}

} // namespace routepatterns
