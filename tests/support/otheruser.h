#pragma once

#include <QByteArray>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <grp.h>
#include <poll.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <utility>

/// The user "nobody", whom these tests take for another user.
constexpr uid_t nobody = 65534;

/// Makes this process one of `user`, who is in no other group; false if it may not.
[[nodiscard]] inline bool become(uid_t user)
{
    return ::setgroups(0, nullptr) == 0 && ::setgid(user) == 0 && ::setuid(user) == 0;
}

/// A copy of the test's process that acts as another user. It runs no program, so that it needs no access to
/// any file. Ends with this object.
class OtherUser final
{
public:
    /// Starts it. What `act` returns is its result.
    OtherUser(uid_t user, const std::function<QByteArray()> &act)
    {
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC) != 0)
            qFatal("No pipe.");
        m_process = ::fork();
        if (m_process < 0)
            qFatal("No process.");
        if (m_process == 0) {
            // Whatever goes wrong, it ends with the test.
            ::alarm(120);
            ::_exit(become(user) && write(ends[1], act()) ? 0 : 1);
        }
        ::close(ends[1]);
        m_result = ends[0];
    }
    ~OtherUser()
    {
        if (m_process > 0) {
            ::kill(m_process, SIGKILL);
            ::waitpid(m_process, nullptr, 0);
        }
        ::close(m_result);
    }
    Q_DISABLE_COPY_MOVE(OtherUser)

    /// Waits until it has ended and gives what it returned; ends the test if it fails or takes a minute.
    [[nodiscard]] QByteArray result()
    {
        QByteArray result;
        char buffer[4096];
        for (ssize_t size = 1; size > 0; result.append(buffer, static_cast<int>(size))) {
            pollfd waiting{m_result, POLLIN, 0};
            size = ::poll(&waiting, 1, 60000) == 1 ? ::read(m_result, buffer, sizeof buffer) : -1;
            if (size < 0)
                qFatal("The other user does not come to an end.");
        }
        int status = -1;
        if (::waitpid(std::exchange(m_process, -1), &status, 0) < 0 || status != 0)
            qFatal("The other user has failed.");
        return result;
    }

    /// True if processes of this test may become `user`.
    [[nodiscard]] static bool isPossible(uid_t user)
    {
        const pid_t process = ::fork();
        if (process == 0)
            ::_exit(become(user) ? 0 : 1);
        int status = -1;
        return ::waitpid(process, &status, 0) == process && status == 0;
    }

private:
    static bool write(int descriptor, const QByteArray &bytes)
    {
        for (int written = 0; written < bytes.size();) {
            const auto size = ::write(descriptor, bytes.constData() + written,
                                      static_cast<std::size_t>(bytes.size() - written));
            if (size < 0)
                return false;
            written += static_cast<int>(size);
        }
        return true;
    }

    pid_t m_process = -1;
    int m_result = -1;
};
