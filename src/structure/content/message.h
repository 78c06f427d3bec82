#pragma once

#include "structure/content/timespan.h"

#include <QDateTime>
#include <QString>

namespace structure::content {

/// A short notice for the user of the workstation. What it says of its lifetime is a request to whoever shows
/// it: nothing here acts on it.
class Message final
{
public:
    enum Type : qint32 {
        Momentary = 0, ///< has no lifetime of its own
        CustomLifeTime = 1, ///< lasts for customLifeTime()
        Persistent = 2, ///< has no end of life
    };

    /// What every reader starts from: momentary, with empty texts, a null time and a span of 0 seconds.
    [[nodiscard]] static Message createEmptyMessage();

    /// Whether identifier, title and text are all non-empty. For those who compose messages: who keeps or
    /// passes on a message takes any.
    [[nodiscard]] bool isValid() const;

    /// The key of the message, chosen by its sender.
    [[nodiscard]] const QString &identifier() const { return m_identifier; }
    void setIdentifier(QString identifier);

    [[nodiscard]] Type type() const { return m_type; }
    /// Leaves customLifeTime() as it is, and so does setPersistent().
    void setMomentary();
    void setCustomLifeTime(Timespan customLifeTime);
    void setPersistent();

    [[nodiscard]] const QString &title() const { return m_title; }
    void setTitle(QString title);

    [[nodiscard]] const QString &subtitle() const { return m_subtitle; }
    void setSubtitle(QString subtitle);

    [[nodiscard]] const QString &text() const { return m_text; }
    void setText(QString text);

    [[nodiscard]] const QDateTime &timestamp() const { return m_timestamp; }
    void setTimestamp(QDateTime timestamp);

    /// In force only while type() is CustomLifeTime.
    [[nodiscard]] const Timespan &customLifeTime() const { return m_customLifeTime; }

private:
    QString m_identifier;
    Type m_type = Momentary;
    QString m_title;
    QString m_subtitle;
    QString m_text;
    QDateTime m_timestamp;
    Timespan m_customLifeTime;
};

} // namespace structure::content
