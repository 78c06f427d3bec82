#include "codableconcept.h"

#include <utility>

namespace domain {

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value as in every setter, though it is copied
void CodableConcept::setCoding(Coding coding)
{
    m_coding = coding;
}

void CodableConcept::setText(QString text)
{
    m_text = std::move(text);
}

bool CodableConcept::isEmpty() const
{
    return m_coding.isEmpty() && m_text.isEmpty();
}

} // namespace domain
