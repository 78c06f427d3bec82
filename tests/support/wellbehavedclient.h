#pragma once

#include "rawclient.h"

#include <array>

/// A client that does nothing wrong, on one connection, and is to be served whatever others do.
class WellBehavedClient final
{
public:
    explicit WellBehavedClient(quint16 port)
        : m_connection(port)
    {
    }

    /// Makes, changes, reads and deletes a context of its own. Gives the first exchange that is not right, or
    /// nothing if each is.
    [[nodiscard]] QByteArray round()
    {
        const QByteArray number = QByteArray::number(++m_rounds);
        const QByteArray made = "{\n    \"a\": " + number + "\n}\n";
        const QByteArray merged = "{\n    \"a\": " + number + ",\n    \"b\": true\n}\n";
        const QByteArray read =
            "{\n    \"a\": " + number + ",\n    \"b\": true,\n    \"matchingItems\": [\n    ]\n}\n";
        const std::array exchanges{
            Exchange{"PUT", "{\"a\":" + number + '}', "201", made},
            Exchange{"PUT", R"({"b":true})", "200", merged},
            Exchange{"GET", {}, "200", read},
            Exchange{"DELETE", {}, "204", {}},
            Exchange{"GET", {}, "404", {}},
        };
        for (const Exchange &exchange : exchanges) {
            const QByteArray wrong = failure(exchange);
            if (!wrong.isEmpty())
                return wrong;
        }
        return {};
    }

private:
    struct Exchange
    {
        QByteArray method;
        QByteArray body;
        QByteArray status;
        QByteArray answer;
    };

    [[nodiscard]] QByteArray failure(const Exchange &exchange)
    {
        m_connection.send(exchange.method
                          + " /context/ofThisClient HTTP/1.1\r\nHost: localhost\r\nContent-Length: "
                          + QByteArray::number(exchange.body.size()) + "\r\n\r\n" + exchange.body);
        const QByteArray answer = m_connection.readAnswer();
        const bool isRight = answer.startsWith("HTTP/1.1 " + exchange.status + ' ')
                             && answer.mid(answer.indexOf("\r\n\r\n") + 4) == exchange.answer;
        return isRight ? QByteArray() : exchange.method + ' ' + exchange.body + " gets " + answer;
    }

    RawClient m_connection;
    int m_rounds = 0;
};
