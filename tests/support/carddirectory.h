#pragma once

#include "settingsdirectory.h"

#include <QJsonObject>

/// Settings in which the XML of cards goes to a directory of its own, which exists.
class CardDirectory final
{
public:
    CardDirectory() { m_ready = m_settings.isReady() && set(path()) && QDir().mkdir(path()); }

    /// Whether all could be made.
    [[nodiscard]] bool isReady() const { return m_ready; }
    [[nodiscard]] const SettingsDirectory &settings() const { return m_settings; }
    [[nodiscard]] QString path() const { return m_settings.filePath(QStringLiteral("xml")); }

    /// Sets the text of the setting.
    [[nodiscard]] bool set(const QString &directory) const
    {
        return setLine(QStringLiteral("xml.directory=") + directory);
    }
    /// Gives the system scope one line, of the plug-in's group.
    [[nodiscard]] bool setLine(const QString &line) const
    {
        return !m_settings
                    .write(QStringLiteral("system/maker/program.ini"),
                           QStringLiteral("ch.tessel.vexo-service.context"), line)
                    .isEmpty();
    }

    /// The names in the directory, or in another one.
    [[nodiscard]] QStringList files() const { return filesOf(path()); }
    [[nodiscard]] static QStringList filesOf(const QString &path)
    {
        return QDir(path).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    }

    [[nodiscard]] QByteArray read(const QString &name) const
    {
        QFile file(QDir(path()).filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArrayLiteral("no such file");
    }

private:
    SettingsDirectory m_settings;
    bool m_ready = false;
};

/// A chunk that carries the XML of a card.
inline QJsonValue cardChunk(const QString &source, const QString &xml)
{
    return QJsonObject{{QStringLiteral("source"), source}, {QStringLiteral("data"), xml}};
}

/// One element with a text, in the prefix of the cards.
inline QString vkAdm(const QString &name, const QString &text)
{
    return QStringLiteral("<vk-adm:%1>%2</vk-adm:%1>").arg(name, text);
}

/// The XML of an insurance card.
inline QString cardXml(const QString &cardholder, const QString &number)
{
    return QLatin1String("<card>") + vkAdm(QStringLiteral("cardholderIdentifier"), cardholder)
           + vkAdm(QStringLiteral("insuredPersonNumber"), number) + QLatin1String("</card>\n");
}
