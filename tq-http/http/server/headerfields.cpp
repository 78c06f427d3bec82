#include "headerfields.h"

#include <algorithm>
#include <utility>

namespace http::server {

HeaderFields::HeaderFields(std::initializer_list<std::pair<QByteArray, QByteArray>> fields)
{
    for (const auto &[name, value] : fields)
        append(name, value);
}

void HeaderFields::append(const QByteArray &name, const QByteArray &value)
{
    m_fields.append({m_text.size(), name.size(), value.size()});
    m_text += name;
    m_text += value;
}

void HeaderFields::replace(const QByteArray &name, const QByteArray &value)
{
    if (!contains(name))
        return append(name, value);
    const HeaderFields all = std::exchange(*this, {});
    bool placed = false;
    for (int i = 0; i < all.size(); ++i) {
        if (!all.hasName(all.m_fields.at(i), name)) {
            append(all.nameAt(i), all.valueAt(i));
        } else if (!std::exchange(placed, true)) {
            append(name, value);
        }
    }
}

QByteArray HeaderFields::joined(const QByteArray &name) const
{
    QByteArray value;
    for (int i = 0; i < size(); ++i) {
        if (!hasName(m_fields.at(i), name))
            continue;
        value = value.isNull() ? valueAt(i) : value + ", " + valueAt(i);
    }
    return value;
}

bool HeaderFields::contains(const QByteArray &name) const
{
    return std::any_of(m_fields.cbegin(), m_fields.cend(), [&](const Field &f) { return hasName(f, name); });
}

QByteArray HeaderFields::nameAt(int index) const
{
    const Field &field = m_fields.at(index);
    return {m_text.constData() + field.begin, field.nameLength};
}

QByteArray HeaderFields::valueAt(int index) const
{
    const Field &field = m_fields.at(index);
    return {m_text.constData() + field.begin + field.nameLength, field.valueLength};
}

bool HeaderFields::hasName(const Field &field, const QByteArray &name) const
{
    return field.nameLength == name.size()
           && qstrnicmp(m_text.constData() + field.begin, name.constData(), static_cast<uint>(name.size()))
                  == 0;
}

} // namespace http::server
