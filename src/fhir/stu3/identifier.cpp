#include "identifier.h"

#include <utility>

namespace domain {

Identifier::Identifier() = default;

Identifier::Identifier(const QString &system, const QString &value)
{
    setSystem(system);
    setValue(value);
}

Identifier::~Identifier() = default;
Identifier::Identifier(const Identifier &other) = default;

void Identifier::setUse(QString use)
{
    m_use = std::move(use);
}

void Identifier::setType(CodableConcept type)
{
    m_type = std::move(type);
}

void Identifier::setSystem(QString system)
{
    m_system = std::move(system);
}

void Identifier::setValue(QString value)
{
    m_value = std::move(value);
}

void Identifier::setPeriod(Period period)
{
    m_period = std::move(period);
}

bool operator==(const Identifier &left, const Identifier &right)
{
    return left.system() == right.system() && left.value() == right.value();
}

} // namespace domain
