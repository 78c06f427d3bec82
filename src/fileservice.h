#pragma once

#include <QByteArray>
#include <QMap>
#include <QObject>

/// Keeps the bytes of files under their keys, in memory only. Event-loop thread only.
class FileService final : public QObject
{
    Q_OBJECT

public:
    FileService();
    ~FileService() override;
    Q_DISABLE_COPY_MOVE(FileService)

    [[nodiscard]] bool hasFile(const QString &fileKey) const;

    /// The stored bytes, valid until the file is removed. Ask hasFile() first: a key that is not known is
    /// deliberately entered with no bytes.
    [[nodiscard]] QByteArray &getFile(const QString &fileKey);

    /// Stores the bytes and replaces what was there.
    void setFile(const QString &fileKey, const QByteArray &bytes);
    void setFile(const QString &fileKey, QByteArray &&bytes);

    /// Does nothing for a key that is not known.
    void removeFile(const QString &fileKey);

private:
    QMap<QString, QByteArray> m_files;
};
