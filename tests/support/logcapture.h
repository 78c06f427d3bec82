#pragma once

#include <QLoggingCategory>
#include <QString>
#include <QVector>

/// Collects the log lines of one category, debug level included, while it lives. One at a time.
class LogCapture
{
public:
    struct Line
    {
        QtMsgType type;
        QString text;
        bool operator==(const Line &other) const { return type == other.type && text == other.text; }
    };

    explicit LogCapture(const char *category)
        : m_category(category)
    {
        QLoggingCategory::setFilterRules(
            QString::fromLatin1("*=false\n%1=true").arg(QLatin1String(category)));
        current() = this;
        m_previous = qInstallMessageHandler(&LogCapture::handle);
    }
    ~LogCapture()
    {
        qInstallMessageHandler(m_previous);
        current() = nullptr;
        QLoggingCategory::setFilterRules(QString());
    }
    Q_DISABLE_COPY_MOVE(LogCapture)

    [[nodiscard]] const QVector<Line> &lines() const { return m_lines; }
    [[nodiscard]] bool contains(QtMsgType type, const QString &text) const
    {
        return m_lines.contains(Line{type, text});
    }

private:
    static LogCapture *&current()
    {
        static LogCapture *capture = nullptr;
        return capture;
    }
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        if (current() != nullptr && qstrcmp(context.category, current()->m_category) == 0)
            current()->m_lines.append({type, text});
    }

    const char *m_category;
    QtMessageHandler m_previous = nullptr;
    QVector<Line> m_lines;
};
