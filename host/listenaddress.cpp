#include "listenaddress.h"

#include <QRegularExpression>

#include <arpa/inet.h>
#include <netinet/in.h>

static bool isNumeric(int family, const QString &address)
{
    in6_addr ignored = {};
    return inet_pton(family, address.toLatin1().constData(), &ignored) == 1;
}

std::optional<ListenAddress> ListenAddress::parse(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral(R"(\A(?:\[([0-9A-Fa-f:.]+)\]|([0-9.]+|localhost)):([0-9]{1,5})\z)"));
    const QRegularExpressionMatch match = form.match(text);
    const uint port = match.captured(3).toUInt();
    if (!match.hasMatch() || port > 65535)
        return {};

    const QString six = match.captured(1);
    QString four = match.captured(2);
    if (four == QLatin1String("localhost"))
        four = QStringLiteral("127.0.0.1");
    if (six.isEmpty() ? !isNumeric(AF_INET, four) : !isNumeric(AF_INET6, six))
        return {};
    return ListenAddress{six.isEmpty() ? four : six, static_cast<quint16>(port)};
}

QString ListenAddress::toString() const
{
    const QString form =
        address.contains(QLatin1Char(':')) ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2");
    return form.arg(address, QString::number(port));
}

bool ListenAddress::isLoopback() const
{
    const QByteArray text = address.toLatin1();
    in_addr four = {};
    if (inet_pton(AF_INET, text.constData(), &four) == 1)
        return ntohl(four.s_addr) >> IN_CLASSA_NSHIFT == IN_LOOPBACKNET;
    in6_addr six = {};
    return inet_pton(AF_INET6, text.constData(), &six) == 1 && IN6_IS_ADDR_LOOPBACK(&six);
}
