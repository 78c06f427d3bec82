#pragma once

#include <QByteArray>

/// Whether an answer tells a failure of the host's own, with this status.
[[nodiscard]] inline bool isProblem(const QByteArray &answer, int status)
{
    const QByteArray number = QByteArray::number(status);
    return answer.startsWith("HTTP/1.1 " + number + ' ')
           && answer.contains("\r\nContent-Type: application/problem+json\r\n")
           && answer.contains("\"status\":" + number);
}
