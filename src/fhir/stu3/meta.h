#pragma once

#include "fhir/stu3/coding.h"

#include <QDateTime>
#include <QString>
#include <QVector>

namespace domain {

/// What is known about a resource as such: the data type Meta of FHIR STU3
/// (http://hl7.org/fhir/STU3/resource.html#Meta), with exactly one profile instead of a list.
class Meta final
{
public:
    [[nodiscard]] const QString &versionId() const { return m_versionId; }
    void setVersionId(QString versionId);

    /// Null until it is set.
    [[nodiscard]] const QDateTime &lastUpdated() const { return m_lastUpdated; }
    void setLastUpdated(const QDateTime &lastUpdated);

    /// A URI.
    [[nodiscard]] const QString &profile() const { return m_profile; }
    void setProfile(const QString &profile);

    /// Security labels.
    [[nodiscard]] const QVector<Coding> &security() const { return m_security; }
    void setSecurity(QVector<Coding> security);

    [[nodiscard]] const QVector<Coding> &tag() const { return m_tag; }
    void setTag(QVector<Coding> tag);
    /// Returns the tag as it is stored, valid until the list changes or this object is copied.
    Coding &appendTag(Coding tag);

private:
    QString m_versionId;
    QDateTime m_lastUpdated;
    QString m_profile;
    QVector<Coding> m_security;
    QVector<Coding> m_tag;
};

} // namespace domain
