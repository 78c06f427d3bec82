#include "fileservice.h"

#include <utility>

FileService::FileService() = default;

FileService::~FileService() = default;

bool FileService::hasFile(const QString &fileKey) const
{
    return m_files.contains(fileKey);
}

QByteArray &FileService::getFile(const QString &fileKey)
{
    return m_files[fileKey];
}

void FileService::setFile(const QString &fileKey, const QByteArray &bytes)
{
    m_files.insert(fileKey, bytes);
}

void FileService::setFile(const QString &fileKey, QByteArray &&bytes)
{
    m_files[fileKey] = std::move(bytes);
}

void FileService::removeFile(const QString &fileKey)
{
    m_files.remove(fileKey);
}
