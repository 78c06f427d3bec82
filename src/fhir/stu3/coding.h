#pragma once

#include <QString>

namespace domain {

/// A code out of a code system: the data type Coding of FHIR STU3
/// (http://hl7.org/fhir/STU3/datatypes.html#Coding). Every text is empty until it is set.
class Coding final
{
public:
    Coding();
    ~Coding();
    /// Copied member by member, also where it could be moved.
    Coding(const Coding &other);
    Coding &operator=(const Coding &other);

    /// The identity of the code system, a URI.
    [[nodiscard]] const QString &system() const { return m_system; }
    void setSystem(QString system);

    [[nodiscard]] const QString &version() const { return m_version; }
    void setVersion(QString version);

    [[nodiscard]] const QString &code() const { return m_code; }
    void setCode(QString code);

    [[nodiscard]] const QString &display() const { return m_display; }
    void setDisplay(QString display);

    [[nodiscard]] bool userSelected() const { return m_userSelected; }
    void setUserSelected(bool userSelected);

    /// Whether all four texts are empty. userSelected() deliberately does not count.
    [[nodiscard]] bool isEmpty() const;

private:
    QString m_system;
    QString m_version;
    QString m_code;
    QString m_display;
    bool m_userSelected = false;
};

} // namespace domain
