#pragma once

#include "otheruser.h"

#include <QProcess>

#include <optional>

/// A process that may run as another user than the test.
class UserProcess final : public QProcess
{
public:
    explicit UserProcess(std::optional<uid_t> user)
        : m_user(user)
    {
    }

protected:
    void setupChildProcess() override
    {
        if (m_user && !become(*m_user))
            ::_exit(127);
    }

private:
    const std::optional<uid_t> m_user;
};
