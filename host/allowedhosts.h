#pragma once

#include "hostport.h"

#include <QVector>

/**
 * The names under which this host may be asked for. A web page that has had its own name resolved to the
 * loopback address makes its reader's browser send requests here, and that name is all that gives it away.
 *
 * They are `localhost`, `127.0.0.1` and `[::1]`, and those that are listed: each with the port of the host or
 * without one, but a listed one that has a port with exactly that port. Case does not matter.
 */
class AllowedHosts final
{
public:
    explicit AllowedHosts(QVector<HostPort> listed = {});

    /// The port of the host, once it is bound. Until then nothing with a port is allowed.
    void setPort(quint16 port) { m_port = port; }
    [[nodiscard]] quint16 port() const { return m_port; }

    /// Whether this is allowed as the value of a Host header. What is empty, malformed or a list is not.
    [[nodiscard]] bool allows(const QByteArray &value) const;
    [[nodiscard]] bool allows(const HostPort &asked) const;

private:
    QVector<HostPort> m_allowed; ///< those without a port take that of the host
    quint16 m_port = 0;
};
