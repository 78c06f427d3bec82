#pragma once

#include <QString>
#include <QVector>

namespace structure::content {

/// What a client reports: the identifiers of the messages that it has dealt with.
struct MessageConsumption final
{
    QVector<QString> identifiers;
};

} // namespace structure::content
