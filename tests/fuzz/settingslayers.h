#pragma once

#include "require.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QMap>
#include <QSettings>
#include <QTemporaryDir>
#include <QVariant>

using PlainSettings = QMap<QString, QVariant>;

/// A directory, in memory where that is to be had, with all the files that the settings of the application
/// "program" of the organization "maker" are read from. While it lives, there is no other home.
class SettingsLayers final
{
public:
    SettingsLayers()
    {
        require(m_directory.isValid(), "There is no temporary directory.");
        for (const char *name : {"cwd/configuration", "system/maker", "user/maker", "home", "cards"})
            require(QDir(path()).mkpath(QLatin1String(name)), "A directory cannot be made.");
        for (const char *home : {"HOME", "XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "XDG_RUNTIME_DIR"})
            qputenv(home, QFile::encodeName(filePath("home")));
        qputenv("TS_SETTINGS_INI_FILE", QFile::encodeName(filePath("run.ini")));
        QSettings::setPath(QSettings::IniFormat, QSettings::SystemScope, filePath("system"));
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, filePath("user"));
        QCoreApplication::setOrganizationName(QStringLiteral("maker"));
        QCoreApplication::setApplicationName(QStringLiteral("program"));
    }

    /// Writes the files that `input` holds: each begins behind a line of ">" and its letter. Without the "p"
    /// that names it, the directory of the configuration is that of "c".
    void write(const QByteArray &input)
    {
        QMap<char, QByteArray> texts{{'p', "[ch.tessel.system]\npath.configuration=configuration\n"}};
        char letter = 'e';
        for (const QByteArray &line : input.split('\n')) {
            if (line.startsWith('>') && line.size() > 1) {
                letter = line.at(1);
                texts[letter].clear();
            } else {
                texts[letter] += line + '\n';
            }
        }
        for (auto it = files().begin(); it != files().end(); ++it)
            write(filePath(it.value()), texts.value(it.key()));
    }

    /// What the layers of these letters say, the later ones over the others.
    [[nodiscard]] PlainSettings read(const QByteArray &letters) const
    {
        PlainSettings values;
        for (const char letter : letters) {
            const QString name = letter == 'c' ? configuration() : filePath(files().value(letter));
            const QSettings file(name, QSettings::IniFormat);
            for (const QString &key : file.allKeys())
                values.insert(key, file.value(key));
        }
        return values;
    }

    /// A new file that holds `values`, as QSettings writes them; it is the last of the layers.
    void writeBack(const PlainSettings &values)
    {
        const QString name = filePath("run.ini");
        require(!QFile::exists(name) || QFile::remove(name), "A file cannot be removed.");
        {
            QSettings file(name, QSettings::IniFormat);
            for (auto it = values.begin(); it != values.end(); ++it)
                file.setValue(it.key(), it.value());
            file.sync();
            require(file.status() == QSettings::NoError, "Settings cannot be written.");
        }
        touch(name);
    }

    [[nodiscard]] QString path() const { return m_directory.path(); }
    [[nodiscard]] QString filePath(const char *name) const
    {
        return m_directory.filePath(QLatin1String(name));
    }

private:
    // The directory that "path.configuration" names, seen from the working directory.
    [[nodiscard]] QString configuration() const
    {
        const QVariant value = read("p").value(QStringLiteral("ch.tessel.system/path.configuration"));
        const QString name = value.toString();
        const QString directory =
            name.isEmpty() ? QStringLiteral("/Library/Application Support/maker/program/configuration")
                           : name;
        return QDir(directory).absoluteFilePath(QStringLiteral("program.ini"));
    }

    void write(const QString &name, const QByteArray &text)
    {
        QFile::remove(name);
        if (text.isEmpty())
            return;
        {
            QFile file(name);
            require(file.open(QIODevice::WriteOnly) && file.write(text) == text.size(),
                    "A file cannot be written.");
        }
        touch(name);
    }

    // QSettings takes a file of the same size and time for one that it has read already.
    void touch(const QString &name)
    {
        QFile file(name);
        require(file.open(QIODevice::ReadWrite)
                    && file.setFileTime(QDateTime::fromMSecsSinceEpoch(++m_writes),
                                        QFileDevice::FileModificationTime),
                "A file cannot be touched.");
    }

    static const QMap<char, const char *> &files()
    {
        static const QMap<char, const char *> files{{'o', "system/maker.ini"},
                                                    {'s', "system/maker/program.ini"},
                                                    {'p', "cwd/program.ini"},
                                                    {'c', "cwd/configuration/program.ini"},
                                                    {'u', "user/maker/program.ini"},
                                                    {'n', "user/maker.ini"},
                                                    {'e', "run.ini"}};
        return files;
    }

    static QString parent() { return QFileInfo(memory).isWritable() ? memory : QDir::tempPath(); }

    static inline const QString memory = QStringLiteral("/dev/shm");
    QTemporaryDir m_directory{parent() + QStringLiteral("/fuzz-settings-XXXXXX")};
    qint64 m_writes = 0;
};
