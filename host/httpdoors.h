#pragma once

#include "hostguard.h"
#include "peerusers.h"
#include "refusallog.h"
#include "startfailure.h"

#include "system/socketfile.h"

#include <http/server/server.h>

#include <QStringList>

#include <memory>
#include <optional>

struct HostSettings;
struct ListenAddress;

/// Where the host is asked over HTTP, and who may ask: the server with its addresses and its guard.
class HttpDoors final
{
public:
    /// `handler` must outlive the doors.
    explicit HttpDoors(http::server::RequestHandler &handler);
    /// Closes every connection; exchanges still open end silently.
    ~HttpDoors();
    Q_DISABLE_COPY_MOVE(HttpDoors)

    /// Listens at `address` and, if that is 127.0.0.1, with the same port at ::1 where it exists, and at the
    /// unix socket of the settings. An address that other machines reach is refused without an access token.
    /// Called once; after a failure nothing is served.
    [[nodiscard]] std::optional<StartFailure> open(const ListenAddress &address,
                                                   const HostSettings &settings);

    /// The addresses and the socket that are served, in words.
    [[nodiscard]] QString describe() const;
    /// The bound port; 0 before open().
    [[nodiscard]] quint16 port() const;

    /// Refuses new connections from here on; open ones go on.
    void stopListening();

private:
    [[nodiscard]] std::optional<StartFailure> makeGuard(const HostSettings &settings);
    [[nodiscard]] std::optional<StartFailure> listen(const ListenAddress &address);
    [[nodiscard]] std::optional<StartFailure> listen(const QString &socketPath);

    http::server::RequestHandler &m_handler;
    RefusalLog m_refusals;
    std::unique_ptr<PeerUsers> m_users;
    std::unique_ptr<HostGuard> m_guard;
    std::unique_ptr<http::server::Server> m_server;
    std::unique_ptr<tessel::system::SocketFile> m_socketFile;
    QStringList m_names;
};
