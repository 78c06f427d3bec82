#pragma once

#include <QString>

/// Defines the function `name` that returns `text`, a UTF-16 literal of the program shared by all callers.
#define TEXT_CONSTANT(name, text)                                                                            \
    QString name()                                                                                           \
    {                                                                                                        \
        static const QString shared = QStringLiteral(text);                                                  \
        return shared;                                                                                       \
    }
