#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>
#include <QStringList>

/// What the host writes beside the library's own files. Each is written whole or not at all, and throws `CommandError`
/// where that fails.
void writePicture(const QString &path, const QImage &image);
void writeText(const QString &path, const QByteArray &text);

/// Throws `CommandError` if `path` is one of the files that the command reads, by whatever path.
void refuseSource(const QString &path, const QStringList &sources);
