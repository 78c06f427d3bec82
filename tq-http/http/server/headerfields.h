#pragma once

#include "export.h"

#include <QByteArray>
#include <QVector>

#include <initializer_list>
#include <utility>

namespace http::server {

/**
 * The header fields of one message, in the order in which they came. Names compare case-insensitively
 * (RFC 9110, section 5.1). A value type; a parked request keeps one, so all text lies in one buffer.
 */
class TQ_HTTP_EXPORT HeaderFields
{
public:
    HeaderFields() = default;
    HeaderFields(std::initializer_list<std::pair<QByteArray, QByteArray>> fields);

    /// Makes room for so many bytes of names and values.
    void reserve(int bytes) { m_text.reserve(bytes); }

    void append(const QByteArray &name, const QByteArray &value);

    /// Replaces all fields of this name by one, at the place of the first of them.
    void replace(const QByteArray &name, const QByteArray &value);

    /// All values of this name, joined with ", "; null if there is none.
    [[nodiscard]] QByteArray joined(const QByteArray &name) const;

    [[nodiscard]] bool contains(const QByteArray &name) const;
    [[nodiscard]] int size() const { return m_fields.size(); }
    [[nodiscard]] QByteArray nameAt(int index) const;
    [[nodiscard]] QByteArray valueAt(int index) const;

private:
    struct Field
    {
        int begin;
        int nameLength;
        int valueLength;
    };
    [[nodiscard]] bool hasName(const Field &field, const QByteArray &name) const;

    QByteArray m_text;
    QVector<Field> m_fields;
};

} // namespace http::server
