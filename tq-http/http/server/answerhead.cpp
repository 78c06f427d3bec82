#include "answerhead.h"

#include "answer.h"

#include <array>
#include <ctime>

namespace http::server {

/// The time now as an IMF-fixdate (RFC 9110, section 5.6.7), made anew once a second.
static const QByteArray &httpDate()
{
    static std::time_t second = -1;
    static QByteArray date;
    const std::time_t now = std::time(nullptr);
    if (now == second)
        return date;

    static constexpr std::array<const char *, 7> days{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr std::array<const char *, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::tm utc{};
    gmtime_r(&now, &utc);
    const auto twoDigits = [](int number) { return QByteArray::number(number).rightJustified(2, '0'); };
    date = QByteArray(days.at(static_cast<std::size_t>(utc.tm_wday))) + ", " + twoDigits(utc.tm_mday) + ' '
           + months.at(static_cast<std::size_t>(utc.tm_mon)) + ' ' + QByteArray::number(utc.tm_year + 1900)
           + ' ' + twoDigits(utc.tm_hour) + ':' + twoDigits(utc.tm_min) + ':' + twoDigits(utc.tm_sec)
           + " GMT";
    second = now;
    return date;
}

bool isBodiless(int status)
{
    return status == 204 || status == 205 || status == 304;
}

static void append(QByteArray &head, const HeaderFields &fields)
{
    for (int i = 0; i < fields.size(); ++i) {
        head += "\r\n";
        head += fields.nameAt(i);
        head += ": ";
        head += fields.valueAt(i);
    }
}

QByteArray answerHead(const Answer &answer, const HeaderFields &more, bool keepsAlive)
{
    QByteArray head;
    head.reserve(256);
    head += "HTTP/1.1 ";
    head += QByteArray::number(answer.status);
    head += ' ';
    head += reasonPhrase(answer.status);
    append(head, answer.headers);
    append(head, more);
    // Without a length a 205 would be read until the connection closes; the other two need none.
    if (answer.status == 205) {
        head += "\r\nContent-Length: 0";
    } else if (!isBodiless(answer.status)) {
        head += "\r\nContent-Length: ";
        head += QByteArray::number(answer.body.size());
    }
    head += "\r\nDate: ";
    head += httpDate();
    head += keepsAlive ? "\r\nConnection: keep-alive\r\n\r\n" : "\r\nConnection: close\r\n\r\n";
    return head;
}

} // namespace http::server
