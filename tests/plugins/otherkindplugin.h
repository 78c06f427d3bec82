#pragma once

#include <QObject>
#include <QtPlugin>

/// A Qt plug-in that is none of this service.
class OtherKindPlugin final : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.example.other")
};
