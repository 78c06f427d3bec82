#pragma once

#include <QString>

#include <optional>

/// Where the HTTP server listens.
struct ListenAddress
{
    QString address = QStringLiteral("127.0.0.1"); ///< numeric IPv4 or IPv6, without brackets
    quint16 port = 8750; ///< 0 takes any free port

    /// Reads `ADDRESS:PORT`: an IPv4 address, an IPv6 address in brackets, or `localhost`, which is
    /// 127.0.0.1. Empty if the text is none of these.
    [[nodiscard]] static std::optional<ListenAddress> parse(const QString &text);

    /// The form that parse() reads.
    [[nodiscard]] QString toString() const;

    /// Whether only this machine reaches it: an address of 127.0.0.0/8, or ::1.
    [[nodiscard]] bool isLoopback() const;
};
