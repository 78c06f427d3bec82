#pragma once

#include "structure/content/message.h"

#include <QVector>

namespace structure::content {

/// What a client is told: the messages that are outstanding.
struct MessageUpdate final
{
    QVector<Message> messages;
};

} // namespace structure::content
