#pragma once

#include "CrashStep.h"

#include <QByteArray>
#include <QMap>
#include <QSet>
#include <QString>

#include <optional>
#include <vector>

namespace crash
{

/// What a file holds. A whole file of points is the sorted list of its points; one that is cut off, or holds a point
/// that was never made, is the mark `partMark` and its bytes; all other files are their bytes.
using Content = QByteArray;
using Files = QMap<QString, Content>; ///< by file name

extern const char partMark[];
Content pointsContent(std::vector<quint32> tokens);
/// Nothing for a file that is not a whole file of points.
std::optional<std::vector<quint32>> pointsOf(const Content &content);
bool isFileOfPoints(const QString &fileName);

/// A project as it lies on disk, and what the host that works on it has registered.
struct Project
{
    QMap<QString, Files> directories;
    Files files; ///< directly in the project
    QMap<QString, QString> lasFiles;
    QSet<QString> dataSets; ///< the name of a data set is that of its directory

    /// What the project file says of this.
    QByteArray fileBytes() const;
    bool loads(const QString &directory) const;

    static QString fileName() { return QStringLiteral("points_cloud.pcproj"); }
};

/// What each step does to a project when nobody stops it, in plain words. Gives the result that the host gets.
class ProjectModel
{
public:
    explicit ProjectModel(QString lasDir) : m_lasDir(std::move(lasDir)) {}

    int apply(Project &project, const Step &step) const;
    /// Registers these as opening a project does: each data set whose points are sound, and sweeps.
    static void restore(Project &project, const QMap<QString, QString> &lasFiles, const QSet<QString> &dataSets);

private:
    int open(Project &project) const;
    int importLas(Project &project, const Step &step) const;
    int make(Project &project, const Step &step) const;
    static int copy(Project &project, const Step &step);
    static int merge(Project &project, const Step &step);
    static int rename(Project &project, const Step &step);
    static int volume(Project &project, const Step &step);

    QString m_lasDir;
};

/// What a load leaves in the directory of a data set.
void sweep(Files &directory);

} // namespace crash
