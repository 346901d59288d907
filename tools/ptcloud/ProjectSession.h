#pragma once

#include "Console.h"

#include "PtCloud_Controller.h"
#include "PtCloud_Project.h"

#include <CLI/CLI.hpp>

#include <QLockFile>
#include <QMap>
#include <QString>

#include <memory>

/// What every command on a project is told.
struct ProjectOptions
{
    std::string dir = ".";
    bool isGiven = false; ///< the directory was named, and is not just where the program runs
    bool sweep = false;
    bool recover = false;
};

void addProjectOptions(CLI::App &command, ProjectOptions &options);

/// An open project, held by this process alone while it is open.
///
/// Opening a project deletes what has no part in it, so the session looks first and refuses without `--sweep`. The
/// sub-directory `.ptcloud` is the host's own: it holds the lock, and a copy of the last good project file, since a
/// save that is killed leaves the file cut. Everything throws `CommandError`.
class ProjectSession
{
public:
    static constexpr const char *ownDirectory = ".ptcloud";

    /// Who changes a project needs the copy before the first change: on a full disk nothing may be done that can't be
    /// saved.
    enum Access { Look, Change };

    /// Makes a project where there is none.
    static void create(const QString &dir);

    /// Opens the project. Warns of what it names and no longer finds, since the next save forgets it.
    ProjectSession(const Console &console, const ProjectOptions &options, Access access);

    ptCloud::PtCloud_Controller &controller() { return *m_project.getController(); }
    QString dir() const { return m_dir; }

    /// A registered data set.
    ptCloud::PtCloudDataSet &dataSet(const QString &name);
    /// Throws if a data set can't have the name, since the host uses it.
    static void refuseOwnName(const QString &name);
    /// Throws if a command did not succeed; `what` begins the line.
    static void check(ptCloud::EEPtCloudActResult result, const QString &what);

    /// Saves the project, and keeps a copy of what stood there.
    void save();

private:
    void lock();
    void recover() const;
    void keepCopy() const;
    void refuseStrays(const QMap<QString, QString> &dataSets, bool sweep) const;

    QString m_dir;
    std::unique_ptr<QLockFile> m_lock;
    ptCloud::PtCloud_Project m_project;
};
