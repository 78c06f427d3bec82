#pragma once

#include <QtGlobal>

#include <unistd.h>
#include <utility>

namespace tessel::system {

/// A file descriptor of its own, closed with it.
class Descriptor final
{
public:
    /// Takes `number` over; a negative one stands for a descriptor that could not be opened.
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    ~Descriptor()
    {
        if (isOpen())
            ::close(m_number);
    }
    Q_DISABLE_COPY_MOVE(Descriptor)

    [[nodiscard]] bool isOpen() const { return m_number >= 0; }
    /// Stays owned here.
    [[nodiscard]] int get() const { return m_number; }
    /// Gives it away: the caller closes it.
    [[nodiscard]] int release() { return std::exchange(m_number, -1); }

private:
    int m_number;
};

} // namespace tessel::system
