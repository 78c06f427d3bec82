#include "coding.h"

#include <utility>

namespace domain {

Coding::Coding() = default;
Coding::~Coding() = default;
Coding::Coding(const Coding &other) = default;
Coding &Coding::operator=(const Coding &other) = default;

void Coding::setSystem(QString system)
{
    m_system = std::move(system);
}

void Coding::setVersion(QString version)
{
    m_version = std::move(version);
}

void Coding::setCode(QString code)
{
    m_code = std::move(code);
}

void Coding::setDisplay(QString display)
{
    m_display = std::move(display);
}

void Coding::setUserSelected(bool userSelected)
{
    m_userSelected = userSelected;
}

bool Coding::isEmpty() const
{
    return m_system.isEmpty() && m_version.isEmpty() && m_code.isEmpty() && m_display.isEmpty();
}

} // namespace domain
