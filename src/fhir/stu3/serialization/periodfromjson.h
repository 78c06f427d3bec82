#pragma once

class QJsonObject;

namespace domain {
class Period;
}

namespace fhir::stu3 {

/// Reads a Period. Keeps references to both arguments.
class PeriodFromJson final
{
public:
    PeriodFromJson(domain::Period &period, const QJsonObject &json);

    /// Sets start and end, each only to a time that is not null.
    void parse();

private:
    domain::Period &m_period;
    const QJsonObject &m_json;
};

} // namespace fhir::stu3
