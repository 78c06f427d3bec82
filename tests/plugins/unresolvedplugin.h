#pragma once

#include <QObject>
#include <QtPlugin>

/// Calls what no library has.
class UnresolvedPlugin final : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ch.tessel.vexo-service.test")

public:
    UnresolvedPlugin();
};
