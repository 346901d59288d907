#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>
#include <QStringList>

/// What the host writes beside the library's own files. Each is written whole or not at all, and throws `CommandError`
/// where that fails.
void writePicture(const QString &path, const QImage &image);
void writeText(const QString &path, const QByteArray &text);

/// Gives a file another name in its directory, in one step and in the place of one that has the name. False, with both
/// as before, where that can't be.
bool moveFile(const QString &from, const QString &to);

/// Throws `CommandError` if `path` is one of the files that the command reads, by whatever path.
void refuseSource(const QString &path, const QStringList &sources);
