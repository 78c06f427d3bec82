#include "period.h"

#include <utility>

namespace domain {

void Period::setStart(QDateTime start)
{
    m_start = std::move(start);
}

void Period::setEnd(QDateTime end)
{
    m_end = std::move(end);
}

} // namespace domain
