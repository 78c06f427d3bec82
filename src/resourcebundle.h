#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QSet>
#include <QString>
#include <QVector>

/**
 * The resources of one chunk: the "resource" objects of a FHIR bundle's "entry" array, without what wraps
 * them. Read once, merged into any number of arrays. Two ids are the same if they are equal as text; one that
 * is missing or no text counts as the empty text.
 */
class ResourceBundle final
{
public:
    /// Reads "entry" of `bundle`; anything that is not of the form counts as empty.
    explicit ResourceBundle(const QJsonObject &bundle);

    /// All entries, those without a usable resource included.
    [[nodiscard]] int entryCount() const { return m_entryCount; }

    /// The resources without the key "id", empty ones included, in the order of the entries.
    [[nodiscard]] const QVector<QJsonObject> &resourcesWithoutId() const { return m_resourcesWithoutId; }

    /// The resources that are not empty, all of them and in their order, and after them those of `stored`
    /// whose id neither a resource nor an earlier element of `stored` has.
    [[nodiscard]] QJsonArray mergedWith(const QJsonArray &stored) const;

private:
    int m_entryCount;
    QJsonArray m_resources;
    QSet<QString> m_ids;
    QVector<QJsonObject> m_resourcesWithoutId;
};
